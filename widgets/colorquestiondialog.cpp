#include "widgets/colorquestiondialog.h"

#include "common/applicationglobals.h"
#include "widgets/custompushbutton.h"
#include "widgets/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

ColorQuestionDialog::ColorQuestionDialog(QWidget* parent, const QString& title, int width) : QDialog(parent)
{
    setObjectName(QStringLiteral("ColorQuestionDialog"));
    setWindowTitle(title);
    setModal(true);

    m_label = new QLabel(this);
    m_label->setWordWrap(true);
    m_label->setTextFormat(Qt::RichText);
    m_label->setTextInteractionFlags(Qt::TextBrowserInteraction);
    m_label->setOpenExternalLinks(false);
    if (width > 0)
        m_label->setFixedWidth(width);
    else
        m_label->setMinimumWidth(320);

    m_buttonYes = new CustomPushButton(tr("Yes"), this);
    m_buttonYes->setDefault(true);
    m_buttonYes->setMinimumWidth(90);
    m_buttonNo = new CustomPushButton(tr("No"), this);
    m_buttonNo->setMinimumWidth(90);
    connect(m_buttonYes, &CustomPushButton::clicked, this, &ColorQuestionDialog::OnButtonYes);
    connect(m_buttonNo, &CustomPushButton::clicked, this, &ColorQuestionDialog::OnButtonNo);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_buttonYes);
    buttons->addWidget(m_buttonNo);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 15);
    layout->setSpacing(15);
    layout->addWidget(m_label);
    layout->addLayout(buttons);
    UpdateStyleSheet();
}

void ColorQuestionDialog::AddLine(const QString& text, const QColor& color)
{
    m_lines.append({text, color});
    RebuildText();
}

void ColorQuestionDialog::SetQuestion(const QString& question)
{
    m_question = question;
    RebuildText();
}

QString ColorQuestionDialog::Text() const
{
    QStringList parts;
    for (const Line& line : m_lines)
        parts << line.text;
    if (!m_question.isEmpty())
        parts << m_question;
    return parts.join(QLatin1Char('\n'));
}

void ColorQuestionDialog::RebuildText()
{
    QString html;
    for (const Line& line : m_lines)
    {
        const QColor c = line.color.isValid() ? line.color : ApplicationGlobals::colorText;
        html +=
            QStringLiteral("<div style=\"color:%1\">%2</div>")
                .arg(c.name(), QString(line.text.toHtmlEscaped()).replace(QLatin1Char('\n'), QStringLiteral("<br>")));
    }
    if (!m_question.isEmpty())
        html += QStringLiteral("<p style=\"color:%1\"><b>%2</b></p>")
                    .arg(ApplicationGlobals::colorText.name(),
                         QString(m_question.toHtmlEscaped()).replace(QLatin1Char('\n'), QStringLiteral("<br>")));
    m_label->setText(html);
}

void ColorQuestionDialog::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    setStyleSheet(Theme::DialogCss(objectName()));
    m_buttonYes->UpdateStyleSheet();
    m_buttonNo->UpdateStyleSheet();
    RebuildText();
}

void ColorQuestionDialog::OnButtonYes()
{
    accept();
}

void ColorQuestionDialog::OnButtonNo()
{
    reject();
}
