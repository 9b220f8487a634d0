#pragma once
// The simulated GenICam camera: a register space with the behaviour of an SFNC camera behind it, its
// GenICam XML, and an acquisition thread that produces frames (with chunk data) into a host-provided sink.
//
// Threading:
// - ReadMemory/WriteMemory and all setters may be called from any thread. `mutex_` guards the register
//   space, the files, the user sets, the I2C devices and the acquisition state.
// - Frames are produced on the camera's acquisition thread. `sinkMutex_` guards the frame sink and is held
//   while the sink is called, so SetFrameSink(nullptr) returns only after the last delivery ended.
// - `callbackMutex_` guards the event sink and the connection callback and is held while they run. Events
//   run on the acquisition thread (exposure end) or on the thread that wrote the command (test event);
//   connection changes run on the caller of DisconnectNow or on the camera's service thread (scheduled
//   reconnects, DeviceReset). Callbacks must not call SetFrameSink/SetEventSink/SetConnectionCallback or
//   DisconnectNow of the same camera.
// - The service thread runs scheduled disconnects and reconnects; `serviceMutex_` guards its schedule.
// - `threadMutex_` serialises starting and joining the acquisition thread.
// Lock order: threadMutex_ before mutex_. sinkMutex_, callbackMutex_ and serviceMutex_ are never taken while
// mutex_ is held: the acquisition thread and the register writers release mutex_ before calling out.

#include "orna/core/sim/simscene.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace orna::core::sim {

struct FrameHeader
{
    uint64_t frameId = 0;
    uint64_t timestampNs = 0;
    uint32_t width = 0, height = 0;
    uint32_t pixelFormat = 0; // PFNC code
    size_t imageSize = 0;     // bytes of all images in the buffer
    size_t payloadSize = 0;   // image + chunk data
    bool incomplete = false;
    uint32_t imagesInBuffer = 1;
    bool hasChunks = false;
};

class FrameSink
{
public:
    virtual ~FrameSink() = default;
    // Called on the camera's acquisition thread. Returns memory of at least `size` bytes, or nullptr when
    // the host has no free buffer (the frame is counted as lost).
    virtual uint8_t* AcquireBuffer(size_t size, void** token) = 0;
    virtual void CommitBuffer(void* token, const FrameHeader& header) = 0;
};

struct SimEvent
{
    uint64_t eventId = 0;
    uint64_t timestampNs = 0;
    std::vector<uint8_t> data; // ExposureEnd: the frame id, 8 bytes little-endian
    std::string name;          // "ExposureEnd", "Test"
};

struct SimCameraConfig
{
    std::string model = "color"; // color, mono, locked, service, booterror, color12mp, slowlink, zipped
    std::string vendorName = "Lumivue";
    std::string modelName; // from the model when empty
    std::string familyName = "Lumivue Sim";
    std::string serialNumber = "LVS0000001";
    std::string firmwareVersion; // from the model when empty
    std::string deviceVersion = "1.0";
    std::string sensorName;
    uint32_t sensorWidth = 1920, sensorHeight = 1200;
    bool color = true;
    bool locked = false;            // lock register reads 1
    bool serviceFirmware = false;   // no data stream, reduced XML
    bool zippedXml = false;         // the first URL names a zip archive that holds the XML
    uint32_t bootStatus = 0;        // val::BootStatus
    double fullFrameRate = 60.0;    // sensor readout limit at full height, Hz
    uint64_t linkSpeed = 400000000; // bytes per second (USB3 Vision)
    // The transport the device names in DeviceTLType ("USB3Vision"); empty: no such node, as before.
    std::string tlType;
    int focusPeak = 612;
    // The scene's light per red, green, blue at power-up (SimImageSettings::light); SetSceneLight changes it.
    double sceneLight[3] = {1.0, 1.0, 1.0};
    std::chrono::milliseconds resetDuration{1500}; // DeviceReset: time until the camera is back

    // The configuration of a named model ("color", "mono", "locked", "service", "booterror", "color12mp",
    // "slowlink", "zipped"); false for an unknown name.
    static bool ForModel(const std::string& model, const std::string& serial, SimCameraConfig* out);
    static std::vector<std::string> ModelNames();
};

class SimCamera
{
public:
    explicit SimCamera(const SimCameraConfig& config);
    ~SimCamera();
    SimCamera(const SimCamera&) = delete;
    SimCamera& operator=(const SimCamera&) = delete;

    const SimCameraConfig& Config() const { return config_; }
    // GenICam XML (SFNC names) addressing this camera's register space.
    const std::string& GenICamXml() const { return xml_; }
    // The description file as the camera's memory holds it: the XML text, or for zippedXml a zip archive with
    // the text as its one entry.
    const std::string& GenICamFile() const { return xmlFile_; }
    // false = access error (unmapped, write-only, disconnected, an access across register ends).
    bool ReadMemory(uint64_t address, void* data, size_t size);
    // false = access error (read-only, locked by TLParamsLocked, out of range, disconnected).
    bool WriteMemory(uint64_t address, const void* data, size_t size);

    std::string VendorName() const;
    std::string ModelName() const;
    std::string SerialNumber() const;
    std::string UserDefinedName() const;
    std::string Version() const;
    bool IsLocked() const;
    bool HasDataStream() const { return !config_.serviceFirmware; }

    void SetFrameSink(FrameSink* sink);
    void SetEventSink(std::function<void(const SimEvent&)> sink);
    void SetConnectionCallback(std::function<void(bool connected)> callback);
    bool IsConnected() const;
    bool IsAcquiring() const;

    // Injectable faults.
    void InjectDropNextFrame();
    void InjectIncompleteNextFrame();
    // The next frame's leader announces twice the height of the image it carries (a leader and payload that
    // disagree): the buffer is shorter than its announced format needs.
    void InjectOverstatedHeightNextFrame();
    void DisconnectNow();
    // The link comes back after `delay`; the register state survives (a link loss, not a power cycle).
    void ReconnectAfter(std::chrono::milliseconds delay);
    void SetHeldByOtherProcess(bool held);
    bool IsHeldByOtherProcess() const;
    // Every read that touches the register at address fails (as an unmapped one would) while fail is set.
    void InjectReadFailure(uint64_t address, bool fail);
    // Every write that touches the register at address fails (as a refused one would) while fail is set.
    void InjectWriteFailure(uint64_t address, bool fail);
    // The command at address keeps reading "not done" for this long after each execution (a slow user set load);
    // its effect is there at once. 0 makes it self-clearing again.
    void SetCommandDuration(uint64_t address, std::chrono::milliseconds duration);
    // After each acquisition start the first frame waits this long (a stop ends the wait): a slow trigger or a
    // long exposure that holds a one-shot routine in its wait. Starts from ORNA_SIM_FRAME_HOLD_MS (0 when
    // unset).
    void SetFrameHold(std::chrono::milliseconds hold);
    // Drives the level of an input line (Line0, Line2, Line3 as inputs); edges can trigger frames.
    void SetLineInput(uint32_t line, bool level);
    // The scene's light per red, green, blue (1: reference); frames made after the call see it. For tests of
    // the host auto features: a darker scene, a colour cast.
    void SetSceneLight(double red, double green, double blue);

    // Counters for tests and diagnostics.
    uint64_t LostFrameCount() const;
    uint64_t DeliveredFrameCount() const;

private:
    enum class Kind
    {
        Raw,
        UInt,
        Float,
        Enum,
        Command
    };
    struct Reg
    {
        Kind kind = Kind::UInt;
        double min = 0, max = 4294967295.0; // inclusive, for UInt/Float/Enum
        uint32_t size = 4;
        bool readable = true, writable = true;
        bool persistent = false; // part of a user set
        bool sizeLocked = false; // rejected while TLParamsLocked is set
        std::vector<uint8_t> bytes;
    };
    enum class PostAction
    {
        None,
        StartThread,
        StopThread,
        ScheduleReset
    };
    struct Pending
    {
        std::vector<SimEvent> events;
        PostAction action = PostAction::None;
    };
    struct FrameJob;

    void BuildRegisters();
    Reg& AddReg(uint64_t address, Kind kind, uint32_t size, bool writable, bool persistent = false,
                bool sizeLocked = false);
    void AddUInt(uint64_t address, uint32_t value, uint32_t min, uint32_t max, bool persistent,
                 bool sizeLocked = false);
    void AddEnum(uint64_t address, uint32_t value, uint32_t count, bool persistent, bool sizeLocked = false);
    void AddFloat(uint64_t address, double value, double min, double max, bool persistent);
    void AddCommand(uint64_t address);
    void AddRO(uint64_t address, uint32_t size, uint64_t value);
    void AddStr(uint64_t address, const std::string& value, bool writable);
    void PowerUp(); // registers to power-on state: factory defaults, then the default user set

    Reg* Find(uint64_t address, size_t size, size_t* offset);
    uint32_t U32(uint64_t address) const;
    uint64_t U64(uint64_t address) const;
    double F64(uint64_t address) const;
    void SetU32(uint64_t address, uint32_t value);
    void SetU64(uint64_t address, uint64_t value);
    void SetF64(uint64_t address, double value);
    void SetStr(uint64_t address, const std::string& value);
    std::string Str(uint64_t address) const;

    bool Validate(uint64_t address, const Reg& reg, const std::vector<uint8_t>& bytes, bool dynamic) const;
    bool ApplyWrite(uint64_t address, Pending* pending);
    void RefreshForRead(uint64_t address);
    void UpdateDerived();
    uint64_t NowNs() const;
    uint64_t FramePeriodNs() const;
    size_t ImageSizeLocked() const;
    size_t ChunkBytesLocked() const;
    SimImageSettings ImageSettingsLocked() const;
    bool TLLocked() const;
    bool LineLevel(uint32_t line) const;

    bool FileOperation();
    bool CheckFirmwareImage(const std::string& image, std::string* version) const;
    bool I2COperation();
    std::string SerializeUserSet() const;
    bool LoadUserSet(const std::string& text);
    void SetGainAll(double db);
    void ApplyAuto(const double mean[3]);
    void FireEvent(uint32_t selector, uint64_t frameId, Pending* pending);
    void RunPending(Pending& pending);

    void StartAcquisitionThread();
    void StopAcquisitionThread();
    void AcquisitionLoop();
    void DeliverFrame(FrameJob& job);
    void ServiceLoop();
    void DoDisconnect();
    void DoReconnect(bool powerCycle);
    void NotifyConnection(bool connected);
    void TriggerEdge(uint32_t source);

    const SimCameraConfig config_;
    std::string xml_;
    std::string xmlFile_;

    mutable std::mutex mutex_;
    std::map<uint64_t, Reg> regs_;
    std::map<uint64_t, std::vector<uint8_t>> factory_;
    std::vector<std::string> files_;
    struct FileState
    {
        bool open = false;
        uint32_t mode = 0;
    };
    std::vector<FileState> fileStates_;
    std::vector<uint8_t> eeprom_;
    std::string pendingFirmware_;   // version of a checked image waiting for the next reset
    std::string installedFirmware_; // version installed by an update (non-volatile)
    bool connected_ = true;
    bool heldByOther_ = false;
    bool lineInput_[4] = {false, false, false, false};
    double sceneLight_[3] = {1.0, 1.0, 1.0}; // guarded by mutex_
    std::chrono::steady_clock::time_point epoch_;
    std::chrono::steady_clock::time_point poweredAt_;
    // Acquisition state.
    bool acquiring_ = false;
    bool stopRequested_ = false;
    bool exposureActive_ = false;
    uint32_t pendingFrameTriggers_ = 0;
    uint32_t pendingAcquisitionTriggers_ = 0;
    uint32_t triggerDividerCount_ = 0;
    uint64_t nextFrameId_ = 1;
    bool dropNext_ = false, incompleteNext_ = false, overstatedHeightNext_ = false;
    std::vector<uint64_t> failingReads_;
    std::vector<uint64_t> failingWrites_;
    std::map<uint64_t, std::chrono::milliseconds> commandDurations_;
    std::map<uint64_t, std::chrono::steady_clock::time_point> commandBusyUntil_;
    std::chrono::milliseconds frameHold_{0};
    std::atomic<uint64_t> lostFrames_{0}, deliveredFrames_{0};
    std::condition_variable acqCv_;
    std::thread acqThread_;
    std::mutex threadMutex_; // serialises starting/joining acqThread_ (never held with mutex_ while joining)

    std::mutex sinkMutex_;
    FrameSink* sink_ = nullptr;
    std::unique_ptr<SimFrameGenerator> generator_; // acquisition thread only

    std::mutex callbackMutex_;
    std::function<void(const SimEvent&)> eventSink_;
    std::function<void(bool)> connectionCallback_;

    std::mutex serviceMutex_;
    std::condition_variable serviceCv_;
    bool serviceStop_ = false;
    bool disconnectScheduled_ = false;
    std::chrono::steady_clock::time_point disconnectAt_;
    bool reconnectScheduled_ = false;
    bool reconnectPowerCycle_ = false;
    std::chrono::steady_clock::time_point reconnectAt_;
    std::thread serviceThread_;
};

// DeviceUserID survives camera objects of the same serial within the process (the flash of a real camera).
std::string StoredUserId(const std::string& serial);
void StoreUserId(const std::string& serial, const std::string& id);

} // namespace orna::core::sim
