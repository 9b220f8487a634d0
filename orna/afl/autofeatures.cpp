#include "orna/afl/autofeatures.h"

#include "orna/core/nodemap.h"
#include "orna/ipl/image.h"

#include <algorithm>

namespace orna::afl {

using error::CheckStatus;

Controller::Controller(int type_) : type(type_)
{
    CheckStatus(orna_afl_AutoController_Create(&handle, type));
}

Controller::~Controller()
{
    orna_afl_AutoController_Destroy(handle);
}

std::unique_ptr<Controller::FunctionCallback> Controller::RegisterFinishedCallback(std::function<void()> function)
{
    const orna_afl_controller_handle h = handle;
    return std::make_unique<FunctionCallback>(
        [h](orna_afl_callback f, void* context) {
            CheckStatus(orna_afl_AutoController_Callback_Set(h, ORNA_AFL_CALLBACK_FINISHED, f, context));
        },
        [h] { orna_afl_AutoController_Callback_Set(h, ORNA_AFL_CALLBACK_FINISHED, nullptr, nullptr); },
        std::move(function));
}

std::unique_ptr<Controller::FunctionCallback> Controller::RegisterComponentCallback(int component,
                                                                                    std::function<void()> function)
{
    const orna_afl_controller_handle h = handle;
    return std::make_unique<FunctionCallback>(
        [h, component](orna_afl_callback f, void* context) {
            CheckStatus(orna_afl_AutoController_BrightnessComponent_Callback_Set(
                h, component, ORNA_AFL_CALLBACK_FINISHED, f, context));
        },
        [h, component] {
            orna_afl_AutoController_BrightnessComponent_Callback_Set(h, component, ORNA_AFL_CALLBACK_FINISHED, nullptr,
                                                                     nullptr);
        },
        std::move(function));
}

Manager::Manager(std::shared_ptr<orna::core::NodeMap> nodeMap_) : nodeMap(std::move(nodeMap_))
{
    CheckStatus(orna_afl_AutoFeatureManager_Create(&handle, nodeMap.get(), nullptr));
}

Manager::~Manager()
{
    orna_afl_AutoFeatureManager_DestroyAllController(handle);
    orna_afl_AutoFeatureManager_Destroy(handle);
}

void Manager::AddController(const std::shared_ptr<Controller>& controller)
{
    CheckStatus(orna_afl_AutoFeatureManager_AddController(handle, controller->GetHandle()));
    controllers.push_back(controller);
}

void Manager::RemoveController(const std::shared_ptr<Controller>& controller)
{
    CheckStatus(orna_afl_AutoFeatureManager_RemoveController(handle, controller->GetHandle()));
    controllers.erase(std::remove(controllers.begin(), controllers.end(), controller), controllers.end());
}

void Manager::DestroyAllController()
{
    CheckStatus(orna_afl_AutoFeatureManager_DestroyAllController(handle));
    controllers.clear();
}

void Manager::SetGainIPL(orna::ipl::Gain* gain)
{
    CheckStatus(orna_afl_AutoFeatureManager_SetGainIPL(handle, gain));
}

bool Manager::IsBusy() const
{
    int busy = 0;
    CheckStatus(orna_afl_AutoFeatureManager_Status(handle, &busy));
    return busy != 0;
}

void Manager::Process(const orna::ipl::Image& image)
{
    CheckStatus(orna_afl_AutoFeatureManager_Process(handle, const_cast<orna::ipl::Image*>(&image)));
}

} // namespace orna::afl
