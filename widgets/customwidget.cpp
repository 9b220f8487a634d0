#include "widgets/customwidget.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"

#include <QPropertyAnimation>

CustomWidget::CustomWidget(QWidget* parent) : QWidget(parent)
{
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomWidget::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomWidget::OnFadeOutFinished);
    m_move = new QPropertyAnimation(this, "pos", this);
    connect(m_move, &QPropertyAnimation::finished, this, &CustomWidget::OnMoveFinished);
    UpdateStyleSheet();
}

void CustomWidget::FadeIn()
{
    m_fader->Start(true);
}

void CustomWidget::FadeOut()
{
    m_fader->Start(false);
}

void CustomWidget::MoveFromStartToEnd(const QPoint& start, const QPoint& end)
{
    m_move->stop();
    m_move->setDuration(std::max(ApplicationGlobals::fadeInOutTime, 0));
    m_move->setStartValue(start);
    m_move->setEndValue(end);
    move(start);
    m_move->start();
}

bool CustomWidget::IsMoving() const
{
    return m_move->state() == QAbstractAnimation::Running;
}

void CustomWidget::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomWidget::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}

void CustomWidget::OnMoveFinished()
{
    Q_EMIT Signal_MoveFromStartToEndFinished();
}

void CustomWidget::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    update();
}
