#include "widgets/customipcontrol.h"

#include "common/applicationglobals.h"
#include "widgets/theme.h"

#include <QMouseEvent>
#include <QRegularExpression>
#include <QRegularExpressionValidator>

CustomIpControl::CustomIpControl(QWidget* parent) : QLineEdit(parent)
{
    const QString octet = QStringLiteral("(25[0-5]|2[0-4][0-9]|1[0-9]{2}|[1-9]?[0-9])");
    const QRegularExpression re(QStringLiteral("^%1\\.%1\\.%1\\.%1$").arg(octet));
    setValidator(new QRegularExpressionValidator(re, this));
    setPlaceholderText(QStringLiteral("0.0.0.0"));
    UpdateStyleSheet();
}

QString CustomIpControl::ToText(quint32 a)
{
    return QStringLiteral("%1.%2.%3.%4").arg((a >> 24) & 0xFF).arg((a >> 16) & 0xFF).arg((a >> 8) & 0xFF).arg(a & 0xFF);
}

bool CustomIpControl::FromText(const QString& text, quint32* address)
{
    const QStringList parts = text.trimmed().split(QLatin1Char('.'));
    if (parts.size() != 4)
        return false;
    quint32 a = 0;
    for (const QString& part : parts)
    {
        bool ok = false;
        const uint v = part.toUInt(&ok);
        if (!ok || v > 255 || part.isEmpty() || part.size() > 3)
            return false;
        a = (a << 8) | v;
    }
    *address = a;
    return true;
}

void CustomIpControl::SetAddress(quint32 address)
{
    setText(ToText(address));
}

bool CustomIpControl::Address(quint32* address) const
{
    *address = 0;
    return hasAcceptableInput() && FromText(text(), address);
}

void CustomIpControl::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        Q_EMIT Signal_Clicked();
    QLineEdit::mousePressEvent(event);
}

void CustomIpControl::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontNormal);
    setStyleSheet(Theme::InputCss(QStringLiteral("QLineEdit")));
}
