#include "orna/core/detail/aravis_error.h"

#include <arv.h>

namespace orna::core::detail {

ReturnCode ReturnCodeForGError(const GError* error)
{
    if (!error)
        return ReturnCode::Success;
    if (error->domain == ARV_DEVICE_ERROR)
    {
        switch (error->code)
        {
        case ARV_DEVICE_ERROR_FEATURE_NOT_FOUND:
        case ARV_DEVICE_ERROR_NOT_FOUND:
            return ReturnCode::NotFound;
        case ARV_DEVICE_ERROR_TIMEOUT:
            return ReturnCode::Timeout;
        case ARV_DEVICE_ERROR_NOT_CONTROLLER:
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED:
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT:
            return ReturnCode::BadAccess;
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS:
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BAD_ALIGNMENT:
            return ReturnCode::InvalidAddress;
        case ARV_DEVICE_ERROR_INVALID_PARAMETER:
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER:
            return ReturnCode::InvalidArgument;
        case ARV_DEVICE_ERROR_WRONG_FEATURE:
            return ReturnCode::InvalidCast;
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED:
            return ReturnCode::NotImplemented;
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BUSY:
        case ARV_DEVICE_ERROR_GENICAM_NOT_FOUND:
        case ARV_DEVICE_ERROR_NO_STREAM_CHANNEL:
            return ReturnCode::NotAvailable;
        case ARV_DEVICE_ERROR_NOT_CONNECTED:
        case ARV_DEVICE_ERROR_TRANSFER_ERROR:
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR:
            return ReturnCode::IO;
        default:
            return ReturnCode::Error;
        }
    }
    if (error->domain == ARV_GC_ERROR)
    {
        switch (error->code)
        {
        case ARV_GC_ERROR_NODE_NOT_FOUND:
        case ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND:
            return ReturnCode::NotFound;
        case ARV_GC_ERROR_READ_ONLY:
            return ReturnCode::BadAccess;
        case ARV_GC_ERROR_OUT_OF_RANGE:
            return ReturnCode::OutOfRange;
        case ARV_GC_ERROR_NO_EVENT_IMPLEMENTATION:
            return ReturnCode::NotImplemented;
        default:
            return ReturnCode::Error;
        }
    }
    return ReturnCode::Error;
}

void RaiseFromGError(GError* error, const std::string& context)
{
    const ReturnCode code = ReturnCodeForGError(error);
    std::string text = error && error->message ? error->message : "unknown Aravis error";
    if (error)
        g_error_free(error);
    if (!context.empty())
        text = context + ": " + text;
    Raise(code == ReturnCode::Success ? ReturnCode::Error : code, text);
}

} // namespace orna::core::detail
