#include "discovery/cameralistinfo.h"

#include "common/applicationglobals.h"
#include "discovery/cameralistitem.h"

#include <QModelIndex>

CameraListInfo::CameraListInfo(QWidget* parent) : QTextEdit(parent)
{
    setReadOnly(true);
    setLineWrapMode(QTextEdit::NoWrap);
    UpdateStyleSheet();
}

QVector<QPair<QString, QString>> CameraListInfo::Lines(const QModelIndex& index)
{
    using namespace cameralist;
    QVector<QPair<QString, QString>> lines;
    if (!index.isValid())
        return lines;
    const QString kind = index.data(ItemTypeRole).toString();
    auto add = [&lines, &index](const QString& label, int role) { lines.append({label, index.data(role).toString()}); };
    if (kind == CameraListItem::TypeText(CameraListItem::Device))
    {
        add(tr("Device ID"), IdRole);
        add(tr("Model"), ModelRole);
        add(tr("Name"), NameRole);
        add(tr("Serial number"), SerialRole);
        add(tr("User-defined name"), UserDefinedNameRole);
        add(tr("Vendor name"), VendorRole);
        add(tr("Version"), VersionRole);
        add(tr("TL Type"), TlTypeRole);
        add(tr("Access status"), AccessStatusRole);
        if (index.data(TlTypeRole).toString() == QLatin1String("GEV"))
        {
            add(tr("IP address"), IpAddressRole);
            add(tr("Subnet mask"), SubnetMaskRole);
            add(tr("MAC address"), MacAddressRole);
        }
    }
    else if (kind == CameraListItem::TypeText(CameraListItem::Interface))
    {
        add(tr("Interface ID"), IdRole);
        add(tr("Name"), NameRole);
        add(tr("TL Type"), TlTypeRole);
        if (index.data(TlTypeRole).toString() == QLatin1String("GEV"))
        {
            add(tr("IP address"), IpAddressRole);
            add(tr("Subnet mask"), SubnetMaskRole);
        }
    }
    else if (kind == CameraListItem::TypeText(CameraListItem::System))
    {
        add(tr("Transport layer ID"), IdRole);
        add(tr("Name"), NameRole);
        add(tr("Vendor name"), VendorRole);
        add(tr("Model"), ModelRole);
        add(tr("Version"), VersionRole);
        add(tr("TL Type"), TlTypeRole);
        add(tr("CTI full path"), CtiPathRole);
        add(tr("GenTL version"), GenTlVersionRole);
    }
    return lines;
}

void CameraListInfo::ShowItem(const QModelIndex& index)
{
    QString html = QStringLiteral("<table>");
    for (const auto& line : Lines(index))
        html += QStringLiteral("<tr><td>%1:&nbsp;&nbsp;</td><td>%2</td></tr>")
                    .arg(line.first.toHtmlEscaped(), line.second.toHtmlEscaped());
    html += QStringLiteral("</table>");
    setHtml(html);
}

void CameraListInfo::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setStyleSheet(QStringLiteral("QTextEdit { background-color: %1; color: %2; border: none; }")
                      .arg(G::colorBackground.name(), G::colorText.name()));
}
