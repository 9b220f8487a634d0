#include "orna/afl/orna_afl.h"

#include <atomic>
#include <cstring>
#include <string>

namespace {

std::atomic<bool> g_initialized{false};

struct LastError
{
    orna_afl_status code = ORNA_AFL_STATUS_SUCCESS;
    std::string text;
};
thread_local LastError t_lastError;

orna_afl_status Fail(orna_afl_status code, const char* text)
{
    t_lastError.code = code;
    t_lastError.text = text;
    return code;
}

} // namespace

extern "C" orna_afl_status orna_afl_Init(void)
{
    if (g_initialized.exchange(true))
        return Fail(ORNA_AFL_STATUS_ALREADY_INITIALIZED, "The auto feature library is already initialized.");
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_Exit(void)
{
    if (!g_initialized.exchange(false))
        return Fail(ORNA_AFL_STATUS_NOT_INITIALIZED, "The auto feature library is not initialized.");
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_GetLastError(orna_afl_status* code, char* text, size_t* size)
{
    if (!code || !size)
        return ORNA_AFL_STATUS_INVALID_ARGUMENT;
    *code = t_lastError.code;
    const size_t needed = t_lastError.text.size() + 1;
    if (!text)
    {
        *size = needed;
        return ORNA_AFL_STATUS_SUCCESS;
    }
    if (*size < needed)
    {
        *size = needed;
        return ORNA_AFL_STATUS_BUFFER_TOO_SMALL;
    }
    std::memcpy(text, t_lastError.text.c_str(), needed);
    *size = needed;
    return ORNA_AFL_STATUS_SUCCESS;
}

namespace orna::afl::error {

void CheckStatus(orna_afl_status status)
{
    if (status == ORNA_AFL_STATUS_SUCCESS)
        return;
    orna_afl_status code = status;
    size_t size = 0;
    std::string text;
    if (orna_afl_GetLastError(&code, nullptr, &size) == ORNA_AFL_STATUS_SUCCESS && size > 0)
    {
        text.assign(size, '\0');
        if (orna_afl_GetLastError(&code, text.data(), &size) == ORNA_AFL_STATUS_SUCCESS)
            text.resize(size - 1);
        else
            text.clear();
    }
    throw Exception(status, "[Error-Code: " + std::to_string(status) + "] " + text);
}

} // namespace orna::afl::error
