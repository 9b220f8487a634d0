#include "widgets/iconbutton.h"

#include "common/applicationglobals.h"

#include <QPainter>
#include <QPixmap>
#include <QTimer>

namespace {
constexpr int kBusyIntervalMs = 40;
constexpr int kBusyStepDegrees = 30;
} // namespace

IconButton::IconButton(const QString& iconFile, QWidget* parent) : QAbstractButton(parent), m_iconFile(iconFile)
{
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::NoFocus);
    m_busyTimer = new QTimer(this);
    m_busyTimer->setInterval(kBusyIntervalMs);
    connect(m_busyTimer, &QTimer::timeout, this, &IconButton::OnTimerBusy);
    UpdateStyleSheet();
}

void IconButton::SetIconFile(const QString& iconFile)
{
    m_iconFile = iconFile;
    LoadIcon();
}

QString IconButton::IconPath() const
{
    if (m_iconFile.isEmpty())
        return QString();
    // Large buttons (the toolbar's 36 pixels) take the 36 set, all others the 24 set.
    return qMin(width(), height()) >= 36 ? ApplicationGlobals::Icon36(m_iconFile)
                                         : ApplicationGlobals::Icon24(m_iconFile);
}

bool IconButton::HasIcon() const
{
    return !m_pixmap.isNull();
}

void IconButton::LoadIcon()
{
    m_pixmap = QPixmap(IconPath());
    if (m_pixmap.isNull() && !m_iconFile.isEmpty())
        m_pixmap = QPixmap(ApplicationGlobals::Icon24(m_iconFile));
    update();
}

void IconButton::setText(const QString& text)
{
    QAbstractButton::setText(text);
    update();
}

void IconButton::SetBusy(bool busy)
{
    if (busy)
    {
        m_busyTimer->start();
    }
    else
    {
        m_busyTimer->stop();
        m_busyPhase = 0;
    }
    update();
}

bool IconButton::IsBusy() const
{
    return m_busyTimer->isActive();
}

void IconButton::OnTimerBusy()
{
    m_busyPhase = (m_busyPhase + kBusyStepDegrees) % 360;
    update();
}

QSize IconButton::sizeHint() const
{
    return QSize(36, 36);
}

void IconButton::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    LoadIcon();
}

void IconButton::enterEvent(QEvent* event)
{
    m_hover = true;
    update();
    QAbstractButton::enterEvent(event);
}

void IconButton::leaveEvent(QEvent* event)
{
    m_hover = false;
    update();
    QAbstractButton::leaveEvent(event);
}

void IconButton::resizeEvent(QResizeEvent* event)
{
    QAbstractButton::resizeEvent(event);
    LoadIcon();
}

void IconButton::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    using G = ApplicationGlobals;
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    if (isDown())
        p.fillRect(rect(), G::colorPressed);
    else if (isChecked())
        p.fillRect(rect(), G::colorAccent);
    else if (m_hover && isEnabled())
        p.fillRect(rect(), G::colorHover);

    if (!isEnabled())
        p.setOpacity(0.4);
    if (!m_pixmap.isNull())
    {
        // Only ever scaled down: a 24-pixel icon stretched into a 30-pixel button came out blurred.
        QSize s = m_pixmap.size() / m_pixmap.devicePixelRatio();
        if (s.width() > width() || s.height() > height())
            s = s.scaled(size(), Qt::KeepAspectRatio);
        const QRect target(QPoint((width() - s.width()) / 2, (height() - s.height()) / 2), s);
        p.drawPixmap(target, m_pixmap);
    }
    else
    {
        p.setPen(G::colorText);
        p.setFont(G::fontSmall);
        const QString label = !text().isEmpty() ? text() : m_iconFile.section(QLatin1Char('.'), 0, 0).left(3);
        p.drawText(rect(), Qt::AlignCenter, label);
    }
    if (IsBusy())
    {
        p.setOpacity(1.0);
        p.setPen(QPen(G::colorAccent, 2));
        const QRect arc = rect().adjusted(3, 3, -3, -3);
        p.drawArc(arc, -m_busyPhase * 16, 100 * 16);
    }
}
