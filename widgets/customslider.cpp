#include "widgets/customslider.h"

#include "common/applicationglobals.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

CustomSlider::CustomSlider(QWidget* parent) : QAbstractSlider(parent)
{
    setOrientation(Qt::Horizontal);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QAbstractSlider::valueChanged, this, &CustomSlider::OnSliderValueChanged);
}

QSize CustomSlider::sizeHint() const
{
    return QSize(120, 20);
}

int CustomSlider::PositionAt(int x) const
{
    const int span = width() - kHandleWidth;
    if (span <= 0 || maximum() <= minimum())
        return minimum();
    const double f = std::clamp(double(x - kHandleWidth / 2) / span, 0.0, 1.0);
    return minimum() + static_cast<int>(f * (double(maximum()) - minimum()) + 0.5);
}

void CustomSlider::OnSliderValueChanged(int value)
{
    Q_EMIT Signal_SliderValueChanged(static_cast<double>(value));
}

void CustomSlider::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
    {
        event->ignore();
        return;
    }
    setSliderDown(true);
    Q_EMIT Signal_SliderPressed();
    setSliderPosition(PositionAt(event->pos().x()));
    event->accept();
}

void CustomSlider::mouseMoveEvent(QMouseEvent* event)
{
    if (!isSliderDown())
    {
        event->ignore();
        return;
    }
    setSliderPosition(PositionAt(event->pos().x()));
    event->accept();
}

void CustomSlider::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !isSliderDown())
    {
        event->ignore();
        return;
    }
    setSliderDown(false);
    Q_EMIT Signal_SliderReleased();
    event->accept();
}

void CustomSlider::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

void CustomSlider::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    using G = ApplicationGlobals;
    QPainter p(this);
    const int trackHeight = 4;
    const int y = (height() - trackHeight) / 2;
    const int span = std::max(width() - kHandleWidth, 1);
    const double f =
        maximum() > minimum() ? double(sliderPosition() - minimum()) / (double(maximum()) - minimum()) : 0.0;
    const int handleX = static_cast<int>(f * span);
    p.fillRect(QRect(kHandleWidth / 2, y, span, trackHeight),
               isEnabled() ? G::colorBackgroundRaised : G::colorDisabledBackground);
    p.fillRect(QRect(kHandleWidth / 2, y, handleX, trackHeight), isEnabled() ? G::colorAccent : G::colorDisabledText);
    const QColor handle = !isEnabled() ? G::colorDisabledText : (isSliderDown() ? G::colorAccentPressed : G::colorText);
    p.fillRect(QRect(handleX, 2, kHandleWidth, height() - 4), handle);
}

void CustomSlider::UpdateStyleSheet()
{
    update();
}
