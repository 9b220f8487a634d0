#include "widgets/customcolorlabel.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"
#include "widgets/theme.h"

CustomColorLabel::CustomColorLabel(QWidget* parent) : QTextEdit(parent)
{
    setReadOnly(true);
    setFrameShape(QFrame::NoFrame);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomColorLabel::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomColorLabel::OnFadeOutFinished);
    UpdateStyleSheet();
}

void CustomColorLabel::AddLine(const QString& text, const QColor& color)
{
    m_lines.append({text, color});
    Rebuild();
}

void CustomColorLabel::Clear()
{
    m_lines.clear();
    Rebuild();
}

void CustomColorLabel::Rebuild()
{
    QString html;
    for (const Line& line : m_lines)
    {
        const QColor c = line.color.isValid() ? line.color : ApplicationGlobals::colorText;
        html +=
            QStringLiteral("<div style=\"color:%1\">%2</div>")
                .arg(c.name(), QString(line.text.toHtmlEscaped()).replace(QLatin1Char('\n'), QStringLiteral("<br>")));
    }
    setHtml(html);
}

void CustomColorLabel::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setStyleSheet(QStringLiteral("QTextEdit { color: %1; background-color: %2; border: none; %3 }")
                      .arg(G::colorText.name(), G::colorBackground.name(), Theme::FontCss()));
    Rebuild();
}

void CustomColorLabel::FadeIn()
{
    m_fader->Start(true);
}

void CustomColorLabel::FadeOut()
{
    m_fader->Start(false);
}

void CustomColorLabel::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomColorLabel::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}
