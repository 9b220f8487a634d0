// VisionCamera: the one object that stands for an open camera.
//
// It owns the device handles, the five node maps with their node tree models, the data stream and its
// buffers, the four worker threads with their workers, the host feature providers, the image buffer manager
// and the image converter. Everything else reaches the camera through it: panels hold a non-owning
// VisionCamera*, the workers call back through the getters below.
//
// Threads:
//   GUI thread      construction and destruction, InitNodemaps' binding of the node models, StartAcquisition,
//                   StopAcquisition, ExitCamera, SetPixelFormatSourceOverString, the device slots. Acquisition
//                   state has no lock because only this thread starts and stops it.
//   openThread      the open worker calls InitCamera, InitNodemaps, InitDataStream, the probes and
//                   UpdatePixelFormatSource while the GUI thread leaves the camera alone (it waits for a result
//                   signal).
//   captureThread   the capture worker reads the getters (set once in the constructor, no lock), the pixel
//                   formats, the counters and waitTimeout, runs QueryImageGeometry/CreateImageBuffer once per
//                   acquisition for a multi-image buffer, and writes the counters, hasImage and imagesPerBuffer
//                   (atomics).
//   any thread      the typed node access family (GetIntegerValue ... GetTotalGain): each node call is
//                   serialised by the node map's own mutex; nothing here raises.
// Mutexes:
//   nodeMapMutex    guards the trigger mode cache. Never held across a device call that could wait for another
//                   thread.
//   conversionTableMutex  guards the destination tables (destinationTables): held for each look-up and for the
//                   whole of BuildConversionTables. Nothing is called with it held but the tables' own code and
//                   the providers' format mappings.
//   destinationMutex  guards pixelFormatDestinationName and imageSizeDestination, each read and written whole;
//                   nothing is called with it held.
#pragma once

#include "camera/cameratypes.h"
#include "camera/pixelformattable.h"
#include "orna/core/interface.h"

#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class QWidget;
class VisionCameraOpenWorker;
class VisionImageCaptureWorker;
class VisionEventWorker;
class NodePollingWorker;
class NodeMapAccess;
class NodeMapModel;
class NodeMapFilterModel;
class HistogramCalculator;
class ImageBufferManager;
class IplGainFeatureProvider;
class IplEdgeEnhancementFeatureProvider;
class IplDecimationFeatureProvider;
class IplBinningFeatureProvider;
class IplColorCorrectionFeatureProvider;
class IplSaturationFeatureProvider;
class IplSharpnessFeatureProvider;
class IflFeatureProvider;
class AflManager;
class IplHotpixelFeatureProvider;
class IplGammaFeatureProvider;
class IplTransformationFeatureProvider;
class VideoFeatureProvider;

namespace orna::ipl {
class Gain;
}
namespace orna::core {
class Buffer;
class DataStream;
class Device;
class DeviceDescriptor;
class NodeMap;
class Port;
namespace nodes {
class Node;
}
} // namespace orna::core

namespace orna::ipl {
class ImageConverter;
}

// One worker thread of a camera. The QThread is held by pointer so that a thread that does not stop within the
// stop rule can outlive the camera (a running QThread must never be destroyed); the forwards keep the use of a
// plain QThread member. Null after the camera retired it. Same threads as VisionCamera.
class CameraThread
{
public:
    QThread* get() const { return thread; }
    QThread* operator->() const { return thread; }
    operator QThread*() const { return thread; }
    bool isRunning() const { return thread && thread->isRunning(); }
    void start(QThread::Priority priority = QThread::InheritPriority)
    {
        if (thread)
            thread->start(priority);
    }

private:
    friend class VisionCamera;
    QThread* thread = nullptr;
};

class VisionCamera : public QObject
{
    Q_OBJECT

    // The workers are parts of the camera: they read and write its state directly.
    friend class VisionCameraOpenWorker;
    friend class VisionImageCaptureWorker;
    friend class VisionEventWorker;
    friend class NodePollingWorker;

public:
    // parentWindow: the camera window, also the QObject parent (the main window finds the camera among the
    // window's children); mainWindow: receives the open worker's result signals (may be null).
    // With openAsync the open runs on openThread; otherwise the constructor returns after the open.
    VisionCamera(QWidget* parentWindow, QWidget* mainWindow,
                 const std::shared_ptr<orna::core::DeviceDescriptor>& deviceDescriptor, bool startAcquisitionOnOpen,
                 bool applyOptimalSettingsOnOpen, bool openAsync);
    ~VisionCamera() override;

    VisionCamera(const VisionCamera&) = delete;
    VisionCamera& operator=(const VisionCamera&) = delete;

    // ---- Lifecycle
    // Opens the device. `cancelled` (open thread) ends the wait for the camera list's lock probe early, so a
    // close during an open does not wait that wait out.
    bool InitCamera(const std::function<bool()>& cancelled = {});
    bool InitNodemaps();
    bool InitAdditionalInfos();
    bool InitDataStream();
    bool InitSensorClockFrequency();
    void CheckDeviceBootStatus();
    QString GetDeviceBootStatusDescription();
    bool CheckColorCamera();
    // Reads PixelFormat, sets source and intermediate, tells the providers, rebuilds the tables and fixes the
    // destination. False (and "The camera pixel format is invalid. ..." in the log) for a format in no table.
    bool UpdatePixelFormatSource();
    // Rebuilds the tables; a raw destination of a raw source takes the order the transformation gives.
    void AdaptDestinationToTransformation();
    bool AllocBuffers();
    void CreateImageBuffer();
    void ExitCamera();
    bool StartAcquisition();
    bool StopAcquisition();
    bool ResetDevice();
    void SaveAndResetTriggerModes();
    void RestoreSavedTriggerModes();
    // Runs the single frame routine of the capture worker as the one-shot task, unless one still runs.
    // False when refused: a one-shot task still runs, or the camera has no capture worker or is closing.
    bool AcquireSingleFrame();

    // The thread stop rule: quit(), then up to 100 polls of isRunning 10 ms apart. False when the thread still
    // runs after that; it is never terminated.
    static bool StopThread(QThread* thread);

    // Reads "OffsetX", "OffsetY", "Width", "Height"; the height is multiplied by imagesPerBuffer when that is
    // neither 1 nor -1, and an active binning or decimation provider maps the size. False when a read fails.
    bool QueryImageGeometry();
    int64_t GetImageOffsetX() const { return imageOffsetX.load(); }
    int64_t GetImageOffsetY() const { return imageOffsetY.load(); }
    int64_t GetImageWidth() const { return imageWidth.load(); }
    int64_t GetImageHeight() const { return imageHeight.load(); }

    // ---- Typed node access (remote device node map unless said otherwise). Never raise; absent nodes give
    // false without a log line, failing accesses log once.
    bool GetIntegerValue(const std::string& name, ReadValueType type, int64_t& value) const;
    bool GetDoubleValue(const std::string& name, ReadValueType type, double& value, double defaultIncrement);
    bool GetBoolValue(const std::string& name, bool& value);
    bool GetEnumerationEntry(const std::string& name, std::string& entry) const;
    bool GetStringValue(const std::string& name, std::string& value) const;
    bool SetIntegerValue(const std::string& name, int64_t value);
    bool SetDoubleValue(const std::string& name, double value);
    bool SetBoolValue(const std::string& name, bool value);
    bool SetEnumerationEntry(const std::string& name, const std::string& entry);
    bool SetStringValue(const std::string& name, const std::string& value);
    bool ExecuteCommand(const std::string& name);
    // Executes and waits up to timeoutMs until the command is done.
    bool ExecuteCommandAndWait(const std::string& name, uint64_t timeoutMs);
    bool HasEnumerationEntry(const std::string& name, const std::string& entry);
    bool HasNode(const std::string& name) const;
    bool IsNodeAccessable(std::shared_ptr<orna::core::nodes::Node> node) const;
    bool IsNodeWritable(std::shared_ptr<orna::core::nodes::Node> node);
    bool GetSelectedBoolValue(const std::string& name, bool& value, const std::string& selector,
                              const std::string& selectorEntry, bool restoreSelector);
    bool SetSelectedBoolValue(const std::string& name, bool value, const std::string& selector,
                              const std::string& selectorEntry, bool restoreSelector);
    bool GetSelectedEnumerationEntry(const std::string& name, std::string& entry, const std::string& selector,
                                     const std::string& selectorEntry, bool restoreSelector);
    bool SetSelectedEnumerationEntry(const std::string& name, std::string entry, const std::string& selector,
                                     const std::string& selectorEntry, bool restoreSelector);
    // Pairs of node name and entry, all under one selector entry. The Get form fills the second of each pair.
    bool GetSelectedEnumerationEntries(std::vector<std::pair<std::string, std::string>>& entries,
                                       const std::string& selector, const std::string& selectorEntry,
                                       bool restoreSelector);
    bool SetSelectedEnumerationEntries(const std::vector<std::pair<std::string, std::string>>& entries,
                                       const std::string& selector, const std::string& selectorEntry,
                                       bool restoreSelector);
    // True when every node exists under the selector entry and offers its entry.
    bool HasSelectedEnumerationEntries(const std::vector<std::pair<std::string, std::string>>& entries,
                                       const std::string& selector, const std::string& selectorEntry,
                                       bool restoreSelector);
    bool GetSelectedFloatValues(std::vector<std::pair<std::string, double>>& values, ReadValueType type,
                                const std::string& selector, const std::string& selectorEntry, bool restoreSelector,
                                double defaultIncrement);
    bool SetSelectedFloatValues(const std::vector<std::pair<std::string, double>>& values, const std::string& selector,
                                const std::string& selectorEntry, bool restoreSelector);
    bool IsSelectedNodeWritable(const std::string& name, const std::string& selector, const std::string& selectorEntry,
                                bool restoreSelector);
    bool GetSensorOperationMode(std::string& mode);
    bool GetSensorShutterMode(camera::SensorShutterMode& mode);
    bool GetBinningSourcesSupported(std::vector<camera::BinningSource>& sources);
    bool GetDecimationSourcesSupported(std::vector<camera::DecimationSource>& sources);
    bool IsTriggerModeSupported(camera::TriggerMode mode);
    // The trigger mode; the cached one unless freshRead (the cache is filled by the first read).
    camera::TriggerMode GetTriggerMode(bool freshRead = false);
    // Reads the trigger mode from the camera; false when "TriggerMode" cannot be read.
    bool DetermineTriggerMode(camera::TriggerMode& mode);
    bool GetSupportedPixelFormatSourceStrings(std::vector<std::string>& names);
    bool IsPixelFormatSourceSupported(const std::string& name);
    bool SetPixelFormatSourceOverString(const std::string& name);
    // Data stream node map: incomplete, dropped and lost frame counts.
    bool GetDataStreamCounterInfos(int& incomplete, int& dropped, int& lost);
    bool GetDeviceLinkSpeed_bytes_per_second(int64_t& speed);
    double GetTotalGain() const;

    // ---- Pixel format destination (host side)
    uint32_t GetPixelFormatSource() const { return pixelFormatSource.load(); }
    uint32_t GetPixelFormatUnpacked() const { return pixelFormatUnpacked.load(); }
    uint32_t GetPixelFormatDestination() const { return pixelFormatDestination.load(); }
    std::string GetPixelFormatSourceName() const;
    // No effect when unchanged; otherwise stores it, tells the providers after the conversion and emits
    // Signal_PixelFormatDestinationChanged.
    void SetPixelFormatDestination(uint32_t format);
    // Table look-ups under conversionTableMutex for the current conversion mode (false / 0 outside 1..3).
    bool IsConversionSupported(const std::string& sourceName, uint32_t destination) const;
    uint32_t GetDefaultDestination(const std::string& sourceName) const;
    std::vector<uint32_t> GetAllowedPixelFormatDestinations() const;
    int GetConversionMode() const { return conversionMode.load(); }
    void SetConversionMode(int mode);
    // The text of the destination, stored together with its value by SetPixelFormatDestination.
    std::string GetPixelFormatDestinationName() const;
    // True for a packed format; false for a name the system does not know.
    static bool IsPackedPixelFormat(const std::string& name);

    // ---- Size of the finished image
    struct ImageSizeDestination
    {
        int64_t width = 0;
        int64_t height = 0;
        int64_t offsetX = 0;
        int64_t offsetY = 0;
        // Below the minimum: width under 2 or height under 1. The thresholds differ on purpose.
        bool tooSmall = false;
    };
    // Maps a size the way a host stage would; false leaves the size as it was (a library error).
    using SizeMapping = std::function<bool(int64_t& width, int64_t& height)>;
    // The finished size for the image rectangle: the width times widthFactor (when set and not 1), then binning,
    // then decimation (an empty mapping is an inactive stage). False, and out untouched, for a rectangle whose
    // width or height is below 1.
    static bool ComputeImageSizeDestination(int64_t offsetX, int64_t offsetY, int64_t width, int64_t height,
                                            double widthFactor, const SizeMapping& binning,
                                            const SizeMapping& decimation, ImageSizeDestination& out);
    // Reads the image rectangle, computes and stores the finished size and emits
    // Signal_IplDecimationAndBinningLeadsToImageSizeSmallerThanMinimum when it is below the minimum. False, and
    // nothing changed, when the rectangle cannot be read or is empty. GUI thread, or the capture thread on the
    // first frame of a run (the open leaves the camera to it then).
    bool UpdateImageSizeDestination();
    ImageSizeDestination GetImageSizeDestination() const;
    // Passes the stored finished size to its consumers: the sharpness provider and the auto feature manager
    // (only when active) get it as the images they are handed are, with width and height swapped while the
    // transformation is transposed; the hot pixel provider gets it as stored. Runs after each size update and
    // on the transformation's TransposedChanged. Same threads as UpdateImageSizeDestination.
    void PassImageSizeDestinationOn();
    // Buffer width over ROI width; 0 while unset (from the start of a run until its first frame).
    double GetWidthFactor() const { return widthFactor.load(); }
    void SetWidthFactor(double factor) { widthFactor = factor; }

    // ---- Capabilities and settings transfer
    bool HasCameraBrightnessAuto() const;
    bool HasCameraBalanceWhiteAuto();
    bool HasCameraI2C();
    bool HasCameraI2CTransmitBuffer();
    bool HasTriggerDelay();
    bool HasTriggerDevider();
    bool HasGain(const std::string& gainSelectorEntry);
    bool HasSubRegionSelector(const std::string& entry);
    bool IsFileSelectorAvailable();
    bool GetFileSelectorEntries(std::vector<std::string>& entries);
    bool GetUserSetDefaultEntries(std::vector<std::string>& entries);
    bool GetUserSetSelectorEntries(std::vector<std::string>& entries);
    bool IsUserSetCommandLoadAvailable();
    bool IsUserSetCommandSaveAvailable();
    bool GetChunkGainSelectorEntries(std::vector<std::string>& entries);
    bool ReadFile(std::string fileName, std::vector<uint8_t>& content, std::string& errorText, int64_t& bytesRead);
    bool WriteFile(std::string fileName, const std::string& sourcePath, std::string& errorText, int64_t& bytesDone,
                   int64_t& bytesTotal);
    bool DeleteFile(std::string fileName, std::string& errorText);
    bool LoadUserSetFromFile(const std::string& path);
    bool SaveUserSetToFile(const std::string& path);
    bool GetXMLContent(XmlModule module, const std::shared_ptr<orna::core::DeviceDescriptor>& deviceDescriptor,
                       const std::shared_ptr<orna::core::Port>& port, std::string& fileName,
                       std::vector<uint8_t>& content);
    void ApplyOptimalSettings();
    // Probes of the open: sensor flags, gain names, optical filter and colour correction start values, lines.
    bool InitSensorFlags();
    bool InitGainNames();
    bool InitOpticalFilter();
    bool InitIplColorCorrectionMatrixFromCamera();
    bool InitLineNames();

    // ---- Handles and node maps
    std::shared_ptr<orna::core::Device> GetDevice() const { return device; }
    std::shared_ptr<orna::core::DeviceDescriptor> GetDescriptor() const { return descriptor; }
    std::shared_ptr<orna::core::DataStream> GetDataStream() const { return dataStream; }
    std::shared_ptr<orna::core::NodeMap> GetRemoteNodeMap() const { return remoteDeviceNodeMap; }
    std::shared_ptr<orna::core::NodeMap> GetRemoteDeviceNodeMap() const { return remoteDeviceNodeMap; }
    std::shared_ptr<orna::core::NodeMap> GetDeviceNodeMap() const { return deviceNodeMap; }
    std::shared_ptr<orna::core::NodeMap> GetInterfaceNodeMap() const { return interfaceNodeMap; }
    std::shared_ptr<orna::core::NodeMap> GetSystemNodeMap() const { return systemNodeMap; }
    std::shared_ptr<orna::core::NodeMap> GetDataStreamNodeMap() const { return dataStreamNodeMap; }
    std::shared_ptr<orna::core::NodeMap> GetNodeMap(XmlModule module) const;
    const std::vector<std::shared_ptr<orna::core::Buffer>>& GetBuffers() const { return buffers; }
    int GetNumBuffers() const { return numBuffers; }
    int64_t GetPayloadSize() const { return payloadSize.load(); }

    // The node tree models of a node map (GUI thread).
    NodeMapAccess* GetNodeMapAccess(XmlModule module) const;
    NodeMapModel* GetNodeMapModel(XmlModule module) const;
    NodeMapFilterModel* GetNodeMapFilterModel(XmlModule module) const;

    // ---- Workers and threads
    VisionCameraOpenWorker* GetOpenWorker() const { return openWorker; }
    VisionImageCaptureWorker* GetCaptureWorker() const { return captureWorker; }
    VisionEventWorker* GetEventWorker() const { return eventWorker; }
    NodePollingWorker* GetNodePollingWorker() const { return nodePollingWorker; }
    // The application-wide camera parameter polling switch as the main window applied it to this camera (after
    // its open, and by a workspace load); node polling polls only while it is set. GUI thread sets, any reads.
    void SetNodePollingEnabled(bool enabled) { nodePollingEnabled = enabled; }
    bool IsNodePollingEnabled() const { return nodePollingEnabled.load(); }
    // The threads exist from the constructor on; a thread that did not stop when the camera closed is handed
    // over to itself (freed when it finishes) and the getter then answers null.
    QThread* GetOpenThread() const { return openThread; }
    QThread* GetCaptureThread() const { return captureThread; }
    QThread* GetEventThread() const { return eventThread; }
    QThread* GetNodePollingThread() const { return nodePollingThread; }

    // ---- Providers (set once in the constructor; no lock needed to read them)
    IplGainFeatureProvider* GetIplGainFeatureProvider() const { return iplGainFeatureProvider; }
    orna::ipl::Gain* GetIplGain() const { return iplGain.get(); }
    IplEdgeEnhancementFeatureProvider* GetIplEdgeEnhancementFeatureProvider() const
    {
        return iplEdgeEnhancementFeatureProvider;
    }
    IplDecimationFeatureProvider* GetIplDecimationFeatureProvider() const { return iplDecimationFeatureProvider; }
    IplBinningFeatureProvider* GetIplBinningFeatureProvider() const { return iplBinningFeatureProvider; }
    IplColorCorrectionFeatureProvider* GetIplColorCorrectionFeatureProvider() const
    {
        return iplColorCorrectionFeatureProvider;
    }
    IplSaturationFeatureProvider* GetIplSaturationFeatureProvider() const { return iplSaturationFeatureProvider; }
    IplSharpnessFeatureProvider* GetIplSharpnessFeatureProvider() const { return iplSharpnessFeatureProvider; }
    IflFeatureProvider* GetIflFeatureProvider() const { return iflFeatureProvider; }
    AflManager* GetAflManager() const { return aflManager; }
    IplHotpixelFeatureProvider* GetIplHotpixelFeatureProvider() const { return iplHotpixelFeatureProvider; }
    // The plain gamma provider or the one with digital black (ApplicationGlobals::useInternalLut).
    IplGammaFeatureProvider* GetIplGammaFeatureProvider() const { return iplGammaFeatureProvider; }
    bool HasGammaWithDigitalBlack() const { return gammaWithDigitalBlack; }
    IplTransformationFeatureProvider* GetIplTransformationFeatureProvider() const
    {
        return iplTransformationFeatureProvider;
    }
    VideoFeatureProvider* GetVideoFeatureProvider() const { return videoFeatureProvider; }
    ImageBufferManager* GetImageBufferManager() const { return imageBufferManager; }
    HistogramCalculator* GetHistogramCalculator() const { return histogramCalculator; }
    orna::ipl::ImageConverter* GetConverter() const { return converter.get(); }

    // ---- Texts
    QString GetKeyText() const { return keyText; }
    QString GetCameraName() const { return cameraName; }
    QString GetModelName() const { return modelName; }
    QString GetVendorName() const { return vendorName; }
    QString GetSerialNumber() const { return serialNumber; }
    QString GetDeviceVersion() const { return deviceVersion; }
    QString GetFirmwareVersion() const { return firmwareVersion; }
    QString GetUserDefinedName() const { return userDefinedName; }
    // "GEV", "U3V" or the producer's transport type.
    QString GetTransportType() const { return transportType; }
    QString GetIpAddress() const { return ipAddress; }
    QString GetMacAddress() const { return macAddress; }
    QString GetSensorName() const { return sensorName; }
    QString GetFamilyName() const { return familyName; }
    QString GetOpticalFilterType() const { return opticalFilterType; }
    QString GetBootStatusText() const { return bootStatusText; }
    double GetSensorClockFrequency() const { return sensorClockFrequency; }

    // ---- State
    bool IsAcquiring() const { return isAcquiring; }
    bool IsOpen() const { return device != nullptr; }
    bool IsStartAcquisitionOnOpen() const { return startAcquisitionOnOpen; }
    bool IsApplyOptimalSettingsOnOpen() const { return applyOptimalSettingsOnOpen; }
    bool IsOpenAsync() const { return openAsync; }
    uint64_t GetWaitTimeout() const { return waitTimeout.load(); }
    void SetWaitTimeout(uint64_t timeoutMs) { waitTimeout = timeoutMs; }
    bool GetHasImage() const { return hasImage.load(); }
    void SetHasImage(bool has) { hasImage = has; }
    int GetImagesPerBuffer() const { return imagesPerBuffer.load(); }
    void SetImagesPerBuffer(int count) { imagesPerBuffer = count; }
    bool IsLinescan() const { return isLinescan; }
    bool IsHistogramEnabled() const { return histogramEnabled.load(); }
    void SetHistogramEnabled(bool enabled) { histogramEnabled = enabled; }
    // Set by the histogram calculation while it runs; StopAcquisition and ExitCamera wait for it.
    bool IsHistogramRunning() const { return histogramRunning.load(); }
    void SetHistogramRunning(bool running) { histogramRunning = running; }
    bool IsColorCamera() const { return isColorCamera; }
    bool IsHostGainRequired() const { return hostGainRequired; }
    const std::string& GetLineTriggerInput() const { return lineTriggerInput; }
    const std::vector<std::string>& GetLineInputs() const { return lineInputs; }
    const std::vector<std::string>& GetLineOutputs() const { return lineOutputs; }

    // Counters of the capture loop (atomics: the capture thread writes, the GUI thread reads).
    int GetFrameCounter() const { return frameCounter.load(); }
    int GetProcessingErrorCounter() const { return processingErrorCounter.load(); }
    int GetTimeoutCounter() const { return timeoutCounter.load(); }
    int GetReconnectCounter() const { return reconnectCounter.load(); }
    int GetIncompleteCounter() const { return incompleteCounter.load(); }
    int IncrementFrameCounter() { return ++frameCounter; }
    int IncrementProcessingErrorCounter() { return ++processingErrorCounter; }
    int IncrementTimeoutCounter() { return ++timeoutCounter; }
    int IncrementReconnectCounter() { return ++reconnectCounter; }
    int IncrementIncompleteCounter() { return ++incompleteCounter; }
    void ResetFrameCounter() { frameCounter = 0; }
    void ResetProcessingErrorCounter() { processingErrorCounter = 0; }
    void ResetTimeoutCounter() { timeoutCounter = 0; }
    void ResetReconnectCounter() { reconnectCounter = 0; }
    void ResetIncompleteCounter() { incompleteCounter = 0; }

    // The single frame or optimise task: one at a time. IsOneShotRunning is true from the launch until the
    // task's body has returned; any thread may ask.
    bool IsOneShotRunning() const { return oneShotBusy.load(); }
    // Launches task as the one-shot task (std::async, policy async). Refuses at once, without waiting and without
    // touching the running one, when a task still runs or the camera is closing; false then. The task's
    // exceptions are logged; when it ends, Signal_OneShotTaskFinished is posted to the camera's thread. Launched
    // from the GUI thread, or from the open thread while the GUI thread leaves the camera alone.
    bool StartOneShotTask(std::function<void()> task);
    // Waits up to timeoutMs for the one-shot task; true when none runs any more.
    bool WaitForOneShotTask(int timeoutMs);
    // The optimise run's restore: the trigger modes, the automatic modes and the colour correction mode saved
    // when the run began go back to the camera and are forgotten. Safe on every path, also when nothing was
    // saved (a CTRL run, or a run that failed before it changed anything).
    void RestoreSettingsAfterOptimise();
    // Starts the open on openThread (asynchronous open only; a synchronous one runs in the constructor). Called
    // once the caller has connected Signal_Opened and the open thread's finished signal. GUI thread.
    void StartOpen();

    // Test hook: the number of buffers the last AllocBuffers announced.
    size_t GetNumBuffersAnnounced() const { return buffers.size(); }

Q_SIGNALS:
    void Signal_AcquisitionStarted();
    void Signal_AcquisitionStopped();
    void Signal_Disconnected(bool deviceLost);
    void Signal_Reconnected();
    void Signal_DeviceResetExecuted();
    void Signal_PixelFormatDestinationChanged();
    void Signal_ImageSizeDestinationChanged();
    void Signal_VideoRecordingRunningChanged(bool isRunning);
    void Signal_Opened();
    void Signal_Closed();
    // The one-shot task has ended (queued to the camera's thread); the buttons it disabled may come back.
    void Signal_OneShotTaskFinished();
    void Signal_IplDecimationAndBinningLeadsToImageSizeSmallerThanMinimum();

public Q_SLOTS:
    void OnSignalDeviceFound(std::shared_ptr<orna::core::DeviceDescriptor> deviceDescriptor);
    void OnSignalDeviceLost(std::string key);
    void OnSignalDeviceDisconnected(std::string key);
    void OnSignalDeviceReconnected(std::shared_ptr<orna::core::DeviceDescriptor> deviceDescriptor,
                                   orna::core::DeviceReconnectInformation reconnectInfo);

public:
    // Acquisition preparation under StartAcquisition: formats, geometry, providers, buffers, converter. Also
    // run on its own before a single frame or an optimise run on a camera that has not acquired yet. GUI thread,
    // only while not acquiring.
    bool PrepareAcquisition();

private:
    // Decides the buffer count from the stream's minimum and the num_buffers_used setting.
    void UpdateNumBuffers();
    // Rebuilds the four destination tables, each Bayer entry through the transformation's (and gamma's) mapping.
    void BuildConversionTables();
    // Frees an object of ownedObjects and removes it from the list.
    void DeleteOwnedObject(QObject* object);
    // Stops thread by the stop rule and frees worker (may be null). When the thread does not stop, both are
    // handed over to the thread's end (deleteLater on finished) and thread becomes null.
    // beforeHandOff runs (GUI thread) when the thread did not stop and is handed to its own end, before the
    // camera forgets it: the worker's last chance to let go of the camera.
    void RetireThread(CameraThread& thread, QObject* worker, const std::function<void()>& beforeHandOff = {});
    // Binds a node map to its node tree models on the GUI thread (queued when called from another thread).
    void BindNodeMap(XmlModule module, std::shared_ptr<orna::core::NodeMap> map);
    void LogError(const QString& context, const QString& message) const;

    // ---- Members in the order in which they are built.
    std::vector<QObject*> ownedObjects;
    // Threads are held by pointer so that one that does not stop within the stop rule can outlive the camera
    // (a running QThread must not be destroyed); see RetireThread.
    VisionCameraOpenWorker* openWorker = nullptr;
    CameraThread openThread;
    VisionImageCaptureWorker* captureWorker = nullptr;
    CameraThread captureThread;
    VisionEventWorker* eventWorker = nullptr;
    CameraThread eventThread;
    // Made by node polling after the first successful open; until that work exists it stays null and
    // nodePollingThread never runs.
    NodePollingWorker* nodePollingWorker = nullptr;
    CameraThread nodePollingThread;
    std::atomic<bool> nodePollingEnabled{true};

    QWidget* parentWindow = nullptr;
    QWidget* mainWindow = nullptr;

    // Texts: the key first ("-1" until the descriptor gives one), then thirteen that start as "unknown".
    QString keyText = QStringLiteral("-1");
    QString cameraName = QStringLiteral("unknown");
    QString modelName = QStringLiteral("unknown");
    QString vendorName = QStringLiteral("unknown");
    QString serialNumber = QStringLiteral("unknown");
    QString deviceVersion = QStringLiteral("unknown");
    QString firmwareVersion = QStringLiteral("unknown");
    QString userDefinedName = QStringLiteral("unknown");
    QString transportType = QStringLiteral("unknown");
    QString ipAddress = QStringLiteral("unknown");
    QString macAddress = QStringLiteral("unknown");
    QString sensorName = QStringLiteral("unknown");
    QString familyName = QStringLiteral("unknown");
    QString opticalFilterType = QStringLiteral("unknown");
    QString bootStatusText = QStringLiteral("OK");

    std::shared_ptr<orna::core::Device> device;
    std::shared_ptr<orna::core::DeviceDescriptor> descriptor;
    std::shared_ptr<orna::core::DataStream> dataStream;
    std::vector<std::shared_ptr<orna::core::Buffer>> buffers;
    int numBuffers = 5;
    std::shared_ptr<orna::core::NodeMap> remoteDeviceNodeMap;
    std::shared_ptr<orna::core::NodeMap> deviceNodeMap;
    std::shared_ptr<orna::core::NodeMap> interfaceNodeMap;
    std::shared_ptr<orna::core::NodeMap> systemNodeMap;
    std::shared_ptr<orna::core::NodeMap> dataStreamNodeMap;

    // One access, model and filter model a node map, indexed by XmlModule.
    NodeMapAccess* nodeMapAccess[kNumXmlModules] = {};
    NodeMapModel* nodeMapModel[kNumXmlModules] = {};
    NodeMapFilterModel* nodeMapFilterModel[kNumXmlModules] = {};

    // The host gain of stage 7, which the gain provider applies and the auto white balance writes. Declared
    // before the providers' users: it is freed after every provider and the auto feature manager.
    std::unique_ptr<orna::ipl::Gain> iplGain;
    IplGainFeatureProvider* iplGainFeatureProvider = nullptr;
    IplEdgeEnhancementFeatureProvider* iplEdgeEnhancementFeatureProvider = nullptr;
    IplDecimationFeatureProvider* iplDecimationFeatureProvider = nullptr;
    IplBinningFeatureProvider* iplBinningFeatureProvider = nullptr;
    IplColorCorrectionFeatureProvider* iplColorCorrectionFeatureProvider = nullptr;
    IplSaturationFeatureProvider* iplSaturationFeatureProvider = nullptr;
    IplSharpnessFeatureProvider* iplSharpnessFeatureProvider = nullptr;
    IflFeatureProvider* iflFeatureProvider = nullptr;
    AflManager* aflManager = nullptr;
    IplHotpixelFeatureProvider* iplHotpixelFeatureProvider = nullptr;
    IplGammaFeatureProvider* iplGammaFeatureProvider = nullptr;
    bool gammaWithDigitalBlack = false;
    IplTransformationFeatureProvider* iplTransformationFeatureProvider = nullptr;
    VideoFeatureProvider* videoFeatureProvider = nullptr;

    ImageBufferManager* imageBufferManager = nullptr;
    HistogramCalculator* histogramCalculator = nullptr;
    std::unique_ptr<orna::ipl::ImageConverter> converter;

    std::atomic<uint32_t> pixelFormatSource{0};
    std::atomic<uint32_t> pixelFormatUnpacked{0};
    std::atomic<uint32_t> pixelFormatDestination{0};
    std::atomic<int> conversionMode{1};
    mutable QMutex destinationMutex;
    std::string pixelFormatDestinationName;    // guarded by destinationMutex
    ImageSizeDestination imageSizeDestination; // guarded by destinationMutex
    std::atomic<double> widthFactor{0.0};

    bool isAcquiring = false;
    const bool startAcquisitionOnOpen;
    const bool applyOptimalSettingsOnOpen;
    const bool openAsync;
    std::atomic<uint64_t> waitTimeout{~uint64_t(0)};
    std::atomic<int> frameCounter{0};
    std::atomic<int> processingErrorCounter{0};
    std::atomic<int> timeoutCounter{0};
    std::atomic<int> reconnectCounter{0};
    std::atomic<int> incompleteCounter{0};
    std::atomic<bool> hasImage{false};
    std::atomic<int> imagesPerBuffer{-1};
    bool isLinescan = false;
    std::atomic<int64_t> payloadSize{0};
    mutable QMutex nodeMapMutex;
    // Joined only by the thread that launches (StartOneShotTask) and by ExitCamera; never assigned over while
    // its task runs, so that no destruction of a running std::async future blocks the GUI thread.
    std::future<void> oneShotTask;
    std::atomic<bool> oneShotBusy{false}; // claimed by StartOneShotTask, released by the task's last step
    std::atomic<bool> closing{false};     // ExitCamera began: no new one-shot task
    bool exited = false;

    mutable QMutex conversionTableMutex;
    camera::PixelFormatDestinationTables destinationTables; // guarded by conversionTableMutex
    // Guarded by nodeMapMutex.
    camera::TriggerMode cachedTriggerMode = camera::TriggerMode::Off;
    bool triggerModeCached = false;

    // Image geometry of the last query, and what the previous acquisition ran with.
    std::atomic<int64_t> imageOffsetX{0};
    std::atomic<int64_t> imageOffsetY{0};
    std::atomic<int64_t> imageWidth{0};
    std::atomic<int64_t> imageHeight{0};
    int64_t previousOffsetX = -1;
    int64_t previousOffsetY = -1;
    int64_t previousWidth = -1;
    int64_t previousHeight = -1;
    uint32_t previousPixelFormat = 0;
    bool reverseX = false;
    bool reverseY = false;
    bool previousReverseX = false;
    bool previousReverseY = false;
    std::atomic<bool> histogramEnabled{false};
    std::atomic<bool> histogramRunning{false};

    // ---- Capability state filled by the probes of the open.
    bool isColorCamera = false;
    bool hostGainRequired = false;
    double sensorClockFrequency = 1.0;
    bool isSensorIMX415 = false;
    bool isSensorIMX568 = false;
    bool isSensorIMX662 = false;
    bool isSensorOnsemiAR1335 = false;
    bool hasGainDigitalRed = false;
    bool hasGainAnalogRed = false;
    bool hasGainDigitalGreen = false;
    bool hasGainAnalogGreen = false;
    bool hasGainDigitalBlue = false;
    bool hasGainAnalogBlue = false;
    bool hasBrightnessAutoInCamera = false;
    std::string lineTriggerInput = "Line0";
    std::vector<std::string> lineInputs;
    std::vector<std::string> lineOutputs;

    // Saved state of the optimise routine, cleared when a run begins and after its restore. The automatic modes
    // as 1 "Off", 2 "Once", 3 "Continuous"; 0: not saved by this run.
    int savedExposureAuto = 0;
    int savedGainAuto = 0;
    int savedBalanceWhiteAuto = 0;
    std::string savedColorCorrectionMode;
    // "GainSelector" entry and its "Gain".
    std::vector<std::pair<std::string, double>> savedGains;
    // "TriggerSelector" entry and its "TriggerMode".
    std::vector<std::pair<std::string, std::string>> savedTriggerModes;
};
