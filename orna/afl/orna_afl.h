/* Auto feature library: C-style interface.
 *
 * A manager (orna_afl_manager_handle) is made for one camera's node map; controllers (brightness 1, white
 * balance 2) are made by type, added to a manager and driven by orna_afl_AutoFeatureManager_Process, which
 * looks at one image and writes camera nodes (ExposureTime, Gain) or the host gains of the orna::ipl::Gain
 * given by SetGainIPL. The laws, ranges and defaults are in orna/afl/aflconstants.h and docs/autofeatures.md.
 *
 * Every function returns an orna_afl_status; 0 is success. The text of the last failure is kept per thread
 * and read with orna_afl_GetLastError (size query with a null buffer first). Lists are read the same way:
 * a null buffer asks for the count, then a buffer of that count takes the entries.
 *
 * Handles are opaque; a handle that is not (or no longer) alive is refused with ORNA_AFL_STATUS_INVALID_HANDLE.
 * Callbacks (kind 0: finished) run on the thread that called Process, after the library released its locks,
 * so a callback may call any getter; it must not call Process.
 *
 * Thread safety: Init/Exit on the GUI thread. Every other function may be called from any thread; Process
 * runs one at a time per manager (a second caller gets ORNA_AFL_STATUS_BUSY), and a parameter written during
 * a Process is seen by the next one.
 */
#pragma once

#include <stddef.h>
#include <stdint.h>

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
    ORNA_AFL_STATUS_INVALID_HANDLE = 6,
    ORNA_AFL_STATUS_NOT_SUPPORTED = 7,
    ORNA_AFL_STATUS_OUT_OF_RANGE = 8,
    ORNA_AFL_STATUS_BUSY = 9,
    ORNA_AFL_STATUS_FORMAT_NOT_SUPPORTED = 10,
    ORNA_AFL_STATUS_NODE_ACCESS = 11,
};

enum
{
    ORNA_AFL_CONTROLLER_BRIGHTNESS = 1,
    ORNA_AFL_CONTROLLER_WHITE_BALANCE = 2,
    ORNA_AFL_CONTROLLER_FOCUS = 5,
};

enum
{
    ORNA_AFL_MODE_OFF = 0,
    ORNA_AFL_MODE_ONCE = 1,
    ORNA_AFL_MODE_CONTINUOUS = 2,
};

enum
{
    ORNA_AFL_COMPONENT_EXPOSURE = 1,
    ORNA_AFL_COMPONENT_GAIN = 2,
};

enum
{
    ORNA_AFL_CALLBACK_FINISHED = 0,
};

typedef struct orna_afl_manager* orna_afl_manager_handle;
typedef struct orna_afl_controller* orna_afl_controller_handle;
/* An orna::core::NodeMap*, an orna::ipl::Gain*, an orna::ipl::Image*: the library's own C++ objects. The
 * node map and the gain must outlive the manager; the image is only read during Process. */
typedef void* orna_afl_nodemap_handle;
typedef void* orna_afl_gain_handle;
typedef void* orna_afl_image_handle;
typedef void (*orna_afl_callback)(void* context);

typedef struct
{
    int64_t x;
    int64_t y;
    int64_t width;
    int64_t height;
} orna_afl_roi;

orna_afl_status orna_afl_Init(void);
orna_afl_status orna_afl_Exit(void);
/* code receives the last failure's status; text (may be null) receives its message with size bytes room;
 * size receives the bytes needed including the terminating zero. */
orna_afl_status orna_afl_GetLastError(orna_afl_status* code, char* text, size_t* size);

/* --- Manager */
/* status (may be null) receives the same value as the result. A null node map is refused with
 * "Invalid node map handle!". */
orna_afl_status orna_afl_AutoFeatureManager_Create(orna_afl_manager_handle* manager, orna_afl_nodemap_handle nodeMap,
                                                   orna_afl_status* status);
orna_afl_status orna_afl_AutoFeatureManager_Destroy(orna_afl_manager_handle manager);
orna_afl_status orna_afl_AutoFeatureManager_DestroyAllController(orna_afl_manager_handle manager);
orna_afl_status orna_afl_AutoFeatureManager_AddController(orna_afl_manager_handle manager,
                                                          orna_afl_controller_handle controller);
orna_afl_status orna_afl_AutoFeatureManager_RemoveController(orna_afl_manager_handle manager,
                                                             orna_afl_controller_handle controller);
/* Null unbinds: the white balance then has nothing to write and stays as it is. */
orna_afl_status orna_afl_AutoFeatureManager_SetGainIPL(orna_afl_manager_handle manager, orna_afl_gain_handle gain);
/* busy receives 1 while a Process runs. */
orna_afl_status orna_afl_AutoFeatureManager_Status(orna_afl_manager_handle manager, int* busy);
/* Runs every controller that is not Off once on the image, on the calling thread. */
orna_afl_status orna_afl_AutoFeatureManager_Process(orna_afl_manager_handle manager, orna_afl_image_handle image);

/* --- Controllers */
orna_afl_status orna_afl_AutoController_Create(orna_afl_controller_handle* controller, int type);
/* Also removes the controller from a manager that holds it. */
orna_afl_status orna_afl_AutoController_Destroy(orna_afl_controller_handle controller);
orna_afl_status orna_afl_AutoController_GetType(orna_afl_controller_handle controller, int* type);
/* Brightness: Set writes both components; Get reads Continuous when one is, else Once when one is, else Off. */
orna_afl_status orna_afl_AutoController_Mode_Get(orna_afl_controller_handle controller, int* mode);
orna_afl_status orna_afl_AutoController_Mode_Set(orna_afl_controller_handle controller, int mode);
/* A component is supported when the controller is added to a manager whose node map has a writable node for
 * it (ExposureTime or ExposureTimeAbs; Gain). */
orna_afl_status orna_afl_AutoController_BrightnessComponent_Mode_IsSupported(orna_afl_controller_handle controller,
                                                                             int component, int* supported);
orna_afl_status orna_afl_AutoController_BrightnessComponent_Mode_Get(orna_afl_controller_handle controller,
                                                                     int component, int* mode);
orna_afl_status orna_afl_AutoController_BrightnessComponent_Mode_Set(orna_afl_controller_handle controller,
                                                                     int component, int mode);
/* A null function removes the callback of that kind. */
orna_afl_status orna_afl_AutoController_Callback_Set(orna_afl_controller_handle controller, int kind,
                                                     orna_afl_callback function, void* context);
orna_afl_status orna_afl_AutoController_BrightnessComponent_Callback_Set(orna_afl_controller_handle controller,
                                                                         int component, int kind,
                                                                         orna_afl_callback function, void* context);
orna_afl_status orna_afl_AutoController_SkipFrames_Get(orna_afl_controller_handle controller, int32_t* frames);
orna_afl_status orna_afl_AutoController_SkipFrames_Set(orna_afl_controller_handle controller, int32_t frames);
orna_afl_status orna_afl_AutoController_SkipFrames_GetRange(orna_afl_controller_handle controller, int32_t* minimum,
                                                            int32_t* maximum, int32_t* increment);
/* The ROI in the coordinates of the processed images; a width or height of 0 means the whole image. Process
 * clamps it into each image. */
orna_afl_status orna_afl_AutoController_ROI_Get(orna_afl_controller_handle controller, orna_afl_roi* roi);
orna_afl_status orna_afl_AutoController_ROI_Set(orna_afl_controller_handle controller, const orna_afl_roi* roi);
/* Brightness only: the percentile (%) of the ROI's grey histogram that is measured, the target level (0..255
 * of full scale) and the tolerance around it. */
orna_afl_status orna_afl_AutoController_AutoPercentile_IsSupported(orna_afl_controller_handle controller,
                                                                   int* supported);
orna_afl_status orna_afl_AutoController_AutoPercentile_Get(orna_afl_controller_handle controller, double* value);
orna_afl_status orna_afl_AutoController_AutoPercentile_Set(orna_afl_controller_handle controller, double value);
orna_afl_status orna_afl_AutoController_AutoPercentile_GetRange(orna_afl_controller_handle controller, double* minimum,
                                                                double* maximum, double* increment);
orna_afl_status orna_afl_AutoController_AutoTarget_IsSupported(orna_afl_controller_handle controller, int* supported);
orna_afl_status orna_afl_AutoController_AutoTarget_Get(orna_afl_controller_handle controller, double* value);
orna_afl_status orna_afl_AutoController_AutoTarget_Set(orna_afl_controller_handle controller, double value);
orna_afl_status orna_afl_AutoController_AutoTarget_GetRange(orna_afl_controller_handle controller, double* minimum,
                                                            double* maximum, double* increment);
orna_afl_status orna_afl_AutoController_AutoTolerance_IsSupported(orna_afl_controller_handle controller,
                                                                  int* supported);
orna_afl_status orna_afl_AutoController_AutoTolerance_Get(orna_afl_controller_handle controller, double* value);
orna_afl_status orna_afl_AutoController_AutoTolerance_Set(orna_afl_controller_handle controller, double value);
orna_afl_status orna_afl_AutoController_AutoTolerance_GetRange(orna_afl_controller_handle controller, double* minimum,
                                                               double* maximum, double* increment);

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
