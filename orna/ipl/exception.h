// The exception family of the image library.
//
// Every failure inside orna::ipl leaves as one of these classes. The message is built by Raise() from a
// return code and a description, in the form
//     "[Error-Code: <n> (<NAME>) | Error-Description: <text>]"
// (the brackets set image-library messages apart from those of the device library). Callers above orna/
// catch orna::ipl::Exception (or std::exception) in the method that called the library.
//
// Thread safety: all functions may be called from any thread; the last error is kept per thread.
#pragma once

#include <stdexcept>
#include <string>

namespace orna::ipl {

enum class ReturnCode : int
{
    Success = 0,
    Error = 1,
    InvalidHandle = 2,
    IOError = 3,
    BufferTooSmall = 4,
    InvalidArgument = 5,
    OutOfRange = 6,
    ImageFormatNotSupported = 7,
    FormatInterpretationError = 8,
    // 9 has no class of its own; 10 to 12 have classes but no name in the code table.
    NotPermitted = 10,
    Busy = 11,
    Timeout = 12,
};

class Exception : public std::runtime_error
{
public:
    explicit Exception(const std::string& message) : std::runtime_error(message) {}
};

#define ORNA_IPL_EXCEPTION(Name)                                                                                       \
    class Name : public Exception                                                                                      \
    {                                                                                                                  \
    public:                                                                                                            \
        explicit Name(const std::string& message) : Exception(message) {}                                              \
    }

ORNA_IPL_EXCEPTION(InvalidHandleException);
ORNA_IPL_EXCEPTION(IOException);
ORNA_IPL_EXCEPTION(BufferTooSmallException);
ORNA_IPL_EXCEPTION(InvalidArgumentException);
ORNA_IPL_EXCEPTION(OutOfRangeException);
ORNA_IPL_EXCEPTION(ImageFormatNotSupportedException);
ORNA_IPL_EXCEPTION(ImageFormatInterpretationException);
ORNA_IPL_EXCEPTION(NotPermittedException);
ORNA_IPL_EXCEPTION(BusyException);
ORNA_IPL_EXCEPTION(TimeoutException);

#undef ORNA_IPL_EXCEPTION

// The name between the brackets of a message ("ORNA_IPL_RETURN_CODE_IO_ERROR"); empty for codes the table
// gives no name (9 to 12 and every unknown code).
std::string ReturnCodeName(int code);

// "[Error-Code: <n> (<NAME>) | Error-Description: <text>]"
std::string FormatErrorMessage(int code, const std::string& description);

// Records the error as this thread's last error and throws the class of the code table. Raise(0, ...) is a
// programming fault and throws orna::ipl::Exception with code 1.
[[noreturn]] void Raise(int code, const std::string& description);
[[noreturn]] inline void Raise(ReturnCode code, const std::string& description)
{
    Raise(static_cast<int>(code), description);
}

// The last error raised on the calling thread (code 0 and an empty text when none).
void GetLastError(int& code, std::string& description);
void ClearLastError();

} // namespace orna::ipl
