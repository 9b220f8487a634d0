#include "widgets/customedit.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"
#include "widgets/theme.h"

#include <QMouseEvent>

CustomEdit::CustomEdit(QWidget* parent) : QLineEdit(parent)
{
    connect(this, &QLineEdit::textEdited, this, &CustomEdit::OnTextChanged);
    connect(this, &QLineEdit::editingFinished, this, &CustomEdit::OnEditingFinished);
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomEdit::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomEdit::OnFadeOutFinished);
    UpdateStyleSheet();
}

void CustomEdit::OnTextChanged(const QString& text)
{
    if (text.isEmpty())
        Q_EMIT Signal_Cleared();
}

void CustomEdit::OnEditingFinished()
{
    Q_EMIT Signal_EditingFinished(text());
}

void CustomEdit::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        Q_EMIT Signal_Clicked();
    QLineEdit::mousePressEvent(event);
}

void CustomEdit::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    setStyleSheet(Theme::InputCss(QStringLiteral("QLineEdit")));
}

void CustomEdit::FadeIn()
{
    m_fader->Start(true);
}

void CustomEdit::FadeOut()
{
    m_fader->Start(false);
}

void CustomEdit::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomEdit::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}
