#include "orna/ipl/exception.h"

namespace orna::ipl {

namespace {

struct LastError
{
    int code = 0;
    std::string description;
};

thread_local LastError lastError;

// Index = code. Codes 9 to 12 carry no name on purpose: the code table leaves them blank.
constexpr const char* kNames[] = {
    "ORNA_IPL_RETURN_CODE_SUCCESS",
    "ORNA_IPL_RETURN_CODE_ERROR",
    "ORNA_IPL_RETURN_CODE_INVALID_HANDLE",
    "ORNA_IPL_RETURN_CODE_IO_ERROR",
    "ORNA_IPL_RETURN_CODE_BUFFER_TOO_SMALL",
    "ORNA_IPL_RETURN_CODE_INVALID_ARGUMENT",
    "ORNA_IPL_RETURN_CODE_OUT_OF_RANGE",
    "ORNA_IPL_RETURN_CODE_IMAGE_FORMAT_NOT_SUPPORTED",
    "ORNA_IPL_RETURN_CODE_FORMAT_INTERPRETATION_ERROR",
};

} // namespace

std::string ReturnCodeName(int code)
{
    if (code >= 0 && code < static_cast<int>(sizeof(kNames) / sizeof(kNames[0])))
        return kNames[code];
    return {};
}

std::string FormatErrorMessage(int code, const std::string& description)
{
    return "[Error-Code: " + std::to_string(code) + " (" + ReturnCodeName(code) +
           ") | Error-Description: " + description + "]";
}

void Raise(int code, const std::string& description)
{
    if (code == 0)
        Raise(ReturnCode::Error, "Raise called with the success code; description: " + description);
    lastError.code = code;
    lastError.description = description;
    const std::string message = FormatErrorMessage(code, description);
    switch (code)
    {
    case 2:
        throw InvalidHandleException(message);
    case 3:
        throw IOException(message);
    case 4:
        throw BufferTooSmallException(message);
    case 5:
        throw InvalidArgumentException(message);
    case 6:
        throw OutOfRangeException(message);
    case 7:
        throw ImageFormatNotSupportedException(message);
    case 8:
        throw ImageFormatInterpretationException(message);
    case 10:
        throw NotPermittedException(message);
    case 11:
        throw BusyException(message);
    case 12:
        throw TimeoutException(message);
    default:
        throw Exception(message); // 1, 9 and every unknown code
    }
}

void GetLastError(int& code, std::string& description)
{
    code = lastError.code;
    description = lastError.description;
}

void ClearLastError()
{
    lastError = LastError{};
}

} // namespace orna::ipl
