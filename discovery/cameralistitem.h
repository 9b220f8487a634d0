// The items of the camera tree: a root per view, producer groups (basic view), systems, interfaces (expert
// view) and devices (both views: one device item is a child of its interface and of its group at once; its
// `parent` is always the interface).
//
// Threads: GUI thread only. Items are created, re-read and destroyed by CameraListModel on the GUI thread; the
// device library is read from here only through short, thread-safe descriptor calls.
#pragma once

#include "orna/core/device.h"
#include "orna/core/interface.h"
#include "orna/core/system.h"

#include <QIcon>
#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>
#include <string>
#include <vector>

enum class TlType
{
    GEV = 0,
    U3V = 1,
    rAvo = 2,
    Other = 3,
    Invalid = 4,
};

enum class CameraAction
{
    SaveXml = 0,
    SaveRemoteXml = 1,
    Open = 2,
    Close = 3,
    IpConfiguration = 4,
    FirmwareUpdate = 5,
    KernelTransportLayer = 6,
};

namespace cameralist {

// User roles of CameraListModel; the standard display, decoration, tooltip, font and foreground roles as well.
enum Role
{
    KeyRole = 0x101,
    NameRole = 0x102,
    IdRole = 0x103,
    VendorRole = 0x104,
    ModelRole = 0x105,
    VersionRole = 0x106,
    TlTypeRole = 0x107,
    UserDefinedNameRole = 0x108,
    SerialRole = 0x109,
    ItemTypeRole = 0x10A,
    AccessStatusRole = 0x10B,
    IpAddressRole = 0x10C,
    SubnetMaskRole = 0x10D,
    MacAddressRole = 0x10E,
    CtiPathRole = 0x10F,
    GenTlVersionRole = 0x110,
};

QString TlTypeName(TlType type);
// The table value of a TL type text; unknown texts are Other.
TlType TlTypeFromText(const QString& text);
// "ReadWrite" .. "OpenReadOnly", "Custom" from 1000, else the number; "Disconnected: " first when not connected.
QString AccessStatusText(int status, bool connected);
// The producer names whose transport runs in the kernel.
bool IsKernelTlName(const QString& systemName);

} // namespace cameralist

class CameraListItem : public QObject
{
    Q_OBJECT
public:
    enum Type
    {
        Root = 0,
        Group = 1,
        System = 2,
        Interface = 3,
        Device = 4,
    };

    ~CameraListItem() override = default;

    virtual void Update() {}
    virtual QVariant Data(int column, int role) const;
    virtual int ChildCount() const { return static_cast<int>(children.size()); }
    virtual int ColumnCount() const { return 1; }
    virtual std::shared_ptr<CameraListItem> Child(int row) const;
    // Row of the child with that key, -1 when there is none.
    virtual int IndexOfChild(const std::string& childKey) const;
    virtual std::shared_ptr<CameraListItem> SharedFromThis() = 0;
    virtual std::vector<std::shared_ptr<CameraListItem>>& Children() { return children; }
    virtual void UpdateIcon() {}
    virtual void UpdateTooltip() {}

    static QString TypeText(Type type);

    std::vector<std::shared_ptr<CameraListItem>> children;
    std::weak_ptr<CameraListItem> parent;
    std::string key;
    QString id;
    QString model;
    QString name;
    QString vendor;
    QString tlType = QStringLiteral("None");
    QString version;
    TlType tlTypeId = TlType::Invalid;
    QString tooltip;
    QIcon icon;
    Type itemType = Root;
};

class CameraListRootItem : public CameraListItem, public std::enable_shared_from_this<CameraListRootItem>
{
    Q_OBJECT
public:
    CameraListRootItem() { itemType = Root; }
    std::shared_ptr<CameraListItem> SharedFromThis() override { return shared_from_this(); }
};

class CameraListGroupItem : public CameraListItem, public std::enable_shared_from_this<CameraListGroupItem>
{
    Q_OBJECT
public:
    explicit CameraListGroupItem(TlType type);
    std::shared_ptr<CameraListItem> SharedFromThis() override { return shared_from_this(); }
    void UpdateTooltip() override;
};

class CameraListSystemItem : public CameraListItem, public std::enable_shared_from_this<CameraListSystemItem>
{
    Q_OBJECT
public:
    // Reads the system and does the reconnect set-up on its node map.
    explicit CameraListSystemItem(std::shared_ptr<orna::core::System> system);
    std::shared_ptr<CameraListItem> SharedFromThis() override { return shared_from_this(); }
    void Update() override;
    QVariant Data(int column, int role) const override;
    void UpdateIcon() override;
    void UpdateTooltip() override;

    std::shared_ptr<orna::core::System> system;
    QString ctiPath;
    QString genTlVersion;
    bool reconnectSupported = false;
    bool kernelTl = false;

private:
    void SetUpReconnect();
};

class CameraListInterfaceItem : public CameraListItem, public std::enable_shared_from_this<CameraListInterfaceItem>
{
    Q_OBJECT
public:
    explicit CameraListInterfaceItem(std::shared_ptr<orna::core::Interface> iface);
    std::shared_ptr<CameraListItem> SharedFromThis() override { return shared_from_this(); }
    void Update() override;
    QVariant Data(int column, int role) const override;
    void UpdateIcon() override;
    void UpdateTooltip() override;

    std::shared_ptr<orna::core::Interface> iface;
    QString ipAddress;
    QString subnetMask;
    QString macAddress;
};

class CameraListDeviceItem : public CameraListItem, public std::enable_shared_from_this<CameraListDeviceItem>
{
    Q_OBJECT
public:
    // parentInterface becomes `parent`; the system's TL type and name come from its parent.
    CameraListDeviceItem(std::shared_ptr<orna::core::DeviceDescriptor> descriptor,
                         const std::shared_ptr<CameraListItem>& parentInterface);
    std::shared_ptr<CameraListItem> SharedFromThis() override { return shared_from_this(); }
    void Update() override;
    QVariant Data(int column, int role) const override;
    void UpdateIcon() override;
    void UpdateTooltip() override;

    void SetConnected(bool value);
    bool IsOpen() const;
    std::shared_ptr<CameraListSystemItem> SystemItem() const;

    std::shared_ptr<orna::core::DeviceDescriptor> descriptor;
    // The producer group the device is listed under in the basic view.
    std::weak_ptr<CameraListItem> group;
    int accessStatus = 0;
    bool openable = false;
    bool connected = true;
    // Set by the model from the lock state its update job read (never read on the GUI thread).
    bool locked = false;
    // Kept as disconnected because it was open when its camera went; ends when the camera is closed.
    bool lostWhileOpen = false;
    // GigE: the camera's address lies outside every network card's subnet (it needs a new address first).
    bool ipWarning = false;
    QString serial;
    QString userDefinedName;
    QString ipAddress;
    QString subnetMask;
    QString macAddress;
    std::vector<CameraAction> actions;

private:
    QString m_producerName;
    QString m_systemName;
};
