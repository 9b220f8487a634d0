#include "widgets/fader.h"

#include "common/applicationglobals.h"

#include <QGraphicsOpacityEffect>
#include <QPropertyAnimation>
#include <QWidget>

#include <algorithm>

Fader::Fader(QWidget* target) : QObject(target), m_target(target) {}

bool Fader::IsRunning() const
{
    return m_animation != nullptr && m_animation->state() == QAbstractAnimation::Running;
}

void Fader::Start(bool in)
{
    double from = in ? 0.0 : 1.0;
    if (m_animation != nullptr)
    {
        m_animation->disconnect(this);
        m_animation->stop();
        from = m_effect->opacity();
        m_animation->deleteLater();
        m_animation = nullptr;
    }
    else
    {
        m_effect = new QGraphicsOpacityEffect(m_target);
        m_target->setGraphicsEffect(m_effect);
    }
    m_in = in;
    m_effect->setOpacity(from);
    // The animation is the fader's child, not the effect's: the effect goes away inside OnFinished.
    m_animation = new QPropertyAnimation(m_effect, "opacity", this);
    m_animation->setDuration(std::max(ApplicationGlobals::fadeInOutTime, 0));
    m_animation->setStartValue(from);
    m_animation->setEndValue(in ? 1.0 : 0.0);
    connect(m_animation, &QPropertyAnimation::finished, this, &Fader::OnFinished);
    if (in && m_target->isHidden())
        m_target->show();
    m_animation->start();
}

void Fader::OnFinished()
{
    m_animation->disconnect(this);
    m_animation->deleteLater();
    m_animation = nullptr;
    if (!m_in)
        m_target->hide();
    m_target->setGraphicsEffect(nullptr);
    m_effect = nullptr;
    if (m_in)
        Q_EMIT FadeInFinished();
    else
        Q_EMIT FadeOutFinished();
}
