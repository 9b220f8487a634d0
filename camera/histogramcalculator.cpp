#include "camera/histogramcalculator.h"

#include "camera/cameratypes.h"
#include "camera/visioncamera.h"
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"

#include <chrono>

HistogramCalculator::HistogramCalculator(VisionCamera* camera, QObject* parent) : QObject(parent), camera(camera) {}

HistogramCalculator::~HistogramCalculator()
{
    // The task holds the image and calls the consumer: it ends before the calculator goes.
    if (task.valid())
        task.wait();
}

void HistogramCalculator::SetConsumer(Consumer newConsumer)
{
    QMutexLocker lock(&consumerMutex);
    consumer = std::move(newConsumer);
}

bool HistogramCalculator::Wait(int timeout_ms)
{
    if (!task.valid())
        return true;
    return task.wait_for(std::chrono::milliseconds(timeout_ms)) == std::future_status::ready;
}

int HistogramCalculator::Calculate(const std::shared_ptr<orna::ipl::Image>& image, uint32_t flag)
{
    if (task.valid() && task.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        return kBusy;
    // During free run or a hardware trigger the histogram follows at most twice a second; under a software
    // trigger, and outside acquisition, every image counts.
    const bool limited =
        camera != nullptr && camera->IsAcquiring() && camera->GetTriggerMode() != camera::TriggerMode::Software;
    if (limited && timer.isValid() && timer.elapsed() <= kMinimumInterval_ms)
        return kAccepted;
    if (!image || image->IsEmpty())
        return kAccepted;
    Consumer current;
    {
        QMutexLocker lock(&consumerMutex);
        current = consumer;
    }
    timer.start();
    if (!current)
        return kAccepted;
    // The packed 10-bit RGB forms have no histogram of their own: their unpacked 16-bit form stands in.
    std::shared_ptr<const orna::ipl::Image> input = image;
    const uint32_t format = image->GetPixelFormat();
    if (format == orna::ipl::RGB10p32 || format == orna::ipl::BGR10p32)
        input = std::make_shared<orna::ipl::Image>(image->ConvertTo(orna::ipl::RGB10));
    running.store(true);
    started.fetch_add(1);
    if (camera)
        camera->SetHistogramRunning(true);
    task = std::async(std::launch::async, [this, input, flag, current] {
        try
        {
            current(input, flag);
        }
        catch (...)
        {
            // Nothing crosses the task's end; the consumer reports its own failures.
        }
        if (camera)
            camera->SetHistogramRunning(false);
        running.store(false);
    });
    return kAccepted;
}
