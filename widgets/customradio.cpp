#include "widgets/customradio.h"

#include "common/applicationglobals.h"

#include <QPainter>

namespace {
constexpr int kRing = 14;
constexpr int kGap = 6;
} // namespace

CustomRadio::CustomRadio(const QString& text, QWidget* parent) : QAbstractButton(parent)
{
    setText(text);
    setCheckable(true);
    setAutoExclusive(true);
    setCursor(Qt::PointingHandCursor);
    connect(this, &QAbstractButton::clicked, this, &CustomRadio::OnButtonClicked);
    connect(this, &QAbstractButton::toggled, this, &CustomRadio::StateChanged);
    UpdateStyleSheet();
}

void CustomRadio::OnButtonClicked()
{
    Q_EMIT Signal_Clicked();
}

QSize CustomRadio::sizeHint() const
{
    return QSize(kRing + kGap + fontMetrics().horizontalAdvance(text()) + 2,
                 std::max(kRing + 4, fontMetrics().height() + 4));
}

bool CustomRadio::hitButton(const QPoint& pos) const
{
    return rect().contains(pos);
}

void CustomRadio::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    update();
}

void CustomRadio::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    using G = ApplicationGlobals;
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    const QRect ring(1, (height() - kRing) / 2, kRing, kRing);
    const QColor edge = !isEnabled() ? G::colorDisabledText : (isChecked() ? G::colorAccent : G::colorBorder);
    p.setPen(QPen(edge, 1.5));
    p.setBrush(G::colorInputBackground);
    p.drawEllipse(ring);
    if (isChecked())
    {
        p.setPen(Qt::NoPen);
        p.setBrush(isEnabled() ? G::colorAccent : G::colorDisabledText);
        p.drawEllipse(ring.adjusted(4, 4, -4, -4));
    }
    p.setPen(isEnabled() ? G::colorText : G::colorDisabledText);
    p.drawText(QRect(kRing + kGap, 0, width() - kRing - kGap, height()), Qt::AlignVCenter | Qt::AlignLeft, text());
}
