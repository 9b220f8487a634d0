#include "widgets/customlabel.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"
#include "widgets/theme.h"

#include <QMouseEvent>

CustomLabel::CustomLabel(const QString& text, QWidget* parent) : QLabel(text, parent)
{
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomLabel::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomLabel::OnFadeOutFinished);
    CustomLabel::UpdateStyleSheet();
}

void CustomLabel::FadeIn()
{
    m_fader->Start(true);
}

void CustomLabel::FadeOut()
{
    m_fader->Start(false);
}

void CustomLabel::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomLabel::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}

void CustomLabel::SetTextColor(const QColor& color)
{
    m_textColor = color;
    UpdateStyleSheet();
}

void CustomLabel::SetSmallFont(bool small)
{
    m_small = small;
    UpdateStyleSheet();
}

void CustomLabel::UpdateStyleSheet()
{
    const QColor c = m_textColor.isValid() ? m_textColor : ApplicationGlobals::colorText;
    setFont(m_small ? ApplicationGlobals::fontSmall : ApplicationGlobals::fontNormal);
    setStyleSheet(QStringLiteral("QLabel { color: %1; background: transparent; %2 }"
                                 "QLabel:disabled { color: %3; }")
                      .arg(c.name(), Theme::FontCss(m_small), ApplicationGlobals::colorDisabledText.name()));
}

void CustomLabel::mousePressEvent(QMouseEvent* event)
{
    m_pressed = event->button() == Qt::LeftButton;
    QLabel::mousePressEvent(event);
}

void CustomLabel::mouseReleaseEvent(QMouseEvent* event)
{
    const bool click = m_pressed && event->button() == Qt::LeftButton && rect().contains(event->pos());
    m_pressed = false;
    QLabel::mouseReleaseEvent(event);
    if (click)
        Q_EMIT Signal_Clicked();
}
