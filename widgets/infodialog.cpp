#include "widgets/infodialog.h"

#include "common/applicationglobals.h"
#include "widgets/custompushbutton.h"
#include "widgets/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>

InfoDialog::InfoDialog(QWidget* parent, const QString& title, const QString& text, int hideAfterMs) : QDialog(parent)
{
    setWindowTitle(title);
    setModal(true);
    setObjectName(QStringLiteral("InfoDialog"));

    m_label = new QLabel(text, this);
    m_label->setWordWrap(true);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_label->setMinimumWidth(320);

    m_buttonOk = new CustomPushButton(tr("OK"), this);
    m_buttonOk->setDefault(true);
    m_buttonOk->setMinimumWidth(90);
    connect(m_buttonOk, &CustomPushButton::clicked, this, &InfoDialog::OnButtonOk);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_buttonOk);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 15);
    layout->setSpacing(15);
    layout->addWidget(m_label);
    layout->addLayout(buttons);

    if (hideAfterMs > 0)
    {
        m_hideTimer = new QTimer(this);
        m_hideTimer->setSingleShot(true);
        connect(m_hideTimer, &QTimer::timeout, this, &InfoDialog::OnTimerHide);
        m_hideTimer->start(hideAfterMs);
    }
    UpdateStyleSheet();
}

QString InfoDialog::Text() const
{
    return m_label->text();
}

void InfoDialog::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    setStyleSheet(Theme::DialogCss(objectName()));
    m_buttonOk->UpdateStyleSheet();
}

void InfoDialog::OnButtonOk()
{
    accept();
}

void InfoDialog::OnTimerHide()
{
    accept();
}
