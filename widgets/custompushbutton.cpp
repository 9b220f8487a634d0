#include "widgets/custompushbutton.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"
#include "widgets/theme.h"

#include <QTimer>

CustomPushButton::CustomPushButton(const QString& text, QWidget* parent) : QPushButton(text, parent), m_plainText(text)
{
    setCursor(Qt::PointingHandCursor);
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomPushButton::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomPushButton::OnFadeOutFinished);
    m_busyTimer = new QTimer(this);
    m_busyTimer->setInterval(300);
    connect(m_busyTimer, &QTimer::timeout, this, &CustomPushButton::OnTimerBusy);
    UpdateStyleSheet();
}

void CustomPushButton::SetText(const QString& text)
{
    m_plainText = text;
    setText(text);
}

void CustomPushButton::FadeIn()
{
    m_fader->Start(true);
}

void CustomPushButton::FadeOut()
{
    m_fader->Start(false);
}

void CustomPushButton::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomPushButton::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}

void CustomPushButton::SetBusy(bool busy)
{
    if (busy)
    {
        m_busyPhase = 0;
        m_busyTimer->start();
    }
    else
    {
        m_busyTimer->stop();
        setText(m_plainText);
    }
}

bool CustomPushButton::IsBusy() const
{
    return m_busyTimer->isActive();
}

void CustomPushButton::OnTimerBusy()
{
    m_busyPhase = (m_busyPhase + 1) % 4;
    setText(m_plainText + QString(m_busyPhase, QLatin1Char('.')));
}

void CustomPushButton::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    setStyleSheet(Theme::ButtonCss());
}
