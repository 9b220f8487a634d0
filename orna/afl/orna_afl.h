/* Auto feature library: C-style interface.
 *
 * Process-wide bring-up only for now; the brightness, white balance and focus controllers attach to this
 * state when they land. Every function returns an orna_afl_status; 0 is success. The text of the last
 * failure is kept per thread and read with orna_afl_GetLastError (size query with a null buffer first).
 *
 * Thread safety: Init/Exit on the GUI thread; GetLastError from any thread.
 */
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int orna_afl_status;

enum
{
    ORNA_AFL_STATUS_SUCCESS = 0,
    ORNA_AFL_STATUS_ERROR = 1,
    ORNA_AFL_STATUS_NOT_INITIALIZED = 2,
    ORNA_AFL_STATUS_ALREADY_INITIALIZED = 3,
    ORNA_AFL_STATUS_INVALID_ARGUMENT = 4,
    ORNA_AFL_STATUS_BUFFER_TOO_SMALL = 5,
};

orna_afl_status orna_afl_Init(void);
orna_afl_status orna_afl_Exit(void);
/* code receives the last failure's status; text (may be null) receives its message with size bytes room;
 * size receives the bytes needed including the terminating zero. */
orna_afl_status orna_afl_GetLastError(orna_afl_status* code, char* text, size_t* size);

#ifdef __cplusplus
}

#include <stdexcept>
#include <string>

namespace orna::afl::error {

// Raised by the C++ wrappers when a call returns a non-zero status; carries the status.
class Exception : public std::runtime_error
{
public:
    Exception(orna_afl_status code, const std::string& message) : std::runtime_error(message), m_code(code) {}
    orna_afl_status Code() const { return m_code; }

private:
    orna_afl_status m_code;
};

// Throws Exception with the library's last error text when status is not success.
void CheckStatus(orna_afl_status status);

} // namespace orna::afl::error
#endif
