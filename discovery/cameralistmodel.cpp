#include "discovery/cameralistmodel.h"

#include "camera/devicelib/descriptorhelpers.h"
#include "camera/passwordprotectionhandler.h"
#include "common/logmessagesender.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/producerlibrary.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMetaObject>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

using namespace cameralist;

namespace {

constexpr int kUpdateIntervalMs = 200;

void Erase(std::vector<std::shared_ptr<CameraListItem>>& list, const CameraListItem* item)
{
    list.erase(std::remove_if(list.begin(), list.end(), [item](const auto& p) { return p.get() == item; }), list.end());
}

void LogHandlerFailure(const char* what)
{
    LogMessageSender::Error(QStringLiteral("-"), QStringLiteral("CameraListModel (posted handler)"),
                            QString::fromUtf8(what));
}

// The identity of a camera on its interface: its serial number, or its device ID where the serial says nothing
// (two such cameras must not push each other out).
QString Identity(const QString& serial, const QString& id)
{
    if (serial.trimmed().isEmpty() || serial.trimmed().compare(QLatin1String("unknown"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("id:") + id;
    return QStringLiteral("serial:") + serial;
}

// The lock state through the password handler, which opens the camera read-only for a moment. Only a camera that
// we may open can be asked (a busy or open one keeps the state it had). Not on the GUI thread.
bool MayProbeLockState(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    return helper::GetDeviceAccessStatus(descriptor) == orna::core::DeviceAccessStatus::ReadWrite;
}

bool ReadLockState(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    PasswordProtectionHandler handler(descriptor);
    return handler.IsPasswordProtected();
}

int RowOf(const CameraListItem* parent, const CameraListItem* item)
{
    if (!parent)
        return -1;
    for (size_t i = 0; i < parent->children.size(); ++i)
        if (parent->children[i].get() == item)
            return static_cast<int>(i);
    return -1;
}

} // namespace

template <typename F> void CameraListModel::Post(const std::shared_ptr<Guard>& guard, F&& work)
{
    std::lock_guard<std::mutex> lock(guard->mutex);
    if (!guard->model)
        return;
    CameraListModel* model = guard->model;
    // A queued call to a destroyed receiver is dropped by Qt, so work never meets a dead model. An exception
    // must not leave a queued call (Qt would end the program): it is logged and the event dropped.
    QMetaObject::invokeMethod(
        model,
        [model, work = std::forward<F>(work)]() mutable {
            try
            {
                work(model);
            }
            catch (const std::exception& e)
            {
                LogHandlerFailure(e.what());
            }
            catch (...)
            {
                LogHandlerFailure("unknown exception");
            }
        },
        Qt::QueuedConnection);
}

CameraListModel::CameraListModel(QObject* parent)
    : QAbstractItemModel(parent), m_basicRoot(std::make_shared<CameraListRootItem>()),
      m_expertRoot(std::make_shared<CameraListRootItem>()), m_currentRoot(m_expertRoot)
{
    qRegisterMetaType<std::string>("std::string");
    qRegisterMetaType<std::shared_ptr<orna::core::DeviceDescriptor>>("std::shared_ptr<orna::core::DeviceDescriptor>");
    qRegisterMetaType<orna::core::DeviceReconnectInformation>("orna::core::DeviceReconnectInformation");
    m_guard->model = this;
    Init();
    connect(&m_updateTimer, &QTimer::timeout, this, &CameraListModel::RunUpdate);
    m_updateTimer.start(kUpdateIntervalMs);
}

CameraListModel::~CameraListModel()
{
    m_updateTimer.stop();
    {
        std::lock_guard<std::mutex> lock(m_guard->mutex);
        m_guard->model = nullptr;
    }
    {
        QMutexLocker lock(&m_updateMutex);
        m_stopping = true;
    }
    UnregisterAllDeviceChangedCallbacks();
    if (auto manager = m_manager.lock(); manager && m_deviceManagerHandles.size() == 7)
    {
        manager->UnregisterSystemFound(m_deviceManagerHandles[0]);
        manager->UnregisterInterfaceFound(m_deviceManagerHandles[1]);
        manager->UnregisterInterfaceLost(m_deviceManagerHandles[2]);
        manager->UnregisterDeviceFound(m_deviceManagerHandles[3]);
        manager->UnregisterDeviceLost(m_deviceManagerHandles[4]);
        manager->UnregisterDeviceDisconnected(m_deviceManagerHandles[5]);
        manager->UnregisterDeviceReconnected(m_deviceManagerHandles[6]);
    }
    // Waited for without the mutex: the job takes it once more when its pass ends.
    QFuture<void> job;
    {
        QMutexLocker lock(&m_updateMutex);
        job = m_updateFuture;
    }
    job.waitForFinished();
}

void CameraListModel::Init()
{
    std::shared_ptr<orna::DeviceManager> manager;
    try
    {
        manager = orna::DeviceManager::Instance();
    }
    catch (const std::exception&)
    {
        // No library: the tree stays empty.
        return;
    }
    m_manager = manager;
    Replay({manager->Systems(), manager->Interfaces(), manager->Devices()});
    {
        // Their lock state is read by the first job.
        std::lock_guard<std::mutex> lock(m_probes->mutex);
        for (const auto& device : manager->Devices())
            m_probes->found.push_back(device);
    }
    auto guard = m_guard;
    auto probes = m_probes;
    m_deviceManagerHandles = {
        manager->RegisterSystemFound([guard](std::shared_ptr<orna::core::System> system) {
            Post(guard, [system](CameraListModel* m) { m->OnSystemFound(system); });
        }),
        manager->RegisterInterfaceFound([guard](std::shared_ptr<orna::core::Interface> iface) {
            Post(guard, [iface](CameraListModel* m) { m->OnInterfaceFound(iface); });
        }),
        manager->RegisterInterfaceLost(
            [guard](std::string key) { Post(guard, [key](CameraListModel* m) { m->OnInterfaceLost(key); }); }),
        manager->RegisterDeviceFound([guard, probes](std::shared_ptr<orna::core::DeviceDescriptor> d) {
            // The lock state is read by the job after its pass: reading it here would hold back the rows of the
            // cameras found after this one.
            {
                std::lock_guard<std::mutex> lock(probes->mutex);
                probes->found.push_back(d);
            }
            Post(guard, [d](CameraListModel* m) { m->OnDeviceFound(d); });
        }),
        manager->RegisterDeviceLost(
            [guard](std::string key) { Post(guard, [key](CameraListModel* m) { m->OnDeviceLost(key, false); }); }),
        manager->RegisterDeviceDisconnected([guard](std::shared_ptr<orna::core::DeviceDescriptor> d) {
            Post(guard, [d](CameraListModel* m) { m->OnDeviceDisconnected(d); });
        }),
        manager->RegisterDeviceReconnected(
            [guard](std::shared_ptr<orna::core::DeviceDescriptor> d, orna::core::DeviceReconnectInformation info) {
                Post(guard, [d, info](CameraListModel* m) { m->OnDeviceReconnected(d, info); });
            }),
    };
}

// --- Qt model interface

CameraListItem* CameraListModel::ItemOf(const QModelIndex& index) const
{
    if (!index.isValid() || index.model() != this)
        return nullptr;
    auto it = m_items.find(static_cast<const CameraListItem*>(index.internalPointer()));
    return it == m_items.end() ? nullptr : it->second.get();
}

std::shared_ptr<CameraListItem> CameraListModel::ParentInView(const CameraListItem* item) const
{
    if (!item)
        return nullptr;
    if (m_basicView)
    {
        if (item->itemType == CameraListItem::Device)
            return static_cast<const CameraListDeviceItem*>(item)->group.lock();
        if (item->itemType == CameraListItem::Group)
            return m_basicRoot;
        return nullptr;
    }
    if (item->itemType == CameraListItem::Group || item->itemType == CameraListItem::Root)
        return nullptr;
    return item->parent.lock();
}

QModelIndex CameraListModel::IndexOf(const std::shared_ptr<CameraListItem>& item) const
{
    if (!item || item == m_currentRoot || !m_items.count(item.get()))
        return {};
    auto parentItem = ParentInView(item.get());
    if (!parentItem || (parentItem != m_currentRoot && !m_items.count(parentItem.get())))
        return {};
    const int row = RowOf(parentItem.get(), item.get());
    if (row < 0)
        return {};
    return createIndex(row, 0, item.get());
}

QModelIndex CameraListModel::index(int row, int column, const QModelIndex& parent) const
{
    if (column != 0 || row < 0 || (parent.isValid() && parent.column() != 0))
        return {};
    const CameraListItem* parentItem = parent.isValid() ? ItemOf(parent) : m_currentRoot.get();
    if (!parentItem || row >= parentItem->ChildCount())
        return {};
    return createIndex(row, 0, parentItem->Child(row).get());
}

QModelIndex CameraListModel::parent(const QModelIndex& index) const
{
    auto* item = ItemOf(index);
    if (!item)
        return {};
    auto parentItem = ParentInView(item);
    if (!parentItem || parentItem == m_currentRoot)
        return {};
    return IndexOf(parentItem);
}

int CameraListModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return m_currentRoot->ChildCount();
    if (parent.column() != 0)
        return 0;
    auto* item = ItemOf(parent);
    return item ? item->ChildCount() : 0;
}

int CameraListModel::columnCount(const QModelIndex& /*parent*/) const
{
    return 1;
}

QVariant CameraListModel::data(const QModelIndex& index, int role) const
{
    auto* item = ItemOf(index);
    if (!item)
        return {};
    return item->Data(index.column(), role);
}

QVariant CameraListModel::headerData(int section, Qt::Orientation /*orientation*/, int role) const
{
    if (section != 0 || role != Qt::DisplayRole)
        return {};
    return QStringLiteral("DisplayName");
}

// --- Maps

void CameraListModel::AddItem(const std::shared_ptr<CameraListItem>& item)
{
    m_items[item.get()] = item;
    m_itemsByKey[item->key] = item;
}

void CameraListModel::RemoveItem(const std::shared_ptr<CameraListItem>& item)
{
    m_items.erase(item.get());
    auto it = m_itemsByKey.find(item->key);
    if (it != m_itemsByKey.end() && it->second == item)
        m_itemsByKey.erase(it);
}

std::vector<std::shared_ptr<CameraListDeviceItem>> CameraListModel::DeviceItems() const
{
    std::vector<std::shared_ptr<CameraListDeviceItem>> devices;
    for (const auto& entry : m_items)
        if (entry.second->itemType == CameraListItem::Device)
            devices.push_back(std::static_pointer_cast<CameraListDeviceItem>(entry.second));
    return devices;
}

void CameraListModel::SetOpenableCount(int count)
{
    m_openableDeviceCount = count;
    emit OpenableDeviceCountChanged(count);
}

// --- Event handlers (GUI thread)

void CameraListModel::OnSystemFound(const std::shared_ptr<orna::core::System>& system)
{
    if (!system || m_itemsByKey.count(system->GetKey()))
        return;
    auto item = std::make_shared<CameraListSystemItem>(system);
    item->parent = m_expertRoot;
    const int row = m_expertRoot->ChildCount();
    if (!m_basicView)
        beginInsertRows(QModelIndex(), row, row);
    m_expertRoot->children.push_back(item);
    AddItem(item);
    if (!m_basicView)
        endInsertRows();
}

void CameraListModel::OnInterfaceFound(const std::shared_ptr<orna::core::Interface>& iface)
{
    if (!iface || m_itemsByKey.count(iface->GetKey()))
        return;
    std::shared_ptr<orna::core::System> system;
    try
    {
        system = iface->GetParentSystem();
    }
    catch (const std::exception&)
    {
        // The system went (a reset with this event still queued): nothing to hang the interface on.
        return;
    }
    if (!system)
        return;
    auto found = m_itemsByKey.find(system->GetKey());
    if (found == m_itemsByKey.end())
        return;
    auto systemItem = found->second;
    auto item = std::make_shared<CameraListInterfaceItem>(iface);
    item->parent = systemItem;
    const int row = systemItem->ChildCount();
    if (!m_basicView)
        beginInsertRows(IndexOf(systemItem), row, row);
    systemItem->children.push_back(item);
    AddItem(item);
    if (!m_basicView)
        endInsertRows();
}

void CameraListModel::OnInterfaceLost(const std::string& key)
{
    auto found = m_itemsByKey.find(key);
    if (found == m_itemsByKey.end() || found->second->itemType != CameraListItem::Interface)
        return;
    auto item = found->second;
    auto systemItem = item->parent.lock();
    const int row = RowOf(systemItem.get(), item.get());
    const bool announce = !m_basicView && row >= 0;
    if (announce)
        beginRemoveRows(IndexOf(systemItem), row, row);
    if (systemItem)
        Erase(systemItem->children, item.get());
    RemoveItem(item);
    if (announce)
        endRemoveRows();
}

void CameraListModel::OnDeviceFound(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    if (!descriptor)
        return;
    std::shared_ptr<orna::core::Interface> iface;
    try
    {
        iface = descriptor->GetParentInterface();
    }
    catch (const std::exception&)
    {
        // The interface went before this event was handled (lost in the same pass, or a reset): no row.
        return;
    }
    if (!iface)
        return;
    auto foundInterface = m_itemsByKey.find(iface->GetKey());
    if (foundInterface == m_itemsByKey.end() || foundInterface->second->itemType != CameraListItem::Interface)
        return;
    auto interfaceItem = foundInterface->second;

    if (m_hideSmartCameras)
    {
        static const QRegularExpression smartCameras(QStringLiteral("QTM|sol|vela"),
                                                     QRegularExpression::CaseInsensitiveOption);
        if (smartCameras.match(helper::GetModelName(descriptor)).hasMatch())
            return;
    }

    const std::string key = descriptor->GetKey();
    auto known = m_itemsByKey.find(key);
    if (known != m_itemsByKey.end() && known->second->itemType == CameraListItem::Device)
    {
        auto item = std::static_pointer_cast<CameraListDeviceItem>(known->second);
        const bool wasOpenable = item->openable;
        if (item->descriptor != descriptor)
        {
            UnregisterDeviceChangedCallback(key);
            item->descriptor = descriptor;
            item->locked = KnownLockState(descriptor);
            RegisterDeviceChangedCallback(item);
        }
        // A camera whose card went down and up comes back under the new interface item.
        auto oldInterface = item->parent.lock();
        if (oldInterface != interfaceItem)
        {
            const int oldRow = RowOf(oldInterface.get(), item.get());
            const bool announceRemoval = !m_basicView && oldRow >= 0 && IndexOf(oldInterface).isValid();
            if (announceRemoval)
                beginRemoveRows(IndexOf(oldInterface), oldRow, oldRow);
            if (oldInterface)
                Erase(oldInterface->children, item.get());
            if (announceRemoval)
                endRemoveRows();
            const QModelIndex newParent = IndexOf(interfaceItem);
            const int newRow = interfaceItem->ChildCount();
            const bool announceInsertion = !m_basicView && newParent.isValid();
            if (announceInsertion)
                beginInsertRows(newParent, newRow, newRow);
            interfaceItem->children.push_back(item);
            item->parent = interfaceItem;
            if (announceInsertion)
                endInsertRows();
        }
        item->lostWhileOpen = false;
        item->SetConnected(true);
        item->Update();
        const QModelIndex idx = IndexOf(item);
        if (idx.isValid())
            emit dataChanged(idx, idx, {});
        if (wasOpenable != item->openable)
            SetOpenableCount(m_openableDeviceCount + (item->openable ? 1 : -1));
        return;
    }

    // The same camera under a new key (for instance a new address) on the same interface: the serial number is
    // its identity, and the old row goes. Without a usable serial the device ID is the identity.
    const QString identity = Identity(helper::GetSerialNumber(descriptor), helper::GetID(descriptor));
    for (const auto& other : DeviceItems())
        if (other->parent.lock() == interfaceItem && Identity(other->serial, other->id) == identity &&
            other->key != key)
            OnDeviceLost(other->key, true);

    auto systemItem = std::dynamic_pointer_cast<CameraListSystemItem>(interfaceItem->parent.lock());
    const TlType type = systemItem ? systemItem->tlTypeId : TlType::Other;
    std::shared_ptr<CameraListItem> group;
    auto foundGroup = m_itemsByKey.find(TlTypeName(type).toStdString());
    if (foundGroup != m_itemsByKey.end() && foundGroup->second->itemType == CameraListItem::Group)
    {
        group = foundGroup->second;
    }
    else
    {
        group = std::make_shared<CameraListGroupItem>(type);
        group->parent = m_basicRoot;
        const int row = m_basicRoot->ChildCount();
        if (m_basicView)
            beginInsertRows(QModelIndex(), row, row);
        m_basicRoot->children.push_back(group);
        AddItem(group);
        if (m_basicView)
            endInsertRows();
    }

    const auto& rowParent = m_basicView ? group : interfaceItem;
    const QModelIndex parentIndex = IndexOf(rowParent);
    const int row = rowParent->ChildCount();
    const bool announce = parentIndex.isValid();
    if (announce)
        beginInsertRows(parentIndex, row, row);
    auto item = std::make_shared<CameraListDeviceItem>(descriptor, interfaceItem);
    item->locked = KnownLockState(descriptor);
    item->UpdateIcon();
    item->group = group;
    interfaceItem->children.push_back(item);
    group->children.push_back(item);
    AddItem(item);
    if (announce)
        endInsertRows();

    RegisterDeviceChangedCallback(item);
    if (item->openable)
        SetOpenableCount(m_openableDeviceCount + 1);
    emit CameraFound(descriptor);
}

void CameraListModel::OnDeviceLost(const std::string& key, bool force)
{
    auto found = m_itemsByKey.find(key);
    if (found == m_itemsByKey.end() || found->second->itemType != CameraListItem::Device)
        return;
    auto item = std::static_pointer_cast<CameraListDeviceItem>(found->second);
    if (item->openable)
    {
        item->openable = false;
        SetOpenableCount(m_openableDeviceCount - 1);
    }

    auto systemItem = item->SystemItem();
    const bool reconnectSupported = systemItem && systemItem->reconnectSupported;
    if (!reconnectSupported && !force && item->IsOpen())
    {
        // Without reconnection in the transport, an open camera keeps its row until it is closed (OnDeviceChanged
        // ends it then) or comes back.
        item->lostWhileOpen = true;
        item->SetConnected(false);
        emit CameraLost(key);
        const QModelIndex idx = IndexOf(item);
        if (idx.isValid())
            emit dataChanged(idx, idx, {Qt::DecorationRole, Qt::ForegroundRole, AccessStatusRole});
        return;
    }

    UnregisterDeviceChangedCallback(key);
    emit CameraLost(key);
    auto group = item->group.lock();
    auto interfaceItem = item->parent.lock();
    const auto& rowParent = m_basicView ? group : interfaceItem;
    const QModelIndex parentIndex = IndexOf(rowParent);
    const int row = RowOf(rowParent.get(), item.get());
    // In the expert view a device whose interface went first has no row left to remove.
    const bool announce = row >= 0 && parentIndex.isValid();
    if (announce)
        beginRemoveRows(parentIndex, row, row);
    if (group)
        Erase(group->children, item.get());
    if (interfaceItem)
        Erase(interfaceItem->children, item.get());
    RemoveItem(item);
    if (announce)
        endRemoveRows();

    if (group && group->children.empty())
    {
        const int groupRow = RowOf(m_basicRoot.get(), group.get());
        if (m_basicView && groupRow >= 0)
            beginRemoveRows(QModelIndex(), groupRow, groupRow);
        Erase(m_basicRoot->children, group.get());
        RemoveItem(group);
        if (m_basicView && groupRow >= 0)
            endRemoveRows();
    }
}

void CameraListModel::OnDeviceDisconnected(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    auto found = m_itemsByKey.find(descriptor->GetKey());
    if (found == m_itemsByKey.end() || found->second->itemType != CameraListItem::Device)
        return;
    auto item = std::static_pointer_cast<CameraListDeviceItem>(found->second);
    item->SetConnected(false);
    const QModelIndex idx = IndexOf(item);
    if (idx.isValid())
        emit dataChanged(idx, idx, {});
    emit CameraDisconnected(descriptor);
}

void CameraListModel::OnDeviceReconnected(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor,
                                          const orna::core::DeviceReconnectInformation& info)
{
    auto found = m_itemsByKey.find(descriptor->GetKey());
    if (found == m_itemsByKey.end() || found->second->itemType != CameraListItem::Device)
        return;
    auto item = std::static_pointer_cast<CameraListDeviceItem>(found->second);
    const bool wasOpenable = item->openable;
    item->SetConnected(true);
    item->Update();
    const QModelIndex idx = IndexOf(item);
    if (idx.isValid())
        emit dataChanged(idx, idx, {});
    if (wasOpenable != item->openable)
        SetOpenableCount(m_openableDeviceCount + (item->openable ? 1 : -1));
    emit CameraReconnected(descriptor, info);
}

void CameraListModel::RegisterDeviceChangedCallback(const std::shared_ptr<CameraListDeviceItem>& item)
{
    auto guard = m_guard;
    std::weak_ptr<CameraListDeviceItem> weakItem = item;
    const auto handle = item->descriptor->RegisterInformationChangedCallback(
        [guard, weakItem](const std::shared_ptr<orna::core::DeviceDescriptor>&) {
            Post(guard, [weakItem](CameraListModel* m) {
                if (auto it = weakItem.lock())
                    m->OnDeviceChanged(it);
            });
        });
    m_deviceChangedHandles[item->key] = {item->descriptor, handle};
}

void CameraListModel::OnDeviceChanged(const std::shared_ptr<CameraListDeviceItem>& item)
{
    if (!m_items.count(item.get()) || m_lockProbing.count(item->key))
        return;
    if (!item->connected)
    {
        // Ours to settle: a row kept for an open camera that was unplugged ends when that camera is closed.
        const int status = static_cast<int>(helper::GetDeviceAccessStatus(item->descriptor));
        if (item->lostWhileOpen && status != 5 && status != 6)
            OnDeviceLost(item->key, true);
        return;
    }
    const bool wasOpenable = item->openable;
    item->Update();
    const QModelIndex idx = IndexOf(item);
    if (idx.isValid())
        emit dataChanged(idx, idx, {});
    if (wasOpenable != item->openable)
        SetOpenableCount(m_openableDeviceCount + (item->openable ? 1 : -1));
}

void CameraListModel::UnregisterDeviceChangedCallback(const std::string& key)
{
    auto it = m_deviceChangedHandles.find(key);
    if (it == m_deviceChangedHandles.end())
        return;
    if (auto descriptor = it->second.descriptor.lock())
        descriptor->UnregisterInformationChangedCallback(it->second.handle);
    m_deviceChangedHandles.erase(it);
}

void CameraListModel::UnregisterAllDeviceChangedCallbacks()
{
    for (const auto& entry : m_deviceChangedHandles)
        if (auto descriptor = entry.second.descriptor.lock())
            descriptor->UnregisterInformationChangedCallback(entry.second.handle);
    m_deviceChangedHandles.clear();
}

// --- Update job

bool CameraListModel::IsUpdateRunning() const
{
    QMutexLocker lock(&m_updateMutex);
    return m_jobActive;
}

bool CameraListModel::UpdateAndWait(int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    // A pass lists the cameras and reads the lock state of those it found; a camera announced after that read
    // (by a callback of the library) asks for one more.
    for (int pass = 0; pass < 4; ++pass)
    {
        // A running job is waited for and counts as the pass.
        RunUpdate();
        // Polled, not waitForFinished(): that could run a job not yet started on this thread.
        while (IsUpdateRunning())
        {
            if (clock.elapsed() > timeoutMs)
                return false;
            QThread::msleep(5);
        }
        // The pass's events were posted to this thread in order; they are applied here, before anything else.
        QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
        bool probesLeft = false;
        {
            std::lock_guard<std::mutex> lock(m_probes->mutex);
            probesLeft = !m_probes->found.empty();
        }
        if (!probesLeft)
            return true;
    }
    return false;
}

void CameraListModel::RunUpdate()
{
    QMutexLocker lock(&m_updateMutex);
    // A pass slower than the timer swallows ticks instead of queueing them.
    if (m_jobActive || m_stopping)
        return;
    m_jobActive = true;
    m_updateFuture = QtConcurrent::run([this] { RunJob(); });
}

void CameraListModel::RequestReset(PendingReset request)
{
    {
        QMutexLocker lock(&m_updateMutex);
        if (static_cast<int>(request) > static_cast<int>(m_pendingReset))
            m_pendingReset = request;
    }
    // Starts a job now when none runs; a running one takes the request when its pass ends.
    RunUpdate();
}

void CameraListModel::RunJob()
{
    for (;;)
    {
        PendingReset request;
        {
            QMutexLocker lock(&m_updateMutex);
            request = m_pendingReset;
            m_pendingReset = PendingReset::None;
        }
        RunPass(request);
        QMutexLocker lock(&m_updateMutex);
        // Checked and cleared under the mutex that RequestReset takes, so a request is never left behind.
        if (m_stopping || m_pendingReset == PendingReset::None)
        {
            m_jobActive = false;
            return;
        }
    }
}

void CameraListModel::RunPass(PendingReset request)
{
    auto guard = m_guard;
    bool resetPosted = false;
    try
    {
        auto manager = orna::DeviceManager::Instance();
        if (request != PendingReset::None)
        {
            if (request == PendingReset::ResetManager)
                manager->Reset(true);
            // The lists as they stand between two passes; every event before this post belongs to the old tree.
            Snapshot snapshot{manager->Systems(), manager->Interfaces(), manager->Devices()};
            Post(guard, [snapshot](CameraListModel* m) {
                m->ResetTree();
                m->Replay(snapshot);
            });
            resetPosted = true;
        }
        if (manager->Systems().empty())
        {
            orna::core::EnvironmentInspector::UpdateCTIPaths();
            const size_t count = orna::core::EnvironmentInspector::GetNumCTIPaths();
            for (size_t i = 0; i < count; ++i)
            {
                const std::string path = orna::core::EnvironmentInspector::GetCTIPath(i);
                orna::core::ProducerLibrary::Construct(path);
                manager->AddProducerLibrary(path);
            }
        }
        manager->Update(orna::DeviceManager::UpdatePolicy::NoScan, {});
        m_lastJobError.clear();
    }
    catch (const std::exception& e)
    {
        if (request != PendingReset::None && !resetPosted)
        {
            // Without a manager there is nothing to reset; the tree is emptied all the same.
            Post(guard, [](CameraListModel* m) { m->ResetTree(); });
        }
        if (m_lastJobError != e.what())
        {
            m_lastJobError = e.what();
            LogMessageSender::Error(QStringLiteral("-"), QStringLiteral("void CameraListModel::RunUpdate()"),
                                    QString::fromStdString(m_lastJobError));
        }
    }
    ProbeLockStates();
    Post(guard, [](CameraListModel* m) { emit m->UpdateFinished(); });
}

void CameraListModel::ProbeLockStates()
{
    std::vector<std::weak_ptr<orna::core::DeviceDescriptor>> found;
    {
        std::lock_guard<std::mutex> lock(m_probes->mutex);
        found.swap(m_probes->found);
    }
    for (const auto& weak : found)
    {
        {
            QMutexLocker lock(&m_updateMutex);
            if (m_stopping)
                return; // the model goes: nobody would see the answer
        }
        auto descriptor = weak.lock();
        if (!descriptor)
            continue;
        if (!MayProbeLockState(descriptor))
            continue;
        // Posted in order around the probe, so the changes its open and close post fall between the two.
        const std::string key = descriptor->GetKey();
        Post(m_guard, [key](CameraListModel* m) { m->m_lockProbing.insert(key); });
        const bool locked = ReadLockState(descriptor);
        Post(m_guard, [descriptor, locked](CameraListModel* m) {
            m->OnLockState(descriptor, locked);
            m->OnLockProbeEnded(descriptor);
        });
    }
}

bool CameraListModel::KnownLockState(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor) const
{
    auto it = m_lockStates.find(descriptor->GetKey());
    return it != m_lockStates.end() && it->second.descriptor.lock() == descriptor && it->second.locked;
}

void CameraListModel::OnLockState(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor, bool locked)
{
    const std::string key = descriptor->GetKey();
    m_lockStates[key] = {descriptor, locked};
    // Entries of descriptors that are gone are dropped here, so the map stays as small as the tree.
    for (auto it = m_lockStates.begin(); it != m_lockStates.end();)
        it = it->second.descriptor.expired() ? m_lockStates.erase(it) : std::next(it);
    auto found = m_itemsByKey.find(key);
    if (found == m_itemsByKey.end() || found->second->itemType != CameraListItem::Device)
        return;
    auto item = std::static_pointer_cast<CameraListDeviceItem>(found->second);
    if (item->descriptor != descriptor || item->locked == locked)
        return;
    item->locked = locked;
    item->UpdateIcon();
    const QModelIndex idx = IndexOf(item);
    if (idx.isValid())
        emit dataChanged(idx, idx, {Qt::DecorationRole});
}

void CameraListModel::OnLockProbeEnded(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    const std::string key = descriptor->GetKey();
    m_lockProbing.erase(key);
    auto found = m_itemsByKey.find(key);
    if (found != m_itemsByKey.end() && found->second->itemType == CameraListItem::Device)
        OnDeviceChanged(std::static_pointer_cast<CameraListDeviceItem>(found->second));
}

void CameraListModel::ResetAndRunUpdate()
{
    RequestReset(PendingReset::ResetManager);
}

void CameraListModel::Replay(const Snapshot& snapshot)
{
    for (const auto& system : snapshot.systems)
        OnSystemFound(system);
    for (const auto& iface : snapshot.interfaces)
        OnInterfaceFound(iface);
    for (const auto& device : snapshot.devices)
        OnDeviceFound(device);
}

void CameraListModel::ResetTree()
{
    beginResetModel();
    UnregisterAllDeviceChangedCallbacks();
    m_items.clear();
    m_itemsByKey.clear();
    m_basicRoot = std::make_shared<CameraListRootItem>();
    m_expertRoot = std::make_shared<CameraListRootItem>();
    m_currentRoot = m_basicView ? m_basicRoot : m_expertRoot;
    endResetModel();
    if (m_openableDeviceCount != 0)
        SetOpenableCount(0);
}

// --- Settings

void CameraListModel::SetBasicView(bool on)
{
    if (m_basicView == on)
        return;
    beginResetModel();
    m_basicView = on;
    m_currentRoot = on ? m_basicRoot : m_expertRoot;
    endResetModel();
}

void CameraListModel::SetAutoUpdate(bool on)
{
    if (on)
        m_updateTimer.start(kUpdateIntervalMs);
    else
        m_updateTimer.stop();
}

bool CameraListModel::IsAutoUpdate() const
{
    return m_updateTimer.isActive();
}

void CameraListModel::SetOnlyKernelTls(bool value)
{
    m_onlyKernelTls = value;
    RequestReset(PendingReset::ResetManager);
}

void CameraListModel::SetHideSmartCameras(bool value)
{
    // Ours to settle: the tree is reset and the manager's devices announced again under the new rule, instead of
    // an empty tree until the next refresh.
    m_hideSmartCameras = value;
    RequestReset(PendingReset::Reannounce);
}

// --- Queries

std::vector<CameraAction> CameraListModel::ActionsOf(const QModelIndex& index) const
{
    auto* item = ItemOf(index);
    if (!item || item->itemType != CameraListItem::Device)
        return {};
    return static_cast<CameraListDeviceItem*>(item)->actions;
}

std::shared_ptr<orna::core::DeviceDescriptor> CameraListModel::DescriptorOf(const QModelIndex& index) const
{
    auto* item = ItemOf(index);
    if (!item || item->itemType != CameraListItem::Device)
        return nullptr;
    return static_cast<CameraListDeviceItem*>(item)->descriptor;
}

std::shared_ptr<orna::core::System> CameraListModel::SystemOf(const QModelIndex& index) const
{
    auto* item = ItemOf(index);
    if (!item || item->itemType != CameraListItem::System)
        return nullptr;
    return static_cast<CameraListSystemItem*>(item)->system;
}

std::shared_ptr<orna::core::Interface> CameraListModel::InterfaceOf(const QModelIndex& index) const
{
    auto* item = ItemOf(index);
    if (!item || item->itemType != CameraListItem::Interface)
        return nullptr;
    return static_cast<CameraListInterfaceItem*>(item)->iface;
}

std::shared_ptr<orna::core::DeviceDescriptor> CameraListModel::FindDescriptor(const std::string& systemKey,
                                                                              const std::string& interfaceKey,
                                                                              const std::string& model,
                                                                              const std::string& serial) const
{
    for (const auto& item : DeviceItems())
    {
        auto iface = item->parent.lock();
        auto system = iface ? iface->parent.lock() : nullptr;
        if (!systemKey.empty() && (!system || system->key != systemKey))
            continue;
        if (!interfaceKey.empty() && (!iface || iface->key != interfaceKey))
            continue;
        if (item->model.toStdString() == model && item->serial.toStdString() == serial)
            return item->descriptor;
    }
    return nullptr;
}

bool CameraListModel::IsLocked(const QModelIndex& index) const
{
    const auto* device = dynamic_cast<const CameraListDeviceItem*>(ItemOf(index));
    return device != nullptr && device->locked;
}

bool CameraListModel::HasOpenDevice() const
{
    for (const auto& item : DeviceItems())
        if (item->IsOpen())
            return true;
    return false;
}

std::shared_ptr<orna::core::DeviceDescriptor> CameraListModel::FirstOpenableDevice() const
{
    for (const auto& item : DeviceItems())
        if (item->openable)
            return item->descriptor;
    return nullptr;
}

std::vector<std::shared_ptr<orna::core::DeviceDescriptor>> CameraListModel::Devices() const
{
    std::vector<std::shared_ptr<orna::core::DeviceDescriptor>> result;
    for (const auto& item : DeviceItems())
        result.push_back(item->descriptor);
    return result;
}
