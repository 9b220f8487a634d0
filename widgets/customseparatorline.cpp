#include "widgets/customseparatorline.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"

CustomSeparatorLine::CustomSeparatorLine(Qt::Orientation orientation, QWidget* parent)
    : QLabel(parent), m_orientation(orientation)
{
    if (orientation == Qt::Horizontal)
    {
        setFixedHeight(1);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }
    else
    {
        setFixedWidth(1);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    }
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomSeparatorLine::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomSeparatorLine::OnFadeOutFinished);
    UpdateStyleSheet();
}

void CustomSeparatorLine::FadeIn()
{
    m_fader->Start(true);
}

void CustomSeparatorLine::FadeOut()
{
    m_fader->Start(false);
}

void CustomSeparatorLine::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomSeparatorLine::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}

void CustomSeparatorLine::UpdateStyleSheet()
{
    setStyleSheet(QStringLiteral("QLabel { background-color: %1; border: none; }")
                      .arg(ApplicationGlobals::colorSeparator.name()));
}
