#include "camera/visioncameraopenworker.h"

#include "camera/cameraregisters.h"
#include "camera/devicelib/descriptorhelpers.h"
#include "camera/visioncamera.h"
#include "camera/visioneventworker.h"
#include "common/logmessagesender.h"
#include "orna/ipl/pixelformat.h"
#include "processing/aflmanager.h"
#include "processing/iplgammafeatureprovider.h"
#include "processing/iplgammafeatureproviderwithdigitalblack.h"

#include <QCoreApplication>
#include <QThread>

namespace {
// Longest wait for the optimise run of an open before the open reports without live acquisition.
constexpr int kOptimiseOnOpenLimitMs = 60000;

const QString kContext = QStringLiteral("void VisionCameraOpenWorker::OnCameraOpen()");

} // namespace

VisionCameraOpenWorker::VisionCameraOpenWorker(VisionCamera* camera_) : camera(camera_) {}

VisionCameraOpenWorker::~VisionCameraOpenWorker() = default;

QString VisionCameraOpenWorker::PasswordProtectedText()
{
    return tr("The camera is password protected. To be able to open the camera, use the tool %1 to unlock the "
              "camera.")
        .arg(QStringLiteral("kvx_devicepassword"));
}

void VisionCameraOpenWorker::OnCameraOpen()
{
    // A cancelled open reports nothing: the window it would name is being closed. Its thread is ended here,
    // as a result signal would have ended it; that holds for a cancel that came before this slot ran, too
    // (a close right after StartOpen), or ExitCamera waits its whole limit for a thread idling in its loop.
    // A camera that went (ExitCamera gave up waiting for a stuck step and handed this worker to its thread's
    // end) counts as cancelled: no later step may touch it.
    auto cancelled = [this] {
        if (!IsCancelled() && !camera.isNull())
            return false;
        if (QThread::currentThread() == thread() && QThread::currentThread() != QCoreApplication::instance()->thread())
            QThread::currentThread()->quit();
        return true;
    };
    if (cancelled())
        return;
    VisionCamera* cam = camera;
    QWidget* cameraObject = cam->parentWindow;
    if (cam->cameraName == QLatin1String("unknown") && cam->descriptor)
        cam->cameraName = helper::GetCameraName(cam->descriptor);
    auto fail = [&](const QString& text) { Q_EMIT Signal_CannotOpenCamera(cam->cameraName, text, cameraObject); };

    // 1, 2: the device and its node maps.
    if (!cam->InitCamera([this] { return IsCancelled(); }))
        return cancelled() ? void() : fail(tr("Camera initialization failed"));
    if (cancelled())
        return;
    if (!cam->InitNodemaps())
        return fail(tr("Initialization of the nodemaps failed"));
    if (cancelled())
        return;

    // 3: a locked camera cannot be used at all; unlocking is the business of a separate tool.
    if (camera::RegisterReadable(cam->device, camera::kLockRegisterAddress, camera::kLockRegisterLength))
    {
        bool ok = false;
        const auto bytes =
            camera::RegisterRead(cam->device, camera::kLockRegisterAddress, camera::kLockRegisterLength, &ok);
        uint32_t value = 0;
        for (size_t i = 0; ok && i < bytes.size() && i < 4; ++i)
            value |= uint32_t(bytes[i]) << (8 * i);
        if (ok && value == 1)
            return fail(PasswordProtectedText());
    }

    // 4: the auto feature manager on the remote node map and the host gain; modes saved by a former
    // disconnection come back. A refusal is logged and the camera works without host auto features.
    if (cam->aflManager)
        cam->aflManager->Connect(cam->remoteDeviceNodeMap, cam->iplGain.get());

    if (cancelled())
        return;
    // 5-7: texts, sensor name, boot status. Failures here only log.
    cam->InitAdditionalInfos();
    std::string sensor;
    if (cam->GetStringValue("SensorName", sensor))
        cam->sensorName = QString::fromStdString(sensor);
    cam->CheckDeviceBootStatus();
    if (cancelled())
        return;

    // 8: service firmware offers device control and file access only: no stream, no acquisition.
    if (cam->cameraName.toLower().contains(QLatin1String("service")))
    {
        Q_EMIT Signal_HasOpenedCameraInServiceFirmware(cam->cameraName, cameraObject);
        return;
    }

    // 9-11
    if (cancelled())
        return;
    if (!cam->QueryImageGeometry())
        return fail(tr("Failed to determine image geometry"));
    if (!cam->CheckColorCamera())
        return fail(tr("Failed to determine the camera type (mono, color, ...)"));
    // The finished image starts 8 bits deep whatever the camera delivers: the pixel format step below only
    // replaces a destination its tables refuse, so a camera that starts in a deeper format keeps this one.
    cam->SetPixelFormatDestination(cam->IsColorCamera() ? orna::ipl::BGRa8 : orna::ipl::Mono8);
    if (!cam->InitDataStream())
        return fail(tr("Data stream initialization failed"));
    if (cancelled())
        return;

    // 12, 13
    cam->UpdateNumBuffers();
    cam->InitSensorClockFrequency();

    // 14
    if (!cam->UpdatePixelFormatSource())
        return fail(tr("Pixel format initialization failed"));

    if (cancelled())
        return;
    // 15: the probes the panels rely on. Colour correction start values come from the camera's matrix.
    cam->InitSensorFlags();
    cam->InitGainNames();
    cam->InitOpticalFilter();
    cam->InitLineNames();

    // 16: host gamma starts off at 2.2; the digital black stage keeps its start value of 0.
    if (auto* gamma = cam->iplGammaFeatureProvider)
    {
        gamma->SetGammaEnabled(false);
        gamma->SetGamma(2.2);
        if (cam->gammaWithDigitalBlack)
            static_cast<IplGammaFeatureProviderWithDigitalBlack*>(gamma)->SetDigitalBlack(0);
    }

    // 17
    cam->hasBrightnessAutoInCamera = cam->HasCameraBrightnessAuto();

    if (cancelled())
        return;
    // 18: events for the lifetime of the open camera.
    if (!cam->eventThread->isRunning())
        cam->eventThread->start(QThread::InheritPriority);

    // 19
    cam->waitTimeout = ~uint64_t(0);

    // 20, 21
    if (cam->applyOptimalSettingsOnOpen)
    {
        ApplyOptimalSettings(cam, false);
        // The optimise routine runs its own private acquisition on the one-shot task; the live acquisition may
        // only start once that has ended. Waiting here blocks the open thread, never the GUI.
        for (int waited = 0; !cam->WaitForOneShotTask(100); waited += 100)
        {
            if (cancelled())
                return;
            if (waited >= kOptimiseOnOpenLimitMs)
            {
                LogMessageSender::Error(cam->keyText, kContext,
                                        tr("The optimisation after the open did not end in time; the acquisition "
                                           "is not started"));
                Q_EMIT Signal_HasOpenedCamera(cam->cameraName, cameraObject);
                Q_EMIT cam->Signal_Opened();
                return;
            }
        }
    }
    if (cancelled())
        return;
    if (cam->startAcquisitionOnOpen)
    {
        if (!cam->StartAcquisition())
            LogMessageSender::Error(cam->keyText, kContext, tr("Starting the acquisition after the open failed"));
    }

    // 22: node polling starts here once the polling worker exists (reconnect and polling work).

    // 23
    Q_EMIT Signal_HasOpenedCamera(cam->cameraName, cameraObject);
    Q_EMIT cam->Signal_Opened();
}
