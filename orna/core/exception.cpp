#include "orna/core/exception.h"

#include <array>

namespace orna::core {

namespace {

struct CodeRow
{
    const char* name;
    void (*raise)(const std::string&);
};

template <typename E> void Throw(const std::string& message)
{
    throw E(message);
}

// One row per code 0..17; row 0 is never thrown. Code 6 deliberately maps to InternalErrorException:
// every buffer is sized by a first query, so a too small buffer is an internal fault.
const std::array<CodeRow, 18> kCodeTable = {{
    {"ORNA_RETURN_CODE_SUCCESS", &Throw<InternalErrorException>},
    {"ORNA_RETURN_CODE_ERROR", &Throw<InternalErrorException>},
    {"ORNA_RETURN_CODE_NOT_INITIALIZED", &Throw<NotInitializedException>},
    {"ORNA_RETURN_CODE_ABORTED", &Throw<AbortedException>},
    {"ORNA_RETURN_CODE_BAD_ACCESS", &Throw<BadAccessException>},
    {"ORNA_RETURN_CODE_BAD_ALLOC", &Throw<BadAllocException>},
    {"ORNA_RETURN_CODE_BUFFER_TOO_SMALL", &Throw<InternalErrorException>},
    {"ORNA_RETURN_CODE_INVALID_ADDRESS", &Throw<InvalidAddressException>},
    {"ORNA_RETURN_CODE_INVALID_ARGUMENT", &Throw<InvalidArgumentException>},
    {"ORNA_RETURN_CODE_INVALID_CAST", &Throw<InvalidCastException>},
    {"ORNA_RETURN_CODE_INVALID_HANDLE", &Throw<InvalidInstanceException>},
    {"ORNA_RETURN_CODE_NOT_FOUND", &Throw<NotFoundException>},
    {"ORNA_RETURN_CODE_OUT_OF_RANGE", &Throw<OutOfRangeException>},
    {"ORNA_RETURN_CODE_TIMEOUT", &Throw<TimeoutException>},
    {"ORNA_RETURN_CODE_NOT_AVAILABLE", &Throw<NotAvailableException>},
    {"ORNA_RETURN_CODE_NOT_IMPLEMENTED", &Throw<NotImplementedException>},
    {"ORNA_RETURN_CODE_CTI_LOADING_ERROR", &Throw<CTILoadingException>},
    {"ORNA_RETURN_CODE_IO", &Throw<IOException>},
}};

struct LastError
{
    int code = 0;
    std::string description;
};
thread_local LastError t_lastError;

} // namespace

std::string ReturnCodeName(int code)
{
    if (code < 0 || code >= static_cast<int>(kCodeTable.size()))
        return {};
    return kCodeTable[static_cast<size_t>(code)].name;
}

std::string FormatErrorMessage(int code, const std::string& description)
{
    return "Error-Code: " + std::to_string(code) + " (" + ReturnCodeName(code) +
           ") | Error-Description: " + description;
}

void Raise(int code, const std::string& description)
{
    if (code == 0)
        throw InternalErrorException(FormatErrorMessage(1, "Raise called with a success code: " + description));
    t_lastError.code = code;
    t_lastError.description = description;
    const std::string message = FormatErrorMessage(code, description);
    if (code < 0 || code >= static_cast<int>(kCodeTable.size()))
        throw InternalErrorException(message);
    kCodeTable[static_cast<size_t>(code)].raise(message);
    throw InternalErrorException(message); // not reached: every row throws
}

void GetLastError(int& code, std::string& description)
{
    code = t_lastError.code;
    description = t_lastError.description;
}

void ClearLastError()
{
    t_lastError = {};
}

} // namespace orna::core
