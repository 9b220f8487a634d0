// The C interface of the auto feature library: handle registry, argument checks, the per-thread last error,
// and Process, which runs each controller's law (aflengine.cpp) and then its callbacks, with no lock held.
#include "orna/afl/orna_afl.h"

#include "orna/afl/aflconstants.h"
#include "orna/afl/aflengine.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <exception>
#include <mutex>
#include <string>
#include <unordered_map>

using namespace orna::afl::detail;
namespace k = orna::afl::constants;

namespace {

std::atomic<bool> g_initialized{false};

struct LastError
{
    orna_afl_status code = ORNA_AFL_STATUS_SUCCESS;
    std::string text;
};
thread_local LastError t_lastError;

orna_afl_status Fail(orna_afl_status code, const std::string& text)
{
    t_lastError.code = code;
    t_lastError.text = text;
    return code;
}

// Guards the two maps; the objects themselves have their own locks.
std::mutex g_registryMutex;
std::unordered_map<const void*, std::shared_ptr<Manager>> g_managers;
std::unordered_map<const void*, std::shared_ptr<Controller>> g_controllers;

std::shared_ptr<Manager> FindManager(orna_afl_manager_handle handle)
{
    std::lock_guard<std::mutex> lock(g_registryMutex);
    auto it = g_managers.find(handle);
    return it == g_managers.end() ? nullptr : it->second;
}

std::shared_ptr<Controller> FindController(orna_afl_controller_handle handle)
{
    std::lock_guard<std::mutex> lock(g_registryMutex);
    auto it = g_controllers.find(handle);
    return it == g_controllers.end() ? nullptr : it->second;
}

orna_afl_status InvalidHandle()
{
    return Fail(ORNA_AFL_STATUS_INVALID_HANDLE, "Invalid handle!");
}

orna_afl_status NullArgument()
{
    return Fail(ORNA_AFL_STATUS_INVALID_ARGUMENT, "A required pointer argument is null.");
}

orna_afl_status NotSupported(const Controller& c, const char* what)
{
    return Fail(ORNA_AFL_STATUS_NOT_SUPPORTED,
                std::string(what) + " is not supported by a controller of type " + std::to_string(c.type) + ".");
}

// Runs body with the controller locked; the handle and the out pointer are checked first.
template <typename Body> orna_afl_status WithController(orna_afl_controller_handle handle, const void* out, Body body)
{
    if (!out)
        return NullArgument();
    auto c = FindController(handle);
    if (!c)
        return InvalidHandle();
    try
    {
        std::lock_guard<std::mutex> lock(c->mutex);
        return body(*c);
    }
    catch (const std::exception& e)
    {
        return Fail(ORNA_AFL_STATUS_ERROR, e.what());
    }
}

const int kNoPointer = 0;

orna_afl_status SetInRange(double value, double minimum, double maximum, double& field, const char* name)
{
    if (!(value >= minimum && value <= maximum))
        return Fail(ORNA_AFL_STATUS_OUT_OF_RANGE, std::string(name) + " " + std::to_string(value) + " is outside " +
                                                      std::to_string(minimum) + " .. " + std::to_string(maximum) + ".");
    field = value;
    return ORNA_AFL_STATUS_SUCCESS;
}

bool ValidMode(int mode)
{
    return mode == ORNA_AFL_MODE_OFF || mode == ORNA_AFL_MODE_ONCE || mode == ORNA_AFL_MODE_CONTINUOUS;
}

bool ValidComponent(int component)
{
    return component == ORNA_AFL_COMPONENT_EXPOSURE || component == ORNA_AFL_COMPONENT_GAIN;
}

orna::core::NodeMap* NodeMapOf(const Controller& c)
{
    auto owner = c.owner.lock();
    return owner ? owner->nodeMap : nullptr;
}

} // namespace

// --- Library

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

// --- Manager

extern "C" orna_afl_status orna_afl_AutoFeatureManager_Create(orna_afl_manager_handle* handle,
                                                              orna_afl_nodemap_handle nodeMap, orna_afl_status* status)
{
    auto result = [status](orna_afl_status s) {
        if (status)
            *status = s;
        return s;
    };
    if (!handle)
        return result(NullArgument());
    if (!nodeMap)
        return result(Fail(ORNA_AFL_STATUS_INVALID_ARGUMENT, "Invalid node map handle!"));
    auto manager = std::make_shared<Manager>();
    manager->nodeMap = static_cast<orna::core::NodeMap*>(nodeMap);
    {
        std::lock_guard<std::mutex> lock(g_registryMutex);
        g_managers[manager.get()] = manager;
    }
    *handle = reinterpret_cast<orna_afl_manager_handle>(manager.get());
    return result(ORNA_AFL_STATUS_SUCCESS);
}

static void DetachAll(Manager& m)
{
    std::vector<std::shared_ptr<Controller>> list;
    {
        std::lock_guard<std::mutex> lock(m.mutex);
        list.swap(m.controllers);
    }
    for (auto& c : list)
    {
        std::lock_guard<std::mutex> lock(c->mutex);
        c->owner.reset();
    }
}

extern "C" orna_afl_status orna_afl_AutoFeatureManager_Destroy(orna_afl_manager_handle handle)
{
    std::shared_ptr<Manager> m;
    {
        std::lock_guard<std::mutex> lock(g_registryMutex);
        auto it = g_managers.find(handle);
        if (it == g_managers.end())
            return InvalidHandle();
        m = it->second;
        g_managers.erase(it);
    }
    DetachAll(*m);
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoFeatureManager_DestroyAllController(orna_afl_manager_handle handle)
{
    auto m = FindManager(handle);
    if (!m)
        return InvalidHandle();
    std::vector<std::shared_ptr<Controller>> list;
    {
        std::lock_guard<std::mutex> lock(m->mutex);
        list = m->controllers;
    }
    DetachAll(*m);
    std::lock_guard<std::mutex> lock(g_registryMutex);
    for (auto& c : list)
        g_controllers.erase(c.get());
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoFeatureManager_AddController(orna_afl_manager_handle handle,
                                                                     orna_afl_controller_handle controller)
{
    auto m = FindManager(handle);
    auto c = FindController(controller);
    if (!m || !c)
        return InvalidHandle();
    {
        std::lock_guard<std::mutex> lock(c->mutex);
        if (!c->owner.expired())
            return Fail(ORNA_AFL_STATUS_INVALID_ARGUMENT, "The controller belongs to a manager already.");
        c->owner = m;
    }
    std::lock_guard<std::mutex> lock(m->mutex);
    m->controllers.push_back(c);
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoFeatureManager_RemoveController(orna_afl_manager_handle handle,
                                                                        orna_afl_controller_handle controller)
{
    auto m = FindManager(handle);
    auto c = FindController(controller);
    if (!m || !c)
        return InvalidHandle();
    {
        std::lock_guard<std::mutex> lock(m->mutex);
        auto it = std::find(m->controllers.begin(), m->controllers.end(), c);
        if (it == m->controllers.end())
            return Fail(ORNA_AFL_STATUS_INVALID_ARGUMENT, "The controller does not belong to this manager.");
        m->controllers.erase(it);
    }
    std::lock_guard<std::mutex> lock(c->mutex);
    c->owner.reset();
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoFeatureManager_SetGainIPL(orna_afl_manager_handle handle,
                                                                  orna_afl_gain_handle gain)
{
    auto m = FindManager(handle);
    if (!m)
        return InvalidHandle();
    m->gain = static_cast<orna::ipl::Gain*>(gain);
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoFeatureManager_Status(orna_afl_manager_handle handle, int* busy)
{
    if (!busy)
        return NullArgument();
    auto m = FindManager(handle);
    if (!m)
        return InvalidHandle();
    *busy = m->busy.load() ? 1 : 0;
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoFeatureManager_Process(orna_afl_manager_handle handle,
                                                               orna_afl_image_handle imageHandle)
{
    auto m = FindManager(handle);
    if (!m)
        return InvalidHandle();
    if (!imageHandle)
        return NullArgument();
    if (m->busy.exchange(true))
        return Fail(ORNA_AFL_STATUS_BUSY, "The auto feature manager is busy.");
    struct Idle
    {
        Manager& m;
        ~Idle() { m.busy = false; }
    } idle{*m};

    const auto& image = *static_cast<const orna::ipl::Image*>(imageHandle);
    if (image.IsEmpty() || image.GetWidth() == 0 || image.GetHeight() == 0)
        return Fail(ORNA_AFL_STATUS_INVALID_ARGUMENT, "The image is empty.");
    std::string reason;
    if (!IsProcessable(image.GetPixelFormat(), &reason))
    {
        // Refused once per format with its reason; later frames of it are passed over quietly.
        if (m->refusedFormats.insert(image.GetPixelFormat()).second)
            return Fail(ORNA_AFL_STATUS_FORMAT_NOT_SUPPORTED, "The auto features refuse the image: " + reason + ".");
        return ORNA_AFL_STATUS_SUCCESS;
    }
    std::vector<std::shared_ptr<Controller>> list;
    {
        std::lock_guard<std::mutex> lock(m->mutex);
        list = m->controllers;
    }
    std::string failure;
    for (auto& c : list)
    {
        Pending pending;
        std::string text;
        try
        {
            if (c->type == ORNA_AFL_CONTROLLER_BRIGHTNESS)
                text = RunBrightness(*m, *c, image, pending);
            else if (c->type == ORNA_AFL_CONTROLLER_WHITE_BALANCE)
                text = RunWhiteBalance(*m, *c, image, pending);
        }
        catch (const std::exception& e)
        {
            text = e.what();
        }
        if (failure.empty())
            failure = text;
        // Only the slot lock is held here: a callback may read the controller again.
        for (int slot : pending)
        {
            std::lock_guard<std::mutex> lock(c->callbackMutex);
            const CallbackSlot current = c->slots[slot];
            if (current.function)
                current.function(current.context);
        }
    }
    if (!failure.empty())
        return Fail(ORNA_AFL_STATUS_NODE_ACCESS, failure);
    return ORNA_AFL_STATUS_SUCCESS;
}

// --- Controllers

extern "C" orna_afl_status orna_afl_AutoController_Create(orna_afl_controller_handle* handle, int type)
{
    if (!handle)
        return NullArgument();
    if (type != ORNA_AFL_CONTROLLER_BRIGHTNESS && type != ORNA_AFL_CONTROLLER_WHITE_BALANCE)
        return Fail(ORNA_AFL_STATUS_NOT_SUPPORTED,
                    "Auto controllers of type " + std::to_string(type) + " are not supported.");
    auto c = std::make_shared<Controller>(type);
    {
        std::lock_guard<std::mutex> lock(g_registryMutex);
        g_controllers[c.get()] = c;
    }
    *handle = reinterpret_cast<orna_afl_controller_handle>(c.get());
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoController_Destroy(orna_afl_controller_handle handle)
{
    std::shared_ptr<Controller> c;
    {
        std::lock_guard<std::mutex> lock(g_registryMutex);
        auto it = g_controllers.find(handle);
        if (it == g_controllers.end())
            return InvalidHandle();
        c = it->second;
        g_controllers.erase(it);
    }
    std::shared_ptr<Manager> owner;
    {
        std::lock_guard<std::mutex> lock(c->mutex);
        owner = c->owner.lock();
        c->owner.reset();
    }
    if (owner)
    {
        std::lock_guard<std::mutex> lock(owner->mutex);
        owner->controllers.erase(std::remove(owner->controllers.begin(), owner->controllers.end(), c),
                                 owner->controllers.end());
    }
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoController_GetType(orna_afl_controller_handle handle, int* type)
{
    return WithController(handle, type, [&](Controller& c) -> orna_afl_status {
        *type = c.type;
        return ORNA_AFL_STATUS_SUCCESS;
    });
}

extern "C" orna_afl_status orna_afl_AutoController_Mode_Get(orna_afl_controller_handle handle, int* mode)
{
    return WithController(handle, mode, [&](Controller& c) -> orna_afl_status {
        if (c.type == ORNA_AFL_CONTROLLER_BRIGHTNESS)
        {
            const int a = c.mode[ORNA_AFL_COMPONENT_EXPOSURE], b = c.mode[ORNA_AFL_COMPONENT_GAIN];
            *mode = (a == ORNA_AFL_MODE_CONTINUOUS || b == ORNA_AFL_MODE_CONTINUOUS) ? ORNA_AFL_MODE_CONTINUOUS
                    : (a == ORNA_AFL_MODE_ONCE || b == ORNA_AFL_MODE_ONCE)           ? ORNA_AFL_MODE_ONCE
                                                                                     : ORNA_AFL_MODE_OFF;
        }
        else
        {
            *mode = c.mode[0];
        }
        return ORNA_AFL_STATUS_SUCCESS;
    });
}

static orna_afl_status SetMode(Controller& c, int slot, int mode)
{
    if (!ValidMode(mode))
        return Fail(ORNA_AFL_STATUS_OUT_OF_RANGE, "Invalid auto mode " + std::to_string(mode) + ".");
    if (c.mode[slot] != mode)
    {
        c.mode[slot] = mode;
        // A new run starts measuring at once.
        c.ResetRun();
    }
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoController_Mode_Set(orna_afl_controller_handle handle, int mode)
{
    return WithController(handle, &kNoPointer, [&](Controller& c) -> orna_afl_status {
        if (c.type != ORNA_AFL_CONTROLLER_BRIGHTNESS)
            return SetMode(c, 0, mode);
        orna_afl_status s = SetMode(c, ORNA_AFL_COMPONENT_EXPOSURE, mode);
        return s != ORNA_AFL_STATUS_SUCCESS ? s : SetMode(c, ORNA_AFL_COMPONENT_GAIN, mode);
    });
}

extern "C" orna_afl_status
orna_afl_AutoController_BrightnessComponent_Mode_IsSupported(orna_afl_controller_handle handle, int component,
                                                             int* supported)
{
    if (!supported)
        return NullArgument();
    auto c = FindController(handle);
    if (!c)
        return InvalidHandle();
    if (c->type != ORNA_AFL_CONTROLLER_BRIGHTNESS)
        return NotSupported(*c, "A brightness component");
    if (!ValidComponent(component))
        return Fail(ORNA_AFL_STATUS_OUT_OF_RANGE, "Invalid brightness component " + std::to_string(component) + ".");
    orna::core::NodeMap* map;
    {
        std::lock_guard<std::mutex> lock(c->mutex);
        map = NodeMapOf(*c);
    }
    // The node map is asked without the controller's lock: its own lock may be held by a writer.
    *supported = HasComponentNode(map, component) ? 1 : 0;
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoController_BrightnessComponent_Mode_Get(orna_afl_controller_handle handle,
                                                                                int component, int* mode)
{
    return WithController(handle, mode, [&](Controller& c) -> orna_afl_status {
        if (c.type != ORNA_AFL_CONTROLLER_BRIGHTNESS)
            return NotSupported(c, "A brightness component");
        if (!ValidComponent(component))
            return Fail(ORNA_AFL_STATUS_OUT_OF_RANGE, "Invalid brightness component.");
        *mode = c.mode[component];
        return ORNA_AFL_STATUS_SUCCESS;
    });
}

extern "C" orna_afl_status orna_afl_AutoController_BrightnessComponent_Mode_Set(orna_afl_controller_handle handle,
                                                                                int component, int mode)
{
    return WithController(handle, &kNoPointer, [&](Controller& c) -> orna_afl_status {
        if (c.type != ORNA_AFL_CONTROLLER_BRIGHTNESS)
            return NotSupported(c, "A brightness component");
        if (!ValidComponent(component))
            return Fail(ORNA_AFL_STATUS_OUT_OF_RANGE, "Invalid brightness component.");
        return SetMode(c, component, mode);
    });
}

extern "C" orna_afl_status orna_afl_AutoController_Callback_Set(orna_afl_controller_handle handle, int kind,
                                                                orna_afl_callback function, void* context)
{
    auto c = FindController(handle);
    if (!c)
        return InvalidHandle();
    if (kind != ORNA_AFL_CALLBACK_FINISHED)
        return Fail(ORNA_AFL_STATUS_OUT_OF_RANGE, "Invalid callback kind " + std::to_string(kind) + ".");
    std::lock_guard<std::mutex> lock(c->callbackMutex);
    c->slots[0] = CallbackSlot{function, function ? context : nullptr};
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoController_BrightnessComponent_Callback_Set(orna_afl_controller_handle handle,
                                                                                    int component, int kind,
                                                                                    orna_afl_callback function,
                                                                                    void* context)
{
    auto c = FindController(handle);
    if (!c)
        return InvalidHandle();
    if (c->type != ORNA_AFL_CONTROLLER_BRIGHTNESS)
        return NotSupported(*c, "A brightness component");
    if (!ValidComponent(component) || kind != ORNA_AFL_CALLBACK_FINISHED)
        return Fail(ORNA_AFL_STATUS_OUT_OF_RANGE, "Invalid brightness component or callback kind.");
    std::lock_guard<std::mutex> lock(c->callbackMutex);
    c->slots[component] = CallbackSlot{function, function ? context : nullptr};
    return ORNA_AFL_STATUS_SUCCESS;
}

extern "C" orna_afl_status orna_afl_AutoController_SkipFrames_Get(orna_afl_controller_handle handle, int32_t* frames)
{
    return WithController(handle, frames, [&](Controller& c) -> orna_afl_status {
        *frames = c.skipFrames;
        return ORNA_AFL_STATUS_SUCCESS;
    });
}

extern "C" orna_afl_status orna_afl_AutoController_SkipFrames_Set(orna_afl_controller_handle handle, int32_t frames)
{
    return WithController(handle, &kNoPointer, [&](Controller& c) -> orna_afl_status {
        if (frames < k::kSkipFramesMin || frames > k::kSkipFramesMax)
            return Fail(ORNA_AFL_STATUS_OUT_OF_RANGE, "Skip frames " + std::to_string(frames) + " is out of range.");
        c.skipFrames = frames;
        c.skipLeft = std::min(c.skipLeft, frames);
        return ORNA_AFL_STATUS_SUCCESS;
    });
}

extern "C" orna_afl_status orna_afl_AutoController_SkipFrames_GetRange(orna_afl_controller_handle handle,
                                                                       int32_t* minimum, int32_t* maximum,
                                                                       int32_t* increment)
{
    if (!maximum || !increment)
        return NullArgument();
    return WithController(handle, minimum, [&](Controller&) -> orna_afl_status {
        *minimum = k::kSkipFramesMin;
        *maximum = k::kSkipFramesMax;
        *increment = 1;
        return ORNA_AFL_STATUS_SUCCESS;
    });
}

extern "C" orna_afl_status orna_afl_AutoController_ROI_Get(orna_afl_controller_handle handle, orna_afl_roi* roi)
{
    return WithController(handle, roi, [&](Controller& c) -> orna_afl_status {
        *roi = c.roi;
        return ORNA_AFL_STATUS_SUCCESS;
    });
}

extern "C" orna_afl_status orna_afl_AutoController_ROI_Set(orna_afl_controller_handle handle, const orna_afl_roi* roi)
{
    return WithController(handle, roi, [&](Controller& c) -> orna_afl_status {
        if (roi->x < 0 || roi->y < 0 || roi->width < 0 || roi->height < 0)
            return Fail(ORNA_AFL_STATUS_OUT_OF_RANGE, "A ROI has no negative coordinates.");
        c.roi = *roi;
        return ORNA_AFL_STATUS_SUCCESS;
    });
}

// The three brightness parameters share one shape.
#define ORNA_AFL_BRIGHTNESS_PARAMETER(Name, field, kMin, kMax, kInc)                                                   \
    extern "C" orna_afl_status orna_afl_AutoController_##Name##_IsSupported(orna_afl_controller_handle handle,         \
                                                                            int* supported)                            \
    {                                                                                                                  \
        return WithController(handle, supported, [&](Controller& c) -> orna_afl_status {                               \
            *supported = c.type == ORNA_AFL_CONTROLLER_BRIGHTNESS ? 1 : 0;                                             \
            return ORNA_AFL_STATUS_SUCCESS;                                                                            \
        });                                                                                                            \
    }                                                                                                                  \
    extern "C" orna_afl_status orna_afl_AutoController_##Name##_Get(orna_afl_controller_handle handle, double* value)  \
    {                                                                                                                  \
        return WithController(handle, value, [&](Controller& c) -> orna_afl_status {                                   \
            if (c.type != ORNA_AFL_CONTROLLER_BRIGHTNESS)                                                              \
                return NotSupported(c, #Name);                                                                         \
            *value = c.field;                                                                                          \
            return ORNA_AFL_STATUS_SUCCESS;                                                                            \
        });                                                                                                            \
    }                                                                                                                  \
    extern "C" orna_afl_status orna_afl_AutoController_##Name##_Set(orna_afl_controller_handle handle, double value)   \
    {                                                                                                                  \
        return WithController(handle, &kNoPointer, [&](Controller& c) -> orna_afl_status {                             \
            if (c.type != ORNA_AFL_CONTROLLER_BRIGHTNESS)                                                              \
                return NotSupported(c, #Name);                                                                         \
            return SetInRange(value, kMin, kMax, c.field, #Name);                                                      \
        });                                                                                                            \
    }                                                                                                                  \
    extern "C" orna_afl_status orna_afl_AutoController_##Name##_GetRange(                                              \
        orna_afl_controller_handle handle, double* minimum, double* maximum, double* increment)                        \
    {                                                                                                                  \
        if (!maximum || !increment)                                                                                    \
            return NullArgument();                                                                                     \
        return WithController(handle, minimum, [&](Controller& c) -> orna_afl_status {                                 \
            if (c.type != ORNA_AFL_CONTROLLER_BRIGHTNESS)                                                              \
                return NotSupported(c, #Name);                                                                         \
            *minimum = kMin;                                                                                           \
            *maximum = kMax;                                                                                           \
            *increment = kInc;                                                                                         \
            return ORNA_AFL_STATUS_SUCCESS;                                                                            \
        });                                                                                                            \
    }

ORNA_AFL_BRIGHTNESS_PARAMETER(AutoPercentile, percentile, k::kPercentileMin, k::kPercentileMax, k::kPercentileIncrement)
ORNA_AFL_BRIGHTNESS_PARAMETER(AutoTarget, target, k::kTargetMin, k::kTargetMax, k::kTargetIncrement)
ORNA_AFL_BRIGHTNESS_PARAMETER(AutoTolerance, tolerance, k::kToleranceMin, k::kToleranceMax, k::kToleranceIncrement)

// --- C++ error helper

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
