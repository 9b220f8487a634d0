#include "widgets/infodialog.h"

#include "app/applicationglobals.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

InfoDialog::InfoDialog(QWidget* parent, const QString& title, const QString& text, int hideAfterMs)
    : QDialog(parent)
{
    setWindowTitle(title);
    setModal(true);
    setObjectName(QStringLiteral("InfoDialog"));

    m_label = new QLabel(text, this);
    m_label->setWordWrap(true);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_label->setMinimumWidth(320);

    m_buttonOk = new QPushButton(tr("OK"), this);
    m_buttonOk->setDefault(true);
    m_buttonOk->setMinimumWidth(90);
    connect(m_buttonOk, &QPushButton::clicked, this, &InfoDialog::OnButtonOk);

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
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setStyleSheet(QStringLiteral("QDialog#InfoDialog { background-color: %1; border: 1px solid %2; }"
                                 "QLabel { color: %3; }"
                                 "QPushButton { color: %3; background-color: %4; border: 1px solid %2;"
                                 " padding: 5px 12px; }"
                                 "QPushButton:hover { background-color: %5; }"
                                 "QPushButton:pressed { background-color: %6; }")
                      .arg(G::colorBackground.name(), G::colorBorder.name(), G::colorText.name(),
                           G::colorBackgroundRaised.name(), G::colorAccentHover.name(),
                           G::colorAccentPressed.name()));
}

void InfoDialog::OnButtonOk()
{
    accept();
}

void InfoDialog::OnTimerHide()
{
    accept();
}
