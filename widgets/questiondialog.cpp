#include "widgets/questiondialog.h"

#include "common/applicationglobals.h"
#include "widgets/custompushbutton.h"
#include "widgets/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

QuestionDialog::QuestionDialog(QWidget* parent, const QString& title, const QString& text) : QDialog(parent)
{
    setObjectName(QStringLiteral("QuestionDialog"));
    setWindowTitle(title);
    setModal(true);

    m_label = new QLabel(text, this);
    m_label->setWordWrap(true);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_label->setMinimumWidth(320);

    m_buttonYes = new CustomPushButton(tr("Yes"), this);
    m_buttonYes->setDefault(true);
    m_buttonYes->setMinimumWidth(90);
    m_buttonNo = new CustomPushButton(tr("No"), this);
    m_buttonNo->setMinimumWidth(90);
    connect(m_buttonYes, &CustomPushButton::clicked, this, &QuestionDialog::OnButtonYes);
    connect(m_buttonNo, &CustomPushButton::clicked, this, &QuestionDialog::OnButtonNo);

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

bool QuestionDialog::Ask(QWidget* parent, const QString& title, const QString& text)
{
    QuestionDialog dialog(parent, title, text);
    return dialog.exec() == QDialog::Accepted;
}

QString QuestionDialog::Text() const
{
    return m_label->text();
}

void QuestionDialog::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    setStyleSheet(Theme::DialogCss(objectName()));
    m_buttonYes->UpdateStyleSheet();
    m_buttonNo->UpdateStyleSheet();
}

void QuestionDialog::OnButtonYes()
{
    accept();
}

void QuestionDialog::OnButtonNo()
{
    reject();
}
