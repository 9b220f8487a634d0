#include "widgets/customdoubleslider.h"

#include "widgets/customedit.h"
#include "widgets/customslider.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLocale>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

CustomDoubleSlider::CustomDoubleSlider(QWidget* parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    m_slider = new CustomSlider(this);
    m_slider->setRange(0, kPositions);
    m_edit = new CustomEdit(this);
    m_edit->setFixedWidth(90);
    m_edit->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_edit->installEventFilter(this);
    m_slider->installEventFilter(this);

    m_layout = new QHBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(8);
    m_layout->addWidget(m_slider, 1);
    m_layout->addWidget(m_edit);

    connect(m_slider, &CustomSlider::Signal_SliderValueChanged, this, &CustomDoubleSlider::OnSliderValueChanged);
    connect(m_slider, &CustomSlider::Signal_SliderPressed, this, &CustomDoubleSlider::OnSliderPressed);
    connect(m_slider, &CustomSlider::Signal_SliderReleased, this, &CustomDoubleSlider::OnSliderReleased);
    connect(m_edit, &CustomEdit::Signal_EditingFinished, this, &CustomDoubleSlider::OnEditingFinished);
    connect(m_edit, &CustomEdit::Signal_Clicked, this, &CustomDoubleSlider::Signal_Clicked);
    ShowValue();
    UpdateStyleSheet();
}

CustomDoubleSlider::~CustomDoubleSlider()
{
    m_edit->disconnect(this);
    m_slider->disconnect(this);
}

double CustomDoubleSlider::Normalize(double value, double minimum, double maximum, double increment)
{
    if (minimum > maximum)
        std::swap(minimum, maximum);
    if (!std::isfinite(value))
        return minimum;
    value = std::clamp(value, minimum, maximum);
    if (increment > 0.0)
    {
        // The nearest grid value that lies in the range: the grid's last point below the maximum, not the
        // maximum itself when that is off the grid.
        const double last = std::floor((maximum - minimum) / increment + 1e-9);
        const double k = std::clamp(std::round((value - minimum) / increment), 0.0, last);
        value = minimum + k * increment;
    }
    return value;
}

void CustomDoubleSlider::SetRange(double minimum, double maximum)
{
    if (!std::isfinite(minimum) || !std::isfinite(maximum))
        return;
    if (minimum > maximum)
        std::swap(minimum, maximum);
    m_min = minimum;
    m_max = maximum;
    m_value = Normalize(m_value, m_min, m_max, m_inc);
    ShowValue();
}

void CustomDoubleSlider::SetIncrement(double increment)
{
    m_inc = std::isfinite(increment) && increment > 0.0 ? increment : 0.0;
    m_value = Normalize(m_value, m_min, m_max, m_inc);
    ShowValue();
}

void CustomDoubleSlider::SetDecimals(int decimals)
{
    m_decimals = std::clamp(decimals, 0, 10);
    ShowValue();
}

void CustomDoubleSlider::SetValue(double value)
{
    m_value = Normalize(value, m_min, m_max, m_inc);
    // A value from the source while the user types into the box moves the slider but keeps the text.
    ShowValue(m_edit->hasFocus() && m_edit->isModified());
}

void CustomDoubleSlider::ShowValue(bool keepText)
{
    {
        const QSignalBlocker blocker(m_slider);
        const double span = m_max - m_min;
        const int pos = span > 0.0 ? static_cast<int>(std::lround((m_value - m_min) / span * kPositions)) : 0;
        m_slider->setValue(pos);
    }
    if (keepText)
        return;
    m_shownText = QString::number(m_value, 'f', m_decimals);
    m_edit->setText(m_shownText);
}

double CustomDoubleSlider::StepSize() const
{
    if (m_inc > 0.0)
        return m_inc;
    return std::pow(10.0, -m_decimals);
}

bool CustomDoubleSlider::StepUp()
{
    const double v = Normalize(m_value + StepSize(), m_min, m_max, m_inc);
    if (v <= m_value)
        return false;
    m_value = v;
    ShowValue();
    Q_EMIT Signal_ValueIncremented();
    Q_EMIT Signal_ValueChanged(m_value);
    return true;
}

bool CustomDoubleSlider::StepDown()
{
    const double v = Normalize(m_value - StepSize(), m_min, m_max, m_inc);
    if (v >= m_value)
        return false;
    m_value = v;
    ShowValue();
    Q_EMIT Signal_ValueDecremented();
    Q_EMIT Signal_ValueChanged(m_value);
    return true;
}

void CustomDoubleSlider::OnSliderValueChanged(double position)
{
    const double v = Normalize(m_min + (m_max - m_min) * position / kPositions, m_min, m_max, m_inc);
    if (v == m_value)
        return;
    m_value = v;
    m_shownText = QString::number(m_value, 'f', m_decimals);
    m_edit->setText(m_shownText);
    if (m_slider->isSliderDown())
        Q_EMIT Signal_ImmediateUpdate(m_value);
    else
        Q_EMIT Signal_ValueChanged(m_value);
}

void CustomDoubleSlider::OnSliderPressed()
{
    Q_EMIT Signal_Clicked();
}

void CustomDoubleSlider::OnSliderReleased()
{
    Q_EMIT Signal_ValueChanged(m_value);
}

void CustomDoubleSlider::OnEditingFinished(const QString& text)
{
    // Text as it was shown (the focus left the box, or Return on an untouched box) is no user change: with
    // fewer decimals than the value has, writing it back would round the camera's value.
    if (text.trimmed() == m_shownText)
    {
        ShowValue();
        return;
    }
    bool ok = false;
    QString t = text.trimmed();
    // Both the C locale and the user's decimal separator are accepted.
    double v = t.toDouble(&ok);
    if (!ok)
        v = QLocale().toDouble(t, &ok);
    if (!ok || !std::isfinite(v))
    {
        ShowValue();
        return;
    }
    v = Normalize(v, m_min, m_max, m_inc);
    const bool changed = v != m_value;
    m_value = v;
    ShowValue();
    if (changed)
        Q_EMIT Signal_ValueChanged(m_value);
}

void CustomDoubleSlider::wheelEvent(QWheelEvent* event)
{
    const bool focused = hasFocus() || m_slider->hasFocus() || m_edit->hasFocus();
    const int delta = event->angleDelta().y() != 0 ? event->angleDelta().y() : event->angleDelta().x();
    if (!focused || !isEnabled() || delta == 0)
    {
        event->ignore();
        return;
    }
    if (delta > 0)
        StepUp();
    else
        StepDown();
    event->accept();
}

void CustomDoubleSlider::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Right)
        StepUp();
    else if (event->key() == Qt::Key_Down || event->key() == Qt::Key_Left)
        StepDown();
    else
        QWidget::keyPressEvent(event);
}

bool CustomDoubleSlider::eventFilter(QObject* watched, QEvent* event)
{
    if ((watched == m_slider || watched == m_edit) && event->type() == QEvent::KeyPress)
    {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || (watched == m_slider && key == Qt::Key_Right))
        {
            StepUp();
            return true;
        }
        if (key == Qt::Key_Down || (watched == m_slider && key == Qt::Key_Left))
        {
            StepDown();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void CustomDoubleSlider::UpdateStyleSheet()
{
    m_slider->UpdateStyleSheet();
    m_edit->UpdateStyleSheet();
}

CustomSliderDoubleNormal::CustomSliderDoubleNormal(QWidget* parent) : CustomDoubleSlider(parent) {}

void CustomSliderDoubleNormal::OnSliderPressed()
{
    CustomDoubleSlider::OnSliderPressed();
    Q_EMIT Signal_SliderPressed();
}

void CustomSliderDoubleNormal::OnSliderReleased()
{
    Q_EMIT Signal_SliderReleased();
    CustomDoubleSlider::OnSliderReleased();
}
