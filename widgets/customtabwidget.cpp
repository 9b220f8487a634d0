#include "widgets/customtabwidget.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"
#include "widgets/theme.h"

#include <QPropertyAnimation>
#include <QTabBar>

CustomTabWidget::CustomTabWidget(QWidget* parent) : QTabWidget(parent)
{
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomTabWidget::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomTabWidget::OnFadeOutFinished);
    m_move = new QPropertyAnimation(this, "pos", this);
    connect(m_move, &QPropertyAnimation::finished, this, &CustomTabWidget::Signal_MoveFromStartToEndFinished);
    UpdateStyleSheet();
}

void CustomTabWidget::FadeIn()
{
    m_fader->Start(true);
}

void CustomTabWidget::FadeOut()
{
    m_fader->Start(false);
}

void CustomTabWidget::MoveFromStartToEnd(const QPoint& start, const QPoint& end)
{
    m_move->stop();
    m_move->setDuration(std::max(ApplicationGlobals::fadeInOutTime, 0));
    m_move->setStartValue(start);
    m_move->setEndValue(end);
    move(start);
    m_move->start();
}

void CustomTabWidget::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomTabWidget::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}

void CustomTabWidget::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setStyleSheet(QStringLiteral("QTabWidget::pane { border: 1px solid %1; background-color: %2; top: -1px; }"
                                 "QTabBar::tab { color: %3; background-color: %4; border: 1px solid %1;"
                                 " padding: 5px 12px; margin-right: 1px; %5 }"
                                 "QTabBar::tab:selected { background-color: %6; color: #ffffff; }"
                                 "QTabBar::tab:hover:!selected { background-color: %7; }"
                                 "QTabBar::tab:disabled { color: %8; }")
                      .arg(G::colorBorder.name(), G::colorBackground.name(), G::colorText.name(),
                           G::colorBackgroundRaised.name(), Theme::FontCss(), G::colorAccent.name(),
                           G::colorHover.name(), G::colorDisabledText.name()));
}
