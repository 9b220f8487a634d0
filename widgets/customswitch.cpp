#include "widgets/customswitch.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPropertyAnimation>

namespace {
constexpr int kThumbMargin = 3;
} // namespace

Thumb::Thumb(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void Thumb::SetColor(const QColor& color)
{
    m_color = color;
    update();
}

void Thumb::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setPen(Qt::NoPen);
    p.setBrush(m_color);
    p.drawEllipse(rect().adjusted(0, 0, -1, -1));
}

CustomSwitch::CustomSwitch(QWidget* parent) : QAbstractButton(parent)
{
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setCheckable(false);
    m_thumb = new Thumb(this);
    m_animation = new QPropertyAnimation(m_thumb, "pos", this);
    m_animation->setDuration(kAnimationMs);
    m_animation->setEasingCurve(QEasingCurve::InOutQuad);
    connect(m_animation, &QPropertyAnimation::finished, this, &CustomSwitch::OnAnimationFinished);
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomSwitch::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomSwitch::OnFadeOutFinished);
    resize(sizeHint());
    UpdateStyleSheet();
}

QSize CustomSwitch::sizeHint() const
{
    return QSize(40, 20);
}

bool CustomSwitch::IsAnimating() const
{
    return m_animating;
}

QPoint CustomSwitch::ThumbPosition(bool value) const
{
    const int d = std::max(height() - 2 * kThumbMargin, 2);
    return value ? QPoint(std::max(width() - kThumbMargin - d, kThumbMargin), kThumbMargin)
                 : QPoint(kThumbMargin, kThumbMargin);
}

void CustomSwitch::PlaceThumb()
{
    const int d = std::max(height() - 2 * kThumbMargin, 2);
    m_thumb->resize(d, d);
    if (!m_animating)
        m_thumb->move(ThumbPosition(m_value));
}

void CustomSwitch::SetValue(bool value)
{
    // A value from code wins over a running slide: stop it where the value says.
    if (m_animating)
    {
        m_animation->stop();
        m_animating = false;
    }
    m_value = value;
    PlaceThumb();
    UpdateStyleSheet();
}

void CustomSwitch::ToggleByUser()
{
    if (m_animating || !isEnabled())
        return;
    m_value = !m_value;
    m_animating = true;
    m_animation->setStartValue(m_thumb->pos());
    m_animation->setEndValue(ThumbPosition(m_value));
    m_animation->start();
    UpdateStyleSheet();
    Q_EMIT Signal_Clicked();
    Q_EMIT Signal_ValueChanged(m_value);
}

void CustomSwitch::OnAnimationFinished()
{
    m_animating = false;
    m_thumb->move(ThumbPosition(m_value));
}

void CustomSwitch::mousePressEvent(QMouseEvent* event)
{
    // The toggle happens on release; the press is only taken so that the release arrives here.
    event->setAccepted(event->button() == Qt::LeftButton);
}

void CustomSwitch::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->pos()))
        ToggleByUser();
    event->accept();
}

void CustomSwitch::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space)
    {
        ToggleByUser();
        event->accept();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void CustomSwitch::changeEvent(QEvent* event)
{
    QAbstractButton::changeEvent(event);
    if (event->type() == QEvent::EnabledChange)
        UpdateStyleSheet();
}

void CustomSwitch::resizeEvent(QResizeEvent* event)
{
    QAbstractButton::resizeEvent(event);
    PlaceThumb();
}

void CustomSwitch::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    using G = ApplicationGlobals;
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setPen(QPen(m_value ? G::colorAccent : G::colorBorder, 1));
    QColor track = m_value ? G::colorAccent : G::colorBackgroundRaised;
    if (!isEnabled())
        track = G::colorDisabledBackground;
    p.setBrush(track);
    const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    p.drawRoundedRect(r, r.height() / 2, r.height() / 2);
}

void CustomSwitch::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    m_thumb->SetColor(isEnabled() ? (m_value ? QColor(Qt::white) : G::colorText) : G::colorDisabledText);
    update();
}

void CustomSwitch::FadeIn()
{
    m_fader->Start(true);
}

void CustomSwitch::FadeOut()
{
    m_fader->Start(false);
}

void CustomSwitch::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomSwitch::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}
