// The exception family of the device library.
//
// Every failure inside orna::core leaves as one of these classes. The message is built by Raise() from a
// return code and a description, in the form
//     "Error-Code: <n> (<NAME>) | Error-Description: <text>"
// so that log lines read the same whatever produced the failure. Callers above orna/ catch
// orna::core::Exception (or std::exception) in the method that called the library.
//
// Thread safety: all functions here may be called from any thread; the last error is kept per thread.
#pragma once

#include <stdexcept>
#include <string>

namespace orna::core {

enum class ReturnCode : int
{
    Success = 0,
    Error = 1,
    NotInitialized = 2,
    Aborted = 3,
    BadAccess = 4,
    BadAlloc = 5,
    BufferTooSmall = 6,
    InvalidAddress = 7,
    InvalidArgument = 8,
    InvalidCast = 9,
    InvalidHandle = 10,
    NotFound = 11,
    OutOfRange = 12,
    Timeout = 13,
    NotAvailable = 14,
    NotImplemented = 15,
    CtiLoadingError = 16,
    IO = 17,
};

class Exception : public std::runtime_error
{
public:
    explicit Exception(const std::string& message) : std::runtime_error(message) {}
};

#define ORNA_CORE_EXCEPTION(Name)                                                                                      \
    class Name : public Exception                                                                                      \
    {                                                                                                                  \
    public:                                                                                                            \
        explicit Name(const std::string& message) : Exception(message) {}                                              \
    }

ORNA_CORE_EXCEPTION(InternalErrorException);
ORNA_CORE_EXCEPTION(NotInitializedException);
ORNA_CORE_EXCEPTION(AbortedException);
ORNA_CORE_EXCEPTION(BadAccessException);
ORNA_CORE_EXCEPTION(BadAllocException);
ORNA_CORE_EXCEPTION(InvalidAddressException);
ORNA_CORE_EXCEPTION(InvalidArgumentException);
ORNA_CORE_EXCEPTION(InvalidCastException);
ORNA_CORE_EXCEPTION(InvalidInstanceException);
ORNA_CORE_EXCEPTION(NotFoundException);
ORNA_CORE_EXCEPTION(OutOfRangeException);
ORNA_CORE_EXCEPTION(TimeoutException);
ORNA_CORE_EXCEPTION(NotAvailableException);
ORNA_CORE_EXCEPTION(NotImplementedException);
ORNA_CORE_EXCEPTION(CTILoadingException);
ORNA_CORE_EXCEPTION(IOException);

#undef ORNA_CORE_EXCEPTION

// The name of a return code as it appears between the brackets of a message ("ORNA_RETURN_CODE_TIMEOUT");
// empty for codes the table does not know.
std::string ReturnCodeName(int code);

// The full message text for a code and a description.
std::string FormatErrorMessage(int code, const std::string& description);

// Records the error as this thread's last error and throws the class of the code table.
// Code 0 is not an error: CheckReturnCode(0, ...) returns, Raise(0, ...) is a programming fault and throws
// InternalErrorException.
[[noreturn]] void Raise(int code, const std::string& description);
[[noreturn]] inline void Raise(ReturnCode code, const std::string& description)
{
    Raise(static_cast<int>(code), description);
}
inline void CheckReturnCode(int code, const std::string& description)
{
    if (code != 0)
        Raise(code, description);
}

// The last error raised on the calling thread: code and description (code 0 and empty text when none).
// Mirrors the two-step query of the C interface; a caller that got no exception sees the previous error.
void GetLastError(int& code, std::string& description);
void ClearLastError();

// Null-argument checks of the object layer, raised before anything reaches a device. The texts are fixed.
// NullArgumentError derives from std::runtime_error but not from orna::core::Exception: such a call is a
// fault of the caller, not a failure of the library.
class NullArgumentError : public std::runtime_error
{
public:
    explicit NullArgumentError(const std::string& message) : std::runtime_error(message) {}
};
template <typename T> inline void RequireNotNull(const T& pointer, const char* what)
{
    if (!pointer)
        throw NullArgumentError(what);
}
namespace nullptr_text {
inline constexpr const char* Buffer = "The given buffer is a nullptr!";
inline constexpr const char* Device = "The given device is a nullptr!";
inline constexpr const char* Entry = "The given entry is a nullptr!";
inline constexpr const char* Event = "The given event is a nullptr!";
inline constexpr const char* UpdateInformation = "The given updateInformation is a nullptr!";
inline constexpr const char* Pointer = "The given pointer is a null pointer!";
} // namespace nullptr_text

// Fixed descriptions used across the library.
namespace error_text {
inline constexpr const char* PointerExpired = "Pointer has expired!";
inline constexpr const char* InvalidNodeCast = "Invalid node cast!";
inline constexpr const char* NotInitialized = "Library is not initialized. Call orna::Library::Initalize() first!";
inline constexpr const char* LastErrorQuery = "Could not query the last error!";
} // namespace error_text

} // namespace orna::core
