#include "widgets/customprogressbar.h"

#include "common/applicationglobals.h"

#include <QPainter>
#include <QTimer>

#include <algorithm>

namespace {
constexpr int kBusyIntervalMs = 30;
constexpr int kBusyPeriod = 100;
} // namespace

CustomProgressBar::CustomProgressBar(QWidget* parent) : QWidget(parent)
{
    m_busyTimer = new QTimer(this);
    m_busyTimer->setInterval(kBusyIntervalMs);
    connect(m_busyTimer, &QTimer::timeout, this, &CustomProgressBar::OnTimerBusy);
    setFont(ApplicationGlobals::fontNormal);
}

void CustomProgressBar::SetValue(double percent)
{
    m_value = std::clamp(percent, 0.0, 100.0);
    update();
}

void CustomProgressBar::SetText(const QString& text)
{
    m_text = text;
    update();
}

void CustomProgressBar::SetBusy(bool busy)
{
    if (busy)
        m_busyTimer->start();
    else
        m_busyTimer->stop();
    update();
}

bool CustomProgressBar::IsBusy() const
{
    return m_busyTimer->isActive();
}

void CustomProgressBar::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    update();
}

QSize CustomProgressBar::sizeHint() const
{
    return {300, 36};
}

void CustomProgressBar::OnTimerBusy()
{
    m_busyPhase = (m_busyPhase + 1) % (2 * kBusyPeriod);
    update();
}

void CustomProgressBar::paintEvent(QPaintEvent*)
{
    using G = ApplicationGlobals;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(G::colorBorder);
    painter.setBrush(G::colorBackgroundRaised);
    painter.drawRect(frame);

    const QRectF track = frame.adjusted(3, 3, -3, -3);
    painter.setPen(Qt::NoPen);
    painter.setBrush(G::colorAccent);
    if (IsBusy())
    {
        const double block = track.width() / 4.0;
        const int phase = m_busyPhase < kBusyPeriod ? m_busyPhase : 2 * kBusyPeriod - m_busyPhase;
        const double x = track.left() + (track.width() - block) * phase / kBusyPeriod;
        painter.drawRect(QRectF(x, track.top(), block, track.height()));
    }
    else
    {
        painter.drawRect(QRectF(track.left(), track.top(), track.width() * m_value / 100.0, track.height()));
    }

    painter.setPen(G::colorText);
    painter.setFont(font());
    const QString label = m_text.isEmpty() && !IsBusy() ? QStringLiteral("%1 %").arg(qRound(m_value)) : m_text;
    painter.drawText(rect(), Qt::AlignCenter, label);
}
