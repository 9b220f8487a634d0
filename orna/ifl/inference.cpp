#include "orna/ifl/inference.h"

#include <opencv2/dnn.hpp>

#include <atomic>

namespace {
std::atomic<bool> g_initialized{false};
}

extern "C" inference_status inference_library_init(void)
{
    if (g_initialized.load())
        return INFERENCE_STATUS_SUCCESS;
    try
    {
        // The CPU backend of OpenCV's dnn module is the engine; without any backend no model can run.
        if (cv::dnn::getAvailableBackends().empty())
            return INFERENCE_STATUS_NO_ENGINE;
    }
    catch (const cv::Exception&)
    {
        return INFERENCE_STATUS_NO_ENGINE;
    }
    g_initialized.store(true);
    return INFERENCE_STATUS_SUCCESS;
}

extern "C" inference_status inference_library_exit(void)
{
    if (!g_initialized.exchange(false))
        return INFERENCE_STATUS_NOT_INITIALIZED;
    return INFERENCE_STATUS_SUCCESS;
}

extern "C" int inference_library_is_initialized(void)
{
    return g_initialized.load() ? 1 : 0;
}

extern "C" const char* inference_status_text(inference_status status)
{
    switch (status)
    {
    case INFERENCE_STATUS_SUCCESS:
        return "Success";
    case INFERENCE_STATUS_ERROR:
        return "Error";
    case INFERENCE_STATUS_NOT_INITIALIZED:
        return "Not initialized";
    case INFERENCE_STATUS_NOT_IMPLEMENTED:
        return "Not implemented";
    case INFERENCE_STATUS_ACCESS_DENIED:
        return "Access denied";
    case INFERENCE_STATUS_INVALID_HANDLE:
        return "Invalid handle";
    case INFERENCE_STATUS_INVALID_PARAMETER:
        return "Invalid parameter";
    case INFERENCE_STATUS_OUT_OF_RANGE:
        return "Out of range";
    case INFERENCE_STATUS_BUFFER_TOO_SMALL:
        return "Buffer too small";
    case INFERENCE_STATUS_QUEUE_FULL:
        return "Queue full";
    case INFERENCE_STATUS_NO_ENGINE:
        return "No engine";
    case INFERENCE_STATUS_FILE_NOT_FOUND:
        return "File not found";
    case INFERENCE_STATUS_CANCELED:
        return "Canceled";
    default:
        return "Unknown";
    }
}

extern "C" const char* inference_opencv_version(void)
{
    return CV_VERSION;
}
