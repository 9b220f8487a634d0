// Shared helpers of the capture worker tests: a simulated camera opened into a VisionCamera, a recorder of the
// worker's signals and of the log on the test (GUI) thread, and small node writes.
//
// Threads: everything here runs on the test's main thread; the recorder receives the worker's signals by
// queued connections, so its lists are only touched on the main thread.
#pragma once

#include "tests/camera/simcameras.h"

#include "camera/imagebuffermanager.h"
#include "camera/visioncamera.h"
#include "camera/visionimagecaptureworker.h"
#include "common/logmessagesender.h"
#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/sim/simtransport.h"
#include "orna/core/system.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

// What the worker and the log said, in the order it arrived.
class CaptureRecorder : public QObject
{
    Q_OBJECT

public:
    struct Counters
    {
        bool exception;
        double frameTime;
        double processingTime;
        int frames;
        int errors;
        int incomplete;
    };

    QStringList log;
    std::vector<Counters> counters;
    // 'D' for Signal_UpdateDisplay, 'C' for Signal_UpdateCounters, in arrival order.
    QString sequence;
    int displays = 0;
    std::vector<bool> adjustResults;
    QPointer<VisionImageCaptureWorker> attached;
    int generation = 0; // of the current attachment; see Attach

    // Signals queued before a Detach are still delivered after it (disconnecting does not take back posted
    // calls): each attachment counts only its own, so a case never sees the frames of the one before.
    void Attach(VisionImageCaptureWorker* worker)
    {
        Detach();
        attached = worker;
        const int current = generation;
        connect(
            worker, &VisionImageCaptureWorker::Signal_UpdateDisplay, this,
            [this, current] {
                if (current != generation)
                    return;
                ++displays;
                sequence += QLatin1Char('D');
            },
            Qt::QueuedConnection);
        connect(
            worker, &VisionImageCaptureWorker::Signal_UpdateCounters, this,
            [this, current](bool exception, double frameTime, double processingTime, int frames, int errors,
                            int incomplete) {
                if (current != generation)
                    return;
                counters.push_back({exception, frameTime, processingTime, frames, errors, incomplete});
                sequence += QLatin1Char('C');
            },
            Qt::QueuedConnection);
        connect(
            worker, &VisionImageCaptureWorker::Signal_AdjustLoopFinished, this,
            [this, current](bool result) {
                if (current == generation)
                    adjustResults.push_back(result);
            },
            Qt::QueuedConnection);
        connect(
            &LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError, this,
            [this](QString, QString context, QString message, int) { log << context + QLatin1String(": ") + message; },
            Qt::QueuedConnection);
    }
    // Drops every connection to this recorder, the log's included.
    void Detach()
    {
        ++generation;
        QObject::disconnect(&LogMessageSender::Instance(), nullptr, this, nullptr);
        if (attached)
            QObject::disconnect(attached, nullptr, this, nullptr);
        attached = nullptr;
    }
    void Clear()
    {
        log.clear();
        counters.clear();
        sequence.clear();
        displays = 0;
        adjustResults.clear();
    }
    int ExceptionCounters() const
    {
        return int(std::count_if(counters.begin(), counters.end(), [](const Counters& c) { return c.exception; }));
    }
};

namespace capturetest {

// The sim: producer with the given cameras ("mono,color"), at the producer's own minimum buffer count.
struct SimSetup : SimCameras
{
    bool Open(const char* cameras) { return Start(cameras, nullptr); }
    std::shared_ptr<orna::core::DeviceDescriptor> Find(const std::string& serial) const
    {
        return iface ? iface->FindDevice(orna::core::sim::SimDeviceId(serial)) : nullptr;
    }
    void Close() { Release(); }
};

// Opens the camera the way the camera window does, without acquisition; then makes the frames small so that
// the tests stay quick on a loaded machine. Null when the open failed.
inline std::unique_ptr<VisionCamera> OpenCamera(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor,
                                                int64_t width = 640, int64_t height = 480)
{
    if (!descriptor)
        return nullptr;
    auto camera = std::make_unique<VisionCamera>(nullptr, nullptr, descriptor, false, false, false);
    if (!camera->IsOpen())
        return nullptr;
    camera->SetIntegerValue("Width", width);
    camera->SetIntegerValue("Height", height);
    camera->UpdatePixelFormatSource();
    return camera;
}

// Software trigger: no frame arrives until one is asked for, so the worker's wait blocks.
inline bool SetSoftwareTrigger(VisionCamera* camera, bool on)
{
    bool ok = camera->SetEnumerationEntry("TriggerSelector", "FrameStart");
    ok = camera->SetEnumerationEntry("TriggerMode", on ? "On" : "Off") && ok;
    if (on)
        ok = camera->SetEnumerationEntry("TriggerSource", "Software") && ok;
    return ok;
}

inline std::shared_ptr<orna::core::sim::SimCamera> Sim(const std::string& serial)
{
    return orna::core::sim::SimCameraRegistry::Instance().Find(serial);
}

} // namespace capturetest
