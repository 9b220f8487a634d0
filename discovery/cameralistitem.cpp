#include "discovery/cameralistitem.h"

#include "camera/devicelib/descriptorhelpers.h"
#include "camera/devicelib/ipconfiguration.h"
#include "common/applicationglobals.h"
#include "orna/core/nodes.h"

#include <QFont>

namespace cameralist {

QString TlTypeName(TlType type)
{
    switch (type)
    {
    case TlType::GEV:
        return QStringLiteral("GEV");
    case TlType::U3V:
        return QStringLiteral("U3V");
    case TlType::rAvo:
        return QStringLiteral("rAvo");
    case TlType::Other:
        return QStringLiteral("Other");
    case TlType::Invalid:
        break;
    }
    return QStringLiteral("Invalid");
}

TlType TlTypeFromText(const QString& text)
{
    for (TlType type : {TlType::GEV, TlType::U3V, TlType::rAvo, TlType::Other, TlType::Invalid})
        if (TlTypeName(type) == text)
            return type;
    return TlType::Other;
}

QString AccessStatusText(int status, bool connected)
{
    static const char* const names[] = {"ReadWrite", "ReadOnly", "NoAccess", "Busy", "OpenReadWrite", "OpenReadOnly"};
    QString text = connected ? QString() : QStringLiteral("Disconnected: ");
    if (status >= 1 && status <= 6)
        text += QLatin1String(names[status - 1]);
    else if (status >= 1000)
        text += QStringLiteral("Custom");
    else
        text += QString::number(status);
    return text;
}

bool IsKernelTlName(const QString& systemName)
{
    return systemName.contains(QLatin1String("U3VK")) || systemName.contains(QLatin1String("GEVK")) ||
           systemName.contains(QLatin1String("rAvo"));
}

namespace {

QString Row(const QString& label, const QString& value)
{
    return QStringLiteral("<tr><td>%1</td><td>%2</td></tr>").arg(label.toHtmlEscaped(), value.toHtmlEscaped());
}

QString Table(const QString& heading, const QString& rows)
{
    return QStringLiteral("<b>%1</b><table>%2</table>").arg(heading.toHtmlEscaped(), rows);
}

QString Text(const std::string& s)
{
    return QString::fromStdString(s);
}

} // namespace
} // namespace cameralist

using namespace cameralist;

QString CameraListItem::TypeText(Type type)
{
    static const char* const texts[] = {"Root", "Group", "System", "Interface", "Device"};
    return QLatin1String(texts[static_cast<int>(type)]);
}

QVariant CameraListItem::Data(int column, int role) const
{
    if (column != 0)
        return {};
    switch (role)
    {
    case Qt::DisplayRole:
        return name;
    case Qt::DecorationRole:
        return icon.isNull() ? QVariant() : QVariant(icon);
    case Qt::ToolTipRole:
        return tooltip.isEmpty() ? QVariant() : QVariant(tooltip);
    case KeyRole:
        return QString::fromStdString(key);
    case NameRole:
        return name;
    case ItemTypeRole:
        return TypeText(itemType);
    default:
        return {};
    }
}

std::shared_ptr<CameraListItem> CameraListItem::Child(int row) const
{
    if (row < 0 || row >= static_cast<int>(children.size()))
        return nullptr;
    return children[static_cast<size_t>(row)];
}

int CameraListItem::IndexOfChild(const std::string& childKey) const
{
    for (size_t i = 0; i < children.size(); ++i)
        if (children[i]->key == childKey)
            return static_cast<int>(i);
    return -1;
}

// --- Group

CameraListGroupItem::CameraListGroupItem(TlType type)
{
    itemType = Group;
    tlTypeId = type;
    tlType = TlTypeName(type);
    key = tlType.toStdString();
    name = tlType + QStringLiteral(" Producer");
    UpdateTooltip();
}

void CameraListGroupItem::UpdateTooltip()
{
    tooltip = Table(tr("Producer group"), Row(tr("TL type"), tlType));
}

// --- System

CameraListSystemItem::CameraListSystemItem(std::shared_ptr<orna::core::System> s) : system(std::move(s))
{
    itemType = System;
    Update();
    SetUpReconnect();
}

void CameraListSystemItem::Update()
{
    try
    {
        key = system->GetKey();
        id = Text(system->GetID());
        name = Text(system->GetDisplayName());
        model = Text(system->GetModelName());
        vendor = Text(system->GetVendorName());
        version = Text(system->GetVersion());
        tlType = Text(system->GetTLType());
        ctiPath = Text(system->GetCTIFullPath());
        genTlVersion = QStringLiteral("%1.%2").arg(system->GetGenTLVersionMajor()).arg(system->GetGenTLVersionMinor());
    }
    catch (const std::exception&)
    {
        // A system that cannot describe itself keeps what it had; its row still shows.
    }
    tlTypeId = name.contains(QLatin1String("rAvo")) ? TlType::rAvo : TlTypeFromText(tlType);
    kernelTl = IsKernelTlName(name);
    UpdateIcon();
    UpdateTooltip();
}

void CameraListSystemItem::SetUpReconnect()
{
    using orna::core::nodes::BooleanNode;
    try
    {
        auto map = system->GetNodeMap(0);
        std::lock_guard<orna::core::NodeMap> lock(*map);
        if (map->GetHasNode("ReconnectEnable"))
        {
            reconnectSupported = true;
            auto node = map->FindNode<BooleanNode>("ReconnectEnable");
            const int access = node ? static_cast<int>(node->GetAccessStatus()) : 0;
            if (access == 2 || access == 4)
                node->SetValue(true);
        }
        bool restore = false;
        if (map->GetHasNode("ReconnectRemoteDeviceConfigurationRestoreEnable"))
        {
            auto node = map->FindNode<BooleanNode>("ReconnectRemoteDeviceConfigurationRestoreEnable");
            const int access = node ? static_cast<int>(node->GetAccessStatus()) : 0;
            if (access == 3 || access == 4)
                restore = node->GetValue();
        }
        if (map->GetHasNode("ReconnectRemoteDeviceAcquisitionRestartEnable"))
        {
            auto node = map->FindNode<BooleanNode>("ReconnectRemoteDeviceAcquisitionRestartEnable");
            const int access = node ? static_cast<int>(node->GetAccessStatus()) : 0;
            if (access == 2 || access == 4)
                node->SetValue(restore);
        }
    }
    catch (const std::exception&)
    {
        // A producer without a usable system map simply has no reconnection; reconnectSupported says so.
    }
}

QVariant CameraListSystemItem::Data(int column, int role) const
{
    if (column != 0)
        return {};
    switch (role)
    {
    case IdRole:
        return id;
    case VendorRole:
        return vendor;
    case ModelRole:
        return model;
    case VersionRole:
        return version;
    case TlTypeRole:
        return tlType;
    case CtiPathRole:
        return ctiPath;
    case GenTlVersionRole:
        return genTlVersion;
    default:
        return CameraListItem::Data(column, role);
    }
}

void CameraListSystemItem::UpdateIcon()
{
    icon = QIcon(ApplicationGlobals::Image16(QStringLiteral("nodes.png")));
}

void CameraListSystemItem::UpdateTooltip()
{
    tooltip = Table(tr("Transport layer"), Row(tr("Name"), name) + Row(tr("Vendor name"), vendor) +
                                               Row(tr("TL Type"), tlType) + Row(tr("CTI full path"), ctiPath) +
                                               Row(tr("GenTL version"), genTlVersion));
}

// --- Interface

CameraListInterfaceItem::CameraListInterfaceItem(std::shared_ptr<orna::core::Interface> i) : iface(std::move(i))
{
    itemType = Interface;
    Update();
}

void CameraListInterfaceItem::Update()
{
    try
    {
        key = iface->GetKey();
        id = Text(iface->GetID());
        name = Text(iface->GetDisplayName());
        tlType = Text(iface->GetTLType());
    }
    catch (const std::exception&)
    {
        // Keeps the previous texts.
    }
    tlTypeId = TlTypeFromText(tlType);
    if (tlType == QLatin1String("GEV"))
    {
        camera::ip::IpAddressAndSubnet address;
        if (camera::ip::GetInterfaceIpAndSubnetMask(iface, address))
        {
            ipAddress = camera::ip::AddressText(address.ipAddress);
            subnetMask = camera::ip::AddressText(address.subnetMask);
        }
        int64_t mac = 0;
        if (camera::ip::GetInterfaceMACAddress(iface, mac))
            macAddress = camera::ip::MacText(mac);
    }
    UpdateIcon();
    UpdateTooltip();
}

QVariant CameraListInterfaceItem::Data(int column, int role) const
{
    if (column != 0)
        return {};
    switch (role)
    {
    case IdRole:
        return id;
    case TlTypeRole:
        return tlType;
    case IpAddressRole:
        return ipAddress;
    case SubnetMaskRole:
        return subnetMask;
    case MacAddressRole:
        return macAddress;
    default:
        return CameraListItem::Data(column, role);
    }
}

void CameraListInterfaceItem::UpdateIcon()
{
    icon = QIcon(ApplicationGlobals::Image16(tlTypeId == TlType::U3V ? QStringLiteral("usb-horizontal.png")
                                                                     : QStringLiteral("ip.png")));
}

void CameraListInterfaceItem::UpdateTooltip()
{
    QString rows = Row(tr("Name"), name) + Row(tr("TL Type"), tlType) + Row(tr("Interface ID"), id);
    if (tlType == QLatin1String("GEV"))
        rows += Row(tr("IP address"), ipAddress) + Row(tr("Subnet mask"), subnetMask);
    tooltip = Table(tr("Interface"), rows);
}

// --- Device

CameraListDeviceItem::CameraListDeviceItem(std::shared_ptr<orna::core::DeviceDescriptor> d,
                                           const std::shared_ptr<CameraListItem>& parentInterface)
    : descriptor(std::move(d))
{
    itemType = Device;
    parent = parentInterface;
    key = descriptor->GetKey();
    Update();
}

std::shared_ptr<CameraListSystemItem> CameraListDeviceItem::SystemItem() const
{
    auto iface = parent.lock();
    if (!iface)
        return nullptr;
    return std::dynamic_pointer_cast<CameraListSystemItem>(iface->parent.lock());
}

bool CameraListDeviceItem::IsOpen() const
{
    return accessStatus == 5 || accessStatus == 6;
}

void CameraListDeviceItem::SetConnected(bool value)
{
    connected = value;
    UpdateIcon();
    UpdateTooltip();
}

void CameraListDeviceItem::Update()
{
    accessStatus = static_cast<int>(helper::GetDeviceAccessStatus(descriptor));
    try
    {
        openable = descriptor->GetIsOpenable(orna::core::DeviceAccessType::Control);
    }
    catch (const std::exception&)
    {
        openable = false;
    }
    id = helper::GetID(descriptor);
    model = helper::GetModelName(descriptor);
    name = helper::GetCameraName(descriptor);
    vendor = helper::GetVendorName(descriptor);
    version = helper::GetVersion(descriptor);
    serial = helper::GetSerialNumber(descriptor);
    tlType = helper::GetType(descriptor);
    m_producerName = helper::GetProducer(descriptor);
    if (auto system = SystemItem())
    {
        tlTypeId = system->tlTypeId;
        m_systemName = system->name;
    }
    else
    {
        tlTypeId = TlTypeFromText(tlType);
    }
    if (accessStatus == 3)
    {
        userDefinedName = QStringLiteral("?");
    }
    else
    {
        try
        {
            userDefinedName = QString::fromStdString(descriptor->GetUserDefinedName());
        }
        catch (const std::exception&)
        {
            userDefinedName = tr("(reading failed)");
        }
    }
    ipWarning = tlTypeId == TlType::GEV && descriptor->GetIsOutsideInterfaceSubnet();
    if (tlTypeId == TlType::GEV)
    {
        camera::ip::IpAddressAndSubnet address;
        if (camera::ip::GetDeviceIpAndSubnetMask(descriptor, address))
        {
            ipAddress = camera::ip::AddressText(address.ipAddress);
            subnetMask = camera::ip::AddressText(address.subnetMask);
        }
        int64_t mac = 0;
        if (camera::ip::GetDeviceMACAddress(descriptor, mac))
            macAddress = camera::ip::MacText(mac);
    }

    actions.clear();
    if (IsOpen())
        actions = {CameraAction::Close, CameraAction::SaveXml, CameraAction::SaveRemoteXml};
    else if (accessStatus == 1)
        actions = {CameraAction::Open, CameraAction::FirmwareUpdate, CameraAction::SaveXml,
                   CameraAction::SaveRemoteXml};
    if (tlTypeId == TlType::GEV)
        actions.push_back(CameraAction::IpConfiguration);
    if (IsKernelTlName(m_systemName))
        actions.push_back(CameraAction::KernelTransportLayer);
    UpdateIcon();
    UpdateTooltip();
}

QVariant CameraListDeviceItem::Data(int column, int role) const
{
    if (column != 0)
        return {};
    switch (role)
    {
    case Qt::DisplayRole:
        return model + QStringLiteral("    ") + serial + QStringLiteral("    ") + userDefinedName;
    case Qt::FontRole: {
        QFont font;
        font.setItalic(!openable);
        return font;
    }
    case Qt::ForegroundRole:
        return openable ? QVariant() : QVariant(ApplicationGlobals::colorGrey140);
    case IdRole:
        return id;
    case VendorRole:
        return vendor;
    case ModelRole:
        return model;
    case VersionRole:
        return version;
    case TlTypeRole:
        return tlType;
    case UserDefinedNameRole:
        return userDefinedName;
    case SerialRole:
        return serial;
    case AccessStatusRole:
        return AccessStatusText(accessStatus, connected);
    case IpAddressRole:
        return tlTypeId == TlType::GEV ? QVariant(ipAddress) : QVariant();
    case SubnetMaskRole:
        return tlTypeId == TlType::GEV ? QVariant(subnetMask) : QVariant();
    case MacAddressRole:
        return tlTypeId == TlType::GEV ? QVariant(macAddress) : QVariant();
    default:
        return CameraListItem::Data(column, role);
    }
}

void CameraListDeviceItem::UpdateIcon()
{
    QString file;
    if (!connected)
        file = QStringLiteral("warning.png");
    else if (IsOpen())
        file = QStringLiteral("opened.png");
    else if (model.contains(QLatin1String("service")))
        file = QStringLiteral("error.png");
    else if (tlTypeId == TlType::U3V)
        file = QStringLiteral("usb-horizontal.png");
    else if (tlTypeId == TlType::rAvo)
        file = QStringLiteral("camera.png");
    else if (ipWarning)
        file = QStringLiteral("exclamation-outline.png");
    else
        file = locked ? QStringLiteral("ip_locked.png") : QStringLiteral("ip.png");
    icon = QIcon(ApplicationGlobals::Image16(file));
}

void CameraListDeviceItem::UpdateTooltip()
{
    QString rows = Row(tr("Model"), model) + Row(tr("Serial number"), serial) +
                   Row(tr("User-defined name"), userDefinedName) + Row(tr("Producer name"), m_producerName) +
                   Row(tr("Access status"), AccessStatusText(accessStatus, connected)) + Row(tr("ID"), id);
    if (tlTypeId == TlType::GEV)
    {
        rows += Row(QString(), QString()) + Row(tr("IP"), ipAddress) + Row(tr("Subnet"), subnetMask) +
                Row(tr("MAC"), macAddress);
        if (ipWarning)
            rows += Row(tr("Network configuration"), tr("The IP address is outside the subnet of the network card."));
    }
    tooltip = Table(tr("Device"), rows);
}
