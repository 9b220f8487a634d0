// The camera tree: one column, two trees over the same device items (a flat "Basic view" of producer groups
// and devices, and an "Expert view" of systems, interfaces and devices), fed by orna::DeviceManager's events.
//
// Threads:
//   - GUI thread: the view, every setter, RunUpdate (the 200 ms timer), and every change of items or rows.
//   - The update job (a QtConcurrent::run job on the global QThreadPool) runs DeviceManager::Update. The
//     manager raises its events on that thread; the handlers only post them to the GUI thread as queued calls,
//     in the order they came, so that the model never changes under the view and the GUI never waits for a
//     discovery pass (a GigE pass takes about a second).
//   - The device library's threads call the device-changed callbacks; they too only post to the GUI thread.
//   - The reset of the manager and of the tree (Refresh, "Use preferred GigE transport layer only", "Hide smart
//     cameras") never runs beside a pass: the GUI thread only records the request, and the job runs it between
//     two passes (the running one ends first). The tree reset is posted in order with the events, so every
//     event of the pass before it lands before it and every event after it belongs to the new tree.
//   - The lock state of a camera (PasswordProtectionHandler opens it for a moment) is read on the job after
//     its pass, once per new descriptor, so that the rows of a pass are not held back; the result is posted
//     like an event.
// Every posted handler catches what it raises: no exception leaves a queued call.
// Mutexes: m_updateMutex guards the test-and-start of the job (m_jobActive, m_updateFuture) and the pending
// reset request (m_pendingReset, m_stopping); m_guard->mutex guards the model pointer that library-thread
// callbacks post to, cleared by the destructor before anything else goes; m_probes->mutex guards the
// descriptors waiting for their lock state.
#pragma once

#include "discovery/cameralistitem.h"
#include "discovery/devicemanager.h"

#include "orna/core/device.h"
#include "orna/core/interface.h"
#include "orna/core/system.h"

#include <QAbstractItemModel>
#include <QFuture>
#include <QMutex>
#include <QTimer>

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

Q_DECLARE_METATYPE(std::string)
Q_DECLARE_METATYPE(std::shared_ptr<orna::core::DeviceDescriptor>)
Q_DECLARE_METATYPE(orna::core::DeviceReconnectInformation)

class CameraListModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    explicit CameraListModel(QObject* parent = nullptr);
    ~CameraListModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    void SetBasicView(bool on);
    bool IsBasicView() const { return m_basicView; }
    void SetAutoUpdate(bool on);
    bool IsAutoUpdate() const;
    void SetOnlyKernelTls(bool value);
    bool IsOnlyKernelTls() const { return m_onlyKernelTls; }
    void SetHideSmartCameras(bool value);

    std::vector<CameraAction> ActionsOf(const QModelIndex& index) const;
    std::shared_ptr<orna::core::DeviceDescriptor> DescriptorOf(const QModelIndex& index) const;
    // The system of a system row and the interface of an interface row; null for every other row.
    std::shared_ptr<orna::core::System> SystemOf(const QModelIndex& index) const;
    std::shared_ptr<orna::core::Interface> InterfaceOf(const QModelIndex& index) const;
    // Empty system or interface key: no filter. Model and serial must match.
    std::shared_ptr<orna::core::DeviceDescriptor> FindDescriptor(const std::string& systemKey,
                                                                 const std::string& interfaceKey,
                                                                 const std::string& model,
                                                                 const std::string& serial) const;
    bool HasOpenDevice() const;
    // The device of the index is locked by a password (its lock state as the last probe read it).
    bool IsLocked(const QModelIndex& index) const;
    std::shared_ptr<orna::core::DeviceDescriptor> FirstOpenableDevice() const;
    std::vector<std::shared_ptr<orna::core::DeviceDescriptor>> Devices() const;
    int OpenableDeviceCount() const { return m_openableDeviceCount; }
    // True while a discovery job runs.
    bool IsUpdateRunning() const;
    // GUI thread, for the start of the program only: blocks until the tree lists what discovery finds and the
    // lock state of every new camera has been read (the read holds the camera open for a moment, so a camera is
    // only free to open after it). Runs passes itself, applies their events at once, and gives up after
    // timeoutMs; false then, with the tree as far as it got.
    bool UpdateAndWait(int timeoutMs);

public slots:
    void RunUpdate();
    void ResetAndRunUpdate();

signals:
    // Emitted on the GUI thread after every event of the pass has been applied to the tree.
    void UpdateFinished();
    void OpenableDeviceCountChanged(int count);
    void CameraFound(std::shared_ptr<orna::core::DeviceDescriptor> deviceDescriptor);
    void CameraLost(std::string key);
    void CameraDisconnected(std::shared_ptr<orna::core::DeviceDescriptor> device);
    void CameraReconnected(std::shared_ptr<orna::core::DeviceDescriptor> device,
                           orna::core::DeviceReconnectInformation reconnectInfo);

private:
    struct Guard
    {
        std::mutex mutex;
        CameraListModel* model = nullptr;
    };
    // What the next job does before its pass. Ordered: a stronger request includes the weaker.
    enum class PendingReset
    {
        None = 0,
        Reannounce = 1,   // empty the tree and add what the manager lists
        ResetManager = 2, // Reset(true) on the manager first, then as Reannounce
    };
    // Descriptors whose lock state the job still has to read after its pass.
    struct Probes
    {
        std::mutex mutex;
        std::vector<std::weak_ptr<orna::core::DeviceDescriptor>> found;
    };
    struct Snapshot
    {
        std::vector<std::shared_ptr<orna::core::System>> systems;
        std::vector<std::shared_ptr<orna::core::Interface>> interfaces;
        std::vector<std::shared_ptr<orna::core::DeviceDescriptor>> devices;
    };

    void Init();
    void ResetTree();
    // GUI thread: the tree as the manager lists it (systems, interfaces, devices in this order).
    void Replay(const Snapshot& snapshot);
    void RequestReset(PendingReset request);
    // The job: passes until no reset request is left. Pool thread.
    void RunJob();
    void RunPass(PendingReset request);
    void ProbeLockStates();
    void OnLockState(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor, bool locked);
    void OnLockProbeEnded(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor);
    bool KnownLockState(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor) const;
    void OnSystemFound(const std::shared_ptr<orna::core::System>& system);
    void OnInterfaceFound(const std::shared_ptr<orna::core::Interface>& iface);
    void OnInterfaceLost(const std::string& key);
    void OnDeviceFound(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor);
    void OnDeviceLost(const std::string& key, bool force);
    void OnDeviceDisconnected(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor);
    void OnDeviceReconnected(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor,
                             const orna::core::DeviceReconnectInformation& info);
    void OnDeviceChanged(const std::shared_ptr<CameraListDeviceItem>& item);
    void RegisterDeviceChangedCallback(const std::shared_ptr<CameraListDeviceItem>& item);
    void UnregisterDeviceChangedCallback(const std::string& key);
    void UnregisterAllDeviceChangedCallbacks();
    void AddItem(const std::shared_ptr<CameraListItem>& item);
    void RemoveItem(const std::shared_ptr<CameraListItem>& item);
    void SetOpenableCount(int count);

    // Posts work to the GUI thread; dropped once the model is gone. Any thread.
    template <typename F> static void Post(const std::shared_ptr<Guard>& guard, F&& work);

    CameraListItem* ItemOf(const QModelIndex& index) const;
    std::shared_ptr<CameraListItem> ParentInView(const CameraListItem* item) const;
    QModelIndex IndexOf(const std::shared_ptr<CameraListItem>& item) const;
    std::vector<std::shared_ptr<CameraListDeviceItem>> DeviceItems() const;

    std::shared_ptr<CameraListRootItem> m_basicRoot;
    std::shared_ptr<CameraListRootItem> m_expertRoot;
    std::shared_ptr<CameraListRootItem> m_currentRoot;

    // The manager the seven handles belong to (Init's), which may be gone by the time the model is.
    std::weak_ptr<orna::DeviceManager> m_manager;
    std::vector<uint64_t> m_deviceManagerHandles;
    struct ChangedHandle
    {
        std::weak_ptr<orna::core::DeviceDescriptor> descriptor;
        uint64_t handle = 0;
    };
    std::map<std::string, ChangedHandle> m_deviceChangedHandles;

    QTimer m_updateTimer;
    mutable QMutex m_updateMutex;
    QFuture<void> m_updateFuture;
    bool m_jobActive = false;
    bool m_stopping = false;
    PendingReset m_pendingReset = PendingReset::None;
    std::shared_ptr<Guard> m_guard = std::make_shared<Guard>();
    std::shared_ptr<Probes> m_probes = std::make_shared<Probes>();
    // Lock states read by the job, by device key, for the descriptor they were read from. GUI thread.
    struct LockState
    {
        std::weak_ptr<orna::core::DeviceDescriptor> descriptor;
        bool locked = false;
    };
    std::map<std::string, LockState> m_lockStates;
    // Keys of cameras the lock probe holds open for a moment (GUI thread only): their "opened" and "closed"
    // changes are the probe's own and must not make the camera look taken (the open button would flicker).
    std::set<std::string> m_lockProbing;
    // Last error of the update job, so that a failing producer is logged once, not every tick. Job thread.
    std::string m_lastJobError;

    bool m_basicView = false;
    bool m_onlyKernelTls = false;
    bool m_hideSmartCameras = true;

    std::map<const CameraListItem*, std::shared_ptr<CameraListItem>> m_items;
    std::map<std::string, std::shared_ptr<CameraListItem>> m_itemsByKey;
    int m_openableDeviceCount = 0;
};
