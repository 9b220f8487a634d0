#include "widgets/customtaskbutton.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"
#include "widgets/theme.h"

#include <QIcon>

CustomTaskButton::CustomTaskButton(const QString& text, const QString& iconFile, QWidget* parent)
    : QPushButton(text, parent), m_iconFile(iconFile)
{
    setCheckable(true);
    setCursor(Qt::PointingHandCursor);
    connect(this, &QPushButton::clicked, this, &CustomTaskButton::Signal_Clicked);
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomTaskButton::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomTaskButton::OnFadeOutFinished);
    UpdateStyleSheet();
}

void CustomTaskButton::SetIconFile(const QString& iconFile)
{
    m_iconFile = iconFile;
    UpdateStyleSheet();
}

void CustomTaskButton::FadeIn()
{
    m_fader->Start(true);
}

void CustomTaskButton::FadeOut()
{
    m_fader->Start(false);
}

void CustomTaskButton::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomTaskButton::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}

void CustomTaskButton::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setIcon(m_iconFile.isEmpty() ? QIcon() : QIcon(G::Icon24(m_iconFile)));
    setStyleSheet(QStringLiteral("QPushButton { color: %1; background-color: transparent; border: none;"
                                 " border-left: 3px solid transparent; padding: 4px 8px; text-align: left; %2 }"
                                 "QPushButton:hover { background-color: %3; }"
                                 "QPushButton:checked { border-left-color: %4; background-color: %5; }"
                                 "QPushButton:disabled { color: %6; }")
                      .arg(G::colorText.name(), Theme::FontCss(), G::colorHover.name(), G::colorAccent.name(),
                           G::colorBackgroundRaised.name(), G::colorDisabledText.name()));
}
