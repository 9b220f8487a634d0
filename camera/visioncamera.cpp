// VisionCamera lifecycle: construction, open steps that belong to the camera itself, buffers, acquisition start
// and stop, and the orderly close. The typed node access lives in visioncamera_access.cpp; the capability
// probes and settings transfer in visioncamera_capabilities.cpp.
#include "camera/visioncamera.h"

#include "camera/histogramcalculator.h"
#include "camera/imagebuffermanager.h"
#include "camera/visioncameraopenworker.h"
#include "camera/visioneventworker.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "nodetree/nodemapaccess.h"
#include "nodetree/nodemapfiltermodel.h"
#include "nodetree/nodemapmodel.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/exception.h"
#include "orna/core/system.h"
#include "orna/ipl/gain.h"
#include "orna/ipl/imageconverter.h"
#include "processing/aflmanager.h"
#include "processing/iflfeatureprovider.h"
#include "processing/iplbinningfeatureprovider.h"
#include "processing/iplcolorcorrectionfeatureprovider.h"
#include "processing/ipldecimationfeatureprovider.h"
#include "processing/ipledgeenhancementfeatureprovider.h"
#include "processing/iplgainfeatureprovider.h"
#include "processing/iplgammafeatureprovider.h"
#include "processing/iplgammafeatureproviderwithdigitalblack.h"
#include "processing/iplhotpixelfeatureprovider.h"
#include "processing/iplsaturationfeatureprovider.h"
#include "processing/iplsharpnessfeatureprovider.h"
#include "processing/ipltransformationfeatureprovider.h"
#include "processing/videofeatureprovider.h"

#include "camera/visionimagecaptureworker.h"

#include <QElapsedTimer>
#include <QMetaObject>
#include <QWidget>

#include <algorithm>
#include <chrono>
#include <thread>

Q_DECLARE_METATYPE(std::shared_ptr<orna::core::Buffer>)

namespace {

void SleepMs(int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

QString ModuleName(XmlModule module)
{
    switch (module)
    {
    case XmlModule::RemoteDevice:
        return QStringLiteral("RemoteDevice");
    case XmlModule::Device:
        return QStringLiteral("Device");
    case XmlModule::Interface:
        return QStringLiteral("Interface");
    case XmlModule::System:
        return QStringLiteral("System");
    case XmlModule::DataStream:
        return QStringLiteral("DataStream");
    }
    return QStringLiteral("unknown");
}

constexpr int kOpenCancelLimitMs = 30000;

// Connects a result signal of the open worker to the main window's slot of that name, when the window has it.
[[maybe_unused]] void ConnectToMainWindow(QObject* sender, const char* signal, QWidget* mainWindow,
                                          const char* slotSignature)
{
    if (!mainWindow)
        return;
    const QByteArray normalized = QMetaObject::normalizedSignature(slotSignature);
    if (mainWindow->metaObject()->indexOfSlot(normalized.constData()) < 0)
        return;
    QObject::connect(sender, signal, mainWindow, QByteArray("1" + normalized).constData());
}

// How long an open waits for the camera list's momentary lock probe to let go of the camera.
constexpr int kProbeWaitMs = 2000;
constexpr int kProbeWaitStepMs = 10;

} // namespace

VisionCamera::VisionCamera(QWidget* parentWindow_, QWidget* mainWindow_,
                           const std::shared_ptr<orna::core::DeviceDescriptor>& deviceDescriptor,
                           bool startAcquisitionOnOpen_, bool applyOptimalSettingsOnOpen_, bool openAsync_)
    : QObject(parentWindow_), parentWindow(parentWindow_), mainWindow(mainWindow_), descriptor(deviceDescriptor),
      startAcquisitionOnOpen(startAcquisitionOnOpen_), applyOptimalSettingsOnOpen(applyOptimalSettingsOnOpen_),
      openAsync(openAsync_)
{
    // 1. Threads, texts, providers, image buffer manager.
    for (auto [thread, name] : {std::pair<CameraThread*, const char*>{&openThread, "openThread"},
                                {&captureThread, "captureThread"},
                                {&eventThread, "eventThread"},
                                {&nodePollingThread, "nodePollingThread"}})
    {
        thread->thread = new QThread;
        thread->thread->setObjectName(QString::fromLatin1(name));
    }

    if (descriptor)
    {
        try
        {
            keyText = QString::fromStdString(descriptor->GetKey());
            cameraName = QString::fromStdString(descriptor->GetDisplayName());
            modelName = QString::fromStdString(descriptor->GetModelName());
            vendorName = QString::fromStdString(descriptor->GetVendorName());
            serialNumber = QString::fromStdString(descriptor->GetSerialNumber());
            deviceVersion = QString::fromStdString(descriptor->GetVersion());
            userDefinedName = QString::fromStdString(descriptor->GetUserDefinedName());
            transportType = QString::fromStdString(descriptor->GetTLType());
        }
        catch (const std::exception& e)
        {
            LogError(QStringLiteral("VisionCamera::VisionCamera(QWidget *, QWidget *, const "
                                    "std::shared_ptr<orna::core::DeviceDescriptor> &, bool, bool, bool)"),
                     QString::fromUtf8(e.what()));
        }
    }

    auto own = [this](auto* object) {
        ownedObjects.push_back(object);
        return object;
    };
    iplGain = std::make_unique<orna::ipl::Gain>();
    iplGainFeatureProvider = own(new IplGainFeatureProvider(this));
    iplGainFeatureProvider->SetGainIPL(iplGain.get());
    iplEdgeEnhancementFeatureProvider = own(new IplEdgeEnhancementFeatureProvider(this));
    iplDecimationFeatureProvider = own(new IplDecimationFeatureProvider(this));
    iplBinningFeatureProvider = own(new IplBinningFeatureProvider(this));
    iplColorCorrectionFeatureProvider = own(new IplColorCorrectionFeatureProvider(this));
    iplSaturationFeatureProvider = own(new IplSaturationFeatureProvider(this));
    iplSharpnessFeatureProvider = own(new IplSharpnessFeatureProvider(this));
    iflFeatureProvider = own(new IflFeatureProvider(this));
    aflManager = own(new AflManager(this));
    iplHotpixelFeatureProvider = own(new IplHotpixelFeatureProvider(this));
    gammaWithDigitalBlack = ApplicationGlobals::useInternalLut;
    if (gammaWithDigitalBlack)
        iplGammaFeatureProvider = own(new IplGammaFeatureProviderWithDigitalBlack(this));
    else
        iplGammaFeatureProvider = own(new IplGammaFeatureProvider(this));
    iplTransformationFeatureProvider = own(new IplTransformationFeatureProvider(this));
    videoFeatureProvider = own(new VideoFeatureProvider(this));
    imageBufferManager = own(new ImageBufferManager);
    histogramCalculator = own(new HistogramCalculator(this));
    try
    {
        converter = std::make_unique<orna::ipl::ImageConverter>();
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("VisionCamera::VisionCamera(QWidget *, QWidget *, const "
                                "std::shared_ptr<orna::core::DeviceDescriptor> &, bool, bool, bool)"),
                 QString::fromUtf8(e.what()));
    }

    // 2. Provider changes that the camera must follow: host size changes reach the camera window; a change of
    // the raw-format mapping rebuilds the destination tables.
    for (FeatureProviderBase* sizeProvider : std::initializer_list<FeatureProviderBase*>{
             iplBinningFeatureProvider, iplDecimationFeatureProvider, iplTransformationFeatureProvider})
        connect(sizeProvider, &FeatureProviderBase::Changed, this, &VisionCamera::Signal_ImageSizeDestinationChanged);
    // A quarter turn swaps the size the measuring consumers see.
    connect(iplTransformationFeatureProvider, &IplTransformationFeatureProvider::TransposedChanged, this,
            [this] { PassImageSizeDestinationOn(); });
    for (FeatureProviderBase* mappingProvider :
         std::initializer_list<FeatureProviderBase*>{iplGammaFeatureProvider, iplTransformationFeatureProvider})
        connect(mappingProvider, &FeatureProviderBase::Changed, this, [this] { AdaptDestinationToTransformation(); });

    // 3. One access, model and filter model a node map.
    for (int i = 0; i < kNumXmlModules; ++i)
    {
        auto* access = own(new NodeMapAccess(ModuleName(XmlModule(i))));
        access->SetLogOrigin(keyText);
        auto* model = own(new NodeMapModel(access));
        auto* filter = own(new NodeMapFilterModel);
        filter->setSourceModel(model);
        nodeMapAccess[i] = access;
        nodeMapModel[i] = model;
        nodeMapFilterModel[i] = filter;
    }

    // 4. The open worker.
    openWorker = own(new VisionCameraOpenWorker(this));
    if (openAsync)
        openWorker->moveToThread(openThread);
    connect(openThread, &QThread::started, openWorker, &VisionCameraOpenWorker::OnCameraOpen);
    ConnectToMainWindow(openWorker, SIGNAL(Signal_HasOpenedCamera(QString, QWidget*)), mainWindow,
                        "OnHasOpenedCamera(QString,QWidget*)");
    ConnectToMainWindow(openWorker, SIGNAL(Signal_HasOpenedCameraWithBootError(QString, QString, QWidget*)), mainWindow,
                        "OnHasOpenedCameraWithBootError(QString,QString,QWidget*)");
    ConnectToMainWindow(openWorker, SIGNAL(Signal_HasOpenedCameraInServiceFirmware(QString, QWidget*)), mainWindow,
                        "OnHasOpenedCameraInServiceFirmware(QString,QWidget*)");
    ConnectToMainWindow(openWorker, SIGNAL(Signal_CannotOpenCamera(QString, QString, QWidget*)), mainWindow,
                        "OnCannotOpenCamera(QString,QString,QWidget*)");
    // Every outcome ends the open thread (direct: quit only posts to that thread's loop).
    QThread* thread = openThread.get();
    auto quitOpen = [thread] { thread->quit(); };
    connect(openWorker, &VisionCameraOpenWorker::Signal_HasOpenedCamera, openWorker, quitOpen, Qt::DirectConnection);
    connect(openWorker, &VisionCameraOpenWorker::Signal_HasOpenedCameraWithBootError, openWorker, quitOpen,
            Qt::DirectConnection);
    connect(openWorker, &VisionCameraOpenWorker::Signal_HasOpenedCameraInServiceFirmware, openWorker, quitOpen,
            Qt::DirectConnection);
    connect(openWorker, &VisionCameraOpenWorker::Signal_CannotOpenCamera, openWorker, quitOpen, Qt::DirectConnection);

    // 5. The capture worker.
    qRegisterMetaType<std::shared_ptr<orna::core::Buffer>>("std::shared_ptr<orna::core::Buffer>");
    qRegisterMetaType<int64_t>("int64_t");
    captureWorker = own(new VisionImageCaptureWorker(this));
    captureWorker->moveToThread(captureThread);
    connect(captureThread, &QThread::started, captureWorker, &VisionImageCaptureWorker::Start);

    // 6. The event worker.
    eventWorker = own(new VisionEventWorker(this));
    eventWorker->moveToThread(eventThread);
    connect(eventThread, &QThread::started, eventWorker, &VisionEventWorker::OnStart);

    // 7. Open. An asynchronous open waits for StartOpen, so that its results cannot come before the camera
    // window has connected to them.
    if (!openAsync)
        openWorker->OnCameraOpen();
}

void VisionCamera::StartOpen()
{
    if (openAsync && openWorker && openThread.get() && !openThread.isRunning() && !exited)
        openThread->start(QThread::InheritPriority);
}

VisionCamera::~VisionCamera()
{
    ExitCamera();
    for (auto it = ownedObjects.rbegin(); it != ownedObjects.rend(); ++it)
        delete *it;
    ownedObjects.clear();
    for (CameraThread* thread : {&openThread, &captureThread, &eventThread, &nodePollingThread})
        RetireThread(*thread, nullptr);
}

void VisionCamera::LogError(const QString& context, const QString& message) const
{
    LogMessageSender::Error(keyText, context, message);
}

void VisionCamera::DeleteOwnedObject(QObject* object)
{
    if (!object)
        return;
    const auto it = std::find(ownedObjects.begin(), ownedObjects.end(), object);
    if (it != ownedObjects.end())
        ownedObjects.erase(it);
    delete object;
}

bool VisionCamera::StopThread(QThread* thread)
{
    if (!thread)
        return true;
    thread->quit();
    for (int poll = 0; poll < 100 && thread->isRunning(); ++poll)
        SleepMs(10);
    return !thread->isRunning();
}

void VisionCamera::RetireThread(CameraThread& cameraThread, QObject* worker, const std::function<void()>& beforeHandOff)
{
    QThread* thread = cameraThread.thread;
    cameraThread.thread = nullptr;
    if (!thread)
    {
        DeleteOwnedObject(worker);
        return;
    }
    if (StopThread(thread))
    {
        DeleteOwnedObject(worker);
        delete thread;
    }
    else
    {
        // The thread keeps running: it is never terminated. The worker and the thread are freed when it ends;
        // the camera no longer knows either.
        LogError(QStringLiteral("void VisionCamera::ExitCamera()"),
                 QStringLiteral("The thread '%1' did not stop within one second.").arg(thread->objectName()));
        if (beforeHandOff)
            beforeHandOff();
        if (worker)
        {
            const auto it = std::find(ownedObjects.begin(), ownedObjects.end(), worker);
            if (it != ownedObjects.end())
                ownedObjects.erase(it);
            QObject::connect(thread, &QThread::finished, worker, &QObject::deleteLater);
        }
        QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    }
}

void VisionCamera::BindNodeMap(XmlModule module, std::shared_ptr<orna::core::NodeMap> map)
{
    NodeMapAccess* access = nodeMapAccess[int(module)];
    if (!access)
        return;
    if (QThread::currentThread() == access->thread())
        access->SetNodeMap(std::move(map));
    else
        // The models belong to the GUI thread; the open worker hands the map over by a queued call, which is
        // dropped when the camera is gone before it runs.
        QMetaObject::invokeMethod(
            access, [access, map] { access->SetNodeMap(map); }, Qt::QueuedConnection);
}

std::shared_ptr<orna::core::NodeMap> VisionCamera::GetNodeMap(XmlModule module) const
{
    switch (module)
    {
    case XmlModule::RemoteDevice:
        return remoteDeviceNodeMap;
    case XmlModule::Device:
        return deviceNodeMap;
    case XmlModule::Interface:
        return interfaceNodeMap;
    case XmlModule::System:
        return systemNodeMap;
    case XmlModule::DataStream:
        return dataStreamNodeMap;
    }
    return nullptr;
}

NodeMapAccess* VisionCamera::GetNodeMapAccess(XmlModule module) const
{
    const int i = int(module);
    return i >= 0 && i < kNumXmlModules ? nodeMapAccess[i] : nullptr;
}

NodeMapModel* VisionCamera::GetNodeMapModel(XmlModule module) const
{
    const int i = int(module);
    return i >= 0 && i < kNumXmlModules ? nodeMapModel[i] : nullptr;
}

NodeMapFilterModel* VisionCamera::GetNodeMapFilterModel(XmlModule module) const
{
    const int i = int(module);
    return i >= 0 && i < kNumXmlModules ? nodeMapFilterModel[i] : nullptr;
}

bool VisionCamera::InitCamera(const std::function<bool()>& cancelled)
{
    if (!descriptor)
        return false;
    try
    {
        // The camera list's lock probe holds a newly found camera open for a moment (read-only, on its update
        // job); an open asked for just then waits for it instead of failing with "already open". Bounded: a
        // camera that another window of ours holds stays refused.
        for (int waited = 0; descriptor->GetOpenDevice() && waited < kProbeWaitMs; waited += kProbeWaitStepMs)
        {
            if (cancelled && cancelled())
                return false;
            QThread::msleep(kProbeWaitStepMs);
        }
        if (descriptor->GetAccessStatus() != orna::core::DeviceAccessStatus::ReadWrite)
            return false;
        device = descriptor->OpenDevice(orna::core::DeviceAccessType::Control);
        return device != nullptr;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::InitCamera()"), QString::fromUtf8(e.what()));
        return false;
    }
}

bool VisionCamera::InitNodemaps()
{
    if (!device)
        return false;
    try
    {
        remoteDeviceNodeMap = device->GetRemoteDevice()->GetNodeMap(0);
        deviceNodeMap = device->GetNodeMap(0);
        interfaceNodeMap = device->GetParentInterface()->GetNodeMap(0);
        systemNodeMap = device->GetParentSystem()->GetNodeMap(0);
        BindNodeMap(XmlModule::RemoteDevice, remoteDeviceNodeMap);
        BindNodeMap(XmlModule::Device, deviceNodeMap);
        BindNodeMap(XmlModule::Interface, interfaceNodeMap);
        BindNodeMap(XmlModule::System, systemNodeMap);
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::InitNodemaps()"), QString::fromUtf8(e.what()));
        return false;
    }
}

bool VisionCamera::InitDataStream()
{
    if (!device)
        return false;
    try
    {
        // A device without a data stream can still be parametrised: no stream is no failure here.
        if (device->GetNumDataStreams() > 0)
        {
            dataStream = device->GetDataStream(0)->OpenDataStream();
            dataStreamNodeMap = dataStream->GetNodeMap(0);
            BindNodeMap(XmlModule::DataStream, dataStreamNodeMap);
        }
        UpdateNumBuffers();
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::InitDataStream()"), QString::fromUtf8(e.what()));
        UpdateNumBuffers();
        return false;
    }
}

void VisionCamera::UpdateNumBuffers()
{
    // The default stands whenever the setting is 0 or below what the library needs, even when the library
    // asks for more than the default: no max() with the minimum, on purpose.
    numBuffers = 5;
    int64_t minRequired = 0;
    if (dataStream)
    {
        try
        {
            minRequired = int64_t(dataStream->GetNumBuffersAnnouncedMinRequired());
        }
        catch (const std::exception&)
        {
            minRequired = 0;
        }
    }
    const int setting = ApplicationGlobals::numBuffersUsed;
    if (setting != 0 && int64_t(setting) >= minRequired)
        numBuffers = setting;
}

bool VisionCamera::AllocBuffers()
{
    if (!dataStream)
        return false;
    try
    {
        if (!remoteDeviceNodeMap)
            orna::core::Raise(orna::core::ReturnCode::NotInitialized, "The remote node map is not open.");
        payloadSize = remoteDeviceNodeMap->FindNode<orna::core::nodes::IntegerNode>("PayloadSize")->GetValue(false);
        dataStream->Flush(orna::core::FlushMode::DiscardAll);
        for (const auto& buffer : buffers)
            dataStream->RevokeBuffer(buffer);
        buffers.clear();
        for (int i = 0; i < numBuffers; ++i)
        {
            auto buffer = dataStream->AllocAndAnnounceBuffer(size_t(payloadSize.load()), nullptr);
            orna::core::RequireNotNull(buffer, orna::core::nullptr_text::Buffer);
            dataStream->QueueBuffer(buffer);
            buffers.push_back(buffer);
        }
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::AllocBuffers()"), QString::fromUtf8(e.what()));
        return false;
    }
}

void VisionCamera::CreateImageBuffer()
{
    // The stored finished size already holds the width factor and the host binning or decimation; a buffer
    // of several images makes one image of all of them.
    const ImageSizeDestination size = GetImageSizeDestination();
    int64_t width = size.width;
    int64_t height = size.height;
    const int perBuffer = imagesPerBuffer;
    if (perBuffer > 1)
        height *= perBuffer;
    const uint32_t destination = iplGammaFeatureProvider->MapDestinationFormat(pixelFormatDestination);
    if (iplTransformationFeatureProvider->IsTransposed())
        std::swap(width, height);
    try
    {
        if (!converter)
            orna::core::Raise(orna::core::ReturnCode::NotInitialized, "No image converter.");
        // Without a finished size yet there is nothing to prepare; the worker prepares pools on first use.
        if (width > 0 && height > 0)
            converter->PreAllocateConversion(pixelFormatUnpacked, destination, uint32_t(width), uint32_t(height), 5);
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("void VisionCamera::CreateImageBuffer()"),
                 QStringLiteral("Failed to pre-allocate conversion buffers. ") + QString::fromUtf8(e.what()));
    }
    hasImage = false;
}

bool VisionCamera::QueryImageGeometry()
{
    int64_t offsetX = 0, offsetY = 0, width = 0, height = 0;
    if (!GetIntegerValue("OffsetX", ReadValueType::Value, offsetX) ||
        !GetIntegerValue("OffsetY", ReadValueType::Value, offsetY) ||
        !GetIntegerValue("Width", ReadValueType::Value, width) ||
        !GetIntegerValue("Height", ReadValueType::Value, height))
        return false;
    const int perBuffer = imagesPerBuffer;
    if (perBuffer != 1 && perBuffer != -1)
        height *= perBuffer;
    if (iplBinningFeatureProvider->IsActive())
        iplBinningFeatureProvider->GetOutputSize(width, height, &width, &height);
    else if (iplDecimationFeatureProvider->IsActive())
        iplDecimationFeatureProvider->GetOutputSize(width, height, &width, &height);
    imageOffsetX = offsetX;
    imageOffsetY = offsetY;
    imageWidth = width;
    imageHeight = height;
    return true;
}

bool VisionCamera::PrepareAcquisition()
{
    if (!device || isAcquiring)
        return false;
    if (!UpdatePixelFormatSource())
        return false;
    if (!QueryImageGeometry())
        return false;
    // Passes the finished size on to the consumers, turned as they see it.
    UpdateImageSizeDestination();
    iplTransformationFeatureProvider->SetImageSize(imageWidth, imageHeight);
    iplGammaFeatureProvider->SetPixelFormat(pixelFormatDestination);
    if (!AllocBuffers())
        return false;
    CreateImageBuffer();
    return true;
}

bool VisionCamera::StartAcquisition()
{
    if (!device)
        return false;
    const char* context = "bool VisionCamera::StartAcquisition()";

    bool value = false;
    reverseX = GetBoolValue("ReverseX", value) && value;
    reverseY = GetBoolValue("ReverseY", value) && value;
    // Unknown until the first buffer of this run; the geometry query must not use the previous run's count.
    imagesPerBuffer = -1;
    widthFactor = 0.0;

    if (!PrepareAcquisition())
        return false;

    std::string mode;
    isLinescan = GetSensorOperationMode(mode) && (mode == "Linescan" || mode == "LinescanSensor");

    // Hot pixels were found on the previous run's sensor window; geometry queries in between (single frame,
    // optimise, the open) do not move that window, so the comparison is with what that run used.
    if (imageWidth != previousWidth || imageHeight != previousHeight || imageOffsetX != previousOffsetX ||
        imageOffsetY != previousOffsetY || reverseX != previousReverseX || reverseY != previousReverseY ||
        pixelFormatSource != previousPixelFormat)
        iplHotpixelFeatureProvider->ForgetHotpixels();
    previousWidth = imageWidth;
    previousHeight = imageHeight;
    previousOffsetX = imageOffsetX;
    previousOffsetY = imageOffsetY;
    previousPixelFormat = pixelFormatSource;
    previousReverseX = reverseX;
    previousReverseY = reverseY;

    const camera::TriggerMode triggerMode = GetTriggerMode(true);
    iplSharpnessFeatureProvider->SetFrameSkip(triggerMode == camera::TriggerMode::Off ? 9 : 0);

    bool streamStarted = false;
    try
    {
        if (!dataStream)
            orna::core::Raise(orna::core::ReturnCode::NotAvailable, "The camera has no data stream.");
        if (!dataStream->GetIsGrabbing())
        {
            dataStream->StartAcquisition(orna::core::AcquisitionStartMode::Default, orna::core::DataStream::kInfinite);
            streamStarted = true;
        }
        remoteDeviceNodeMap->FindNode<orna::core::nodes::IntegerNode>("TLParamsLocked")->SetValue(1);
    }
    catch (const std::exception& e)
    {
        LogError(QString::fromLatin1(context), QString::fromUtf8(e.what()));
        // The camera does not acquire: a stream started here must not keep grabbing behind a false result.
        if (streamStarted)
        {
            try
            {
                dataStream->StopAcquisition(orna::core::AcquisitionStopMode::Default);
            }
            catch (const std::exception& undo)
            {
                LogError(QString::fromLatin1(context), QString::fromUtf8(undo.what()));
            }
        }
        return false;
    }

    if (captureThread && !captureThread->isRunning())
        captureThread->start(QThread::HighPriority);

    try
    {
        auto command = remoteDeviceNodeMap->FindNode<orna::core::nodes::CommandNode>("AcquisitionStart");
        command->Execute();
        command->WaitUntilDone(1000);
    }
    catch (const std::exception& e)
    {
        LogError(QString::fromLatin1(context), QString::fromUtf8(e.what()));
        LogError(QString::fromLatin1(context), QStringLiteral("Execute camera 'AcquisitionStart' failed!"));
        // Leave nothing running: StopAcquisition returns at once while not acquiring, so undo the steps here.
        if (captureWorker)
            captureWorker->Stop();
        try
        {
            dataStream->KillWait();
            StopThread(captureThread);
            remoteDeviceNodeMap->FindNode<orna::core::nodes::IntegerNode>("TLParamsLocked")->SetValue(0);
            dataStream->StopAcquisition(orna::core::AcquisitionStopMode::Default);
        }
        catch (const std::exception& undo)
        {
            LogError(QString::fromLatin1(context), QString::fromUtf8(undo.what()));
        }
        return false;
    }

    incompleteCounter = 0;
    isAcquiring = true;
    emit Signal_AcquisitionStarted();
    return true;
}

bool VisionCamera::StopAcquisition()
{
    if (!device)
        return false;
    if (!isAcquiring)
        return true;
    const QString context = QStringLiteral("bool VisionCamera::StopAcquisition()");
    bool result = true;

    if (captureWorker)
        captureWorker->Stop();
    try
    {
        if (dataStream)
            dataStream->KillWait();
    }
    catch (const std::exception& e)
    {
        LogError(context, QString::fromUtf8(e.what()));
    }
    StopThread(captureThread);
    isAcquiring = false;

    try
    {
        auto command = remoteDeviceNodeMap->FindNode<orna::core::nodes::CommandNode>("AcquisitionStop");
        command->Execute();
        command->WaitUntilDone(1000);
    }
    catch (const std::exception& e)
    {
        LogError(context, QString::fromUtf8(e.what()));
        LogError(context, QStringLiteral("Execute camera 'AcquisitionStop' failed!"));
    }
    try
    {
        remoteDeviceNodeMap->FindNode<orna::core::nodes::IntegerNode>("TLParamsLocked")->SetValue(0);
    }
    catch (const std::exception& e)
    {
        LogError(context, QString::fromUtf8(e.what()));
    }
    try
    {
        if (dataStream)
        {
            dataStream->StopAcquisition(orna::core::AcquisitionStopMode::Default);
            while (dataStream->GetIsGrabbing())
                SleepMs(10);
        }
    }
    catch (const std::exception& e)
    {
        LogError(context, QString::fromUtf8(e.what()));
        result = false;
    }
    hasImage = false;

    while (aflManager->IsBusy())
        SleepMs(10);
    while (iplSharpnessFeatureProvider->IsMeasurementRunning())
    {
        SleepMs(10);
        try
        {
            // Drain the stream so that a measurement waiting for a frame ends; the result does not matter.
            if (dataStream)
                dataStream->WaitForFinishedBuffer(10);
        }
        catch (const std::exception&)
        {
        }
    }
    while (histogramRunning)
        SleepMs(10);

    emit Signal_AcquisitionStopped();
    return result;
}

void VisionCamera::ExitCamera()
{
    if (exited)
        return;
    exited = true;
    const QString context = QStringLiteral("void VisionCamera::ExitCamera()");

    // An open still under way is cancelled and awaited before anything else: every later step would race it,
    // and its worker must not outlive the camera it works on. It ends at its next step, so this waits for at
    // most one step's transport time-outs. The camera window defers its close until the open has ended, so
    // this only waits when the whole application goes down during an open.
    if (openWorker && openThread.isRunning() && QThread::currentThread() != openThread.get())
    {
        openWorker->RequestCancel();
        QElapsedTimer waited;
        waited.start();
        // Bounded all the same: a transport call that never returns must not hang the application for good.
        if (!openThread->wait(kOpenCancelLimitMs))
            LogError(context, QStringLiteral("The open under way did not end within %1 ms.").arg(kOpenCancelLimitMs));
        else if (waited.elapsed() > 1000)
            LogError(context, QStringLiteral("The open under way took %1 ms to cancel.").arg(waited.elapsed()));
    }

    // 1. Auto features off.
    aflManager->SwitchAllOff();

    // 2. Node polling. Its worker arrives with the reconnect work; until then only the thread is stopped.
    StopThread(nodePollingThread);

    // 3. Detach the node models from their maps.
    for (NodeMapAccess* access : nodeMapAccess)
        if (access)
            access->SetNodeMap(nullptr);

    // 4. The one-shot task is aborted and joined before anything it works on goes: it runs on the capture worker,
    // its providers and the converter, which steps 7 and 10 free. Every wait of a one-shot task is ended by the
    // abort (a kill that comes before a wait is kept for it) and its device commands are bounded, so the join
    // takes at most the rest of one command plus the task's restore.
    auto killWait = [&] {
        try
        {
            if (dataStream)
                dataStream->KillWait();
        }
        catch (const std::exception& e)
        {
            LogError(context, QString::fromUtf8(e.what()));
        }
    };
    closing = true;
    if (oneShotTask.valid())
    {
        QElapsedTimer joined;
        joined.start();
        if (captureWorker)
            captureWorker->AbortOneShot();
        killWait();
        oneShotTask.wait();
        if (joined.elapsed() > 1000)
            LogError(context, QStringLiteral("The one-shot task took %1 ms to end.").arg(joined.elapsed()));
    }
    while (aflManager->IsBusy())
    {
        SleepMs(10);
        killWait();
    }

    // 5. Stop acquisition; when that failed, take the buffers back by hand.
    if (device && !StopAcquisition() && dataStream)
    {
        for (const auto& buffer : buffers)
        {
            try
            {
                dataStream->RevokeBuffer(buffer);
            }
            catch (const std::exception& e)
            {
                LogError(context, QString::fromUtf8(e.what()));
            }
        }
        if (captureWorker)
            captureWorker->Stop();
        hasImage = false;
        killWait();
    }
    isAcquiring = false;

    // 6. The open worker.
    QObject* openObject = openWorker;
    openWorker = nullptr;
    RetireThread(openThread, openObject);

    // 7. The capture worker.
    QObject* captureObject = nullptr;
    if (captureWorker)
        captureWorker->Stop();
    captureObject = captureWorker;
    VisionImageCaptureWorker* retiring = captureWorker;
    captureWorker = nullptr;
    // A capture thread held up in a frame consumer outlives the camera: its worker must let go first.
    RetireThread(captureThread, captureObject, [retiring] {
        if (retiring)
            retiring->DetachFromCamera();
    });

    // 8. Histogram and sharpness work.
    for (int poll = 0; poll < 300 && (histogramRunning || iplSharpnessFeatureProvider->IsMeasurementRunning()); ++poll)
        SleepMs(10);

    // 9. The event worker.
    QObject* eventObject = eventWorker;
    // The worker's loop may still be starting on its thread when the camera closes right after the open, and
    // a Stop that comes before the loop sets its flag is lost: repeat Stop on every poll of the stop rule.
    if (eventWorker && eventThread.isRunning())
    {
        for (int poll = 0; poll < 100 && eventThread.isRunning(); ++poll)
        {
            eventWorker->Stop();
            eventThread->quit();
            if (eventThread->wait(10))
                break;
        }
    }
    eventWorker = nullptr;
    RetireThread(eventThread, eventObject);

    // 10., 11. Converter and auto feature controllers.
    converter.reset();
    aflManager->ShutdownControllers();

    // 12. Buffers.
    if (dataStream)
    {
        try
        {
            dataStream->Flush(orna::core::FlushMode::DiscardAll);
        }
        catch (const std::exception& e)
        {
            LogError(context, QString::fromUtf8(e.what()));
        }
        for (const auto& buffer : buffers)
        {
            try
            {
                dataStream->RevokeBuffer(buffer);
            }
            catch (const std::exception& e)
            {
                LogError(context, QString::fromUtf8(e.what()));
            }
        }
    }
    buffers.clear();
    imageBufferManager->Clear();

    // 13.
    emit Signal_Closed();
}

bool VisionCamera::StartOneShotTask(std::function<void()> task)
{
    if (!task || closing.load())
        return false;
    bool idle = false;
    if (!oneShotBusy.compare_exchange_strong(idle, true))
        return false;
    // The body of the last task has returned (it released oneShotBusy as its last step), so this join waits
    // at most for its thread to leave the lambda.
    if (oneShotTask.valid())
        oneShotTask.wait();
    if (captureWorker)
        captureWorker->ClearOneShotAbort();
    const QString key = keyText;
    try
    {
        oneShotTask = std::async(std::launch::async, [this, key, task = std::move(task)] {
            try
            {
                task();
            }
            catch (const std::exception& e)
            {
                LogMessageSender::Error(key,
                                        QStringLiteral("bool VisionCamera::StartOneShotTask(std::function<void ()>)"),
                                        QString::fromUtf8(e.what()));
            }
            catch (...)
            {
                LogMessageSender::Error(key,
                                        QStringLiteral("bool VisionCamera::StartOneShotTask(std::function<void ()>)"),
                                        QStringLiteral("The one-shot task failed with an unknown exception."));
            }
            // Posted before the release: ExitCamera joins this task before the camera goes, so the camera is
            // alive here; a camera deleted before the event is delivered drops it.
            QMetaObject::invokeMethod(
                this, [this] { emit Signal_OneShotTaskFinished(); }, Qt::QueuedConnection);
            oneShotBusy.store(false);
        });
    }
    catch (const std::exception& e)
    {
        // No thread for the task: nothing runs.
        oneShotBusy.store(false);
        LogError(QStringLiteral("bool VisionCamera::StartOneShotTask(std::function<void ()>)"),
                 QString::fromUtf8(e.what()));
        return false;
    }
    return true;
}

bool VisionCamera::WaitForOneShotTask(int timeoutMs)
{
    if (!oneShotBusy.load())
        return true;
    QElapsedTimer waited;
    waited.start();
    while (oneShotBusy.load())
    {
        if (waited.elapsed() >= timeoutMs)
            return false;
        SleepMs(2);
    }
    return true;
}

// Device list events. They are logged and passed on; reopening and reconnecting the camera are later work.
void VisionCamera::OnSignalDeviceFound(std::shared_ptr<orna::core::DeviceDescriptor> deviceDescriptor)
{
    if (!deviceDescriptor || !descriptor || deviceDescriptor->GetKey() != descriptor->GetKey())
        return;
    emit LogMessageSender::Instance().Signal_LogEvent(
        keyText,
        QStringLiteral("void VisionCamera::OnSignalDeviceFound(std::shared_ptr<orna::core::DeviceDescriptor>)"),
        QStringLiteral("The camera is available again."), 0);
}

void VisionCamera::OnSignalDeviceLost(std::string key)
{
    if (QString::fromStdString(key) != keyText)
        return;
    emit LogMessageSender::Instance().Signal_LogEvent(
        keyText, QStringLiteral("void VisionCamera::OnSignalDeviceLost(std::string)"),
        QStringLiteral("The camera was lost."), 1);
    emit Signal_Disconnected(true);
}

void VisionCamera::OnSignalDeviceDisconnected(std::string key)
{
    if (QString::fromStdString(key) != keyText)
        return;
    emit LogMessageSender::Instance().Signal_LogEvent(
        keyText, QStringLiteral("void VisionCamera::OnSignalDeviceDisconnected(std::string)"),
        QStringLiteral("The camera was disconnected."), 1);
    emit Signal_Disconnected(false);
}

void VisionCamera::OnSignalDeviceReconnected(std::shared_ptr<orna::core::DeviceDescriptor> deviceDescriptor,
                                             orna::core::DeviceReconnectInformation)
{
    if (!deviceDescriptor || QString::fromStdString(deviceDescriptor->GetKey()) != keyText)
        return;
    ++reconnectCounter;
    emit LogMessageSender::Instance().Signal_LogEvent(
        keyText,
        QStringLiteral("void VisionCamera::OnSignalDeviceReconnected(std::shared_ptr<orna::core::DeviceDescriptor>, "
                       "orna::core::DeviceReconnectInformation)"),
        QStringLiteral("The camera was reconnected."), 0);
    emit Signal_Reconnected();
}
