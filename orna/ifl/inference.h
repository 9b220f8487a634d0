/* Inference library: C-style interface.
 *
 * Bring-up only for now: inference_library_init checks that a network engine is usable on this host; the
 * model loading and work queue functions attach to this state when they land.
 *
 * Thread safety: init/exit on the GUI thread.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef int inference_status;

enum
{
    INFERENCE_STATUS_SUCCESS = 0,
    INFERENCE_STATUS_ERROR = 1,
    INFERENCE_STATUS_NOT_INITIALIZED = 2,
    INFERENCE_STATUS_NOT_IMPLEMENTED = 3,
    INFERENCE_STATUS_ACCESS_DENIED = 4,
    INFERENCE_STATUS_INVALID_HANDLE = 5,
    INFERENCE_STATUS_INVALID_PARAMETER = 6,
    INFERENCE_STATUS_OUT_OF_RANGE = 7,
    INFERENCE_STATUS_BUFFER_TOO_SMALL = 8,
    INFERENCE_STATUS_QUEUE_FULL = 0x9001,
    INFERENCE_STATUS_NO_ENGINE = 0x9002,
    INFERENCE_STATUS_FILE_NOT_FOUND = 0x9003,
    INFERENCE_STATUS_CANCELED = 0x9004,
};

inference_status inference_library_init(void);
inference_status inference_library_exit(void);
int inference_library_is_initialized(void);
/* The text of a status, in English ("Queue full"); never null. */
const char* inference_status_text(inference_status status);
/* The version of the image engine below the inference library ("4.6.0"); static text, never null, any thread. */
const char* inference_opencv_version(void);

#ifdef __cplusplus
}
#endif
