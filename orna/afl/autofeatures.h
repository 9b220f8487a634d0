// The thin C++ layer over orna_afl.h: Manager, Controller and its Callback, raising error::Exception.
//
// A Manager owns the library's manager handle and keeps the shared controllers added to it (and the node map
// it was made for, alive). A Controller owns a controller handle of one type. A Controller::Callback holds a
// registering and an unregistering function and the user's function; destroying it unregisters it, and the
// library waits for a call under way before the unregistering returns, so the user's function is never
// called after the callback object is gone.
//
// Threads: as the C interface. The callbacks run on the thread of Process.
#pragma once

#include "orna/afl/orna_afl.h"

#include <functional>
#include <memory>
#include <vector>

namespace orna::core {
class NodeMap;
}
namespace orna::ipl {
class Gain;
class Image;
} // namespace orna::ipl

namespace orna::afl {

class Controller
{
public:
    explicit Controller(int type);
    ~Controller();
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    orna_afl_controller_handle GetHandle() const { return handle; }
    int GetType() const { return type; }

    template <typename F> class Callback
    {
    public:
        using Register = std::function<void(orna_afl_callback, void*)>;
        using Unregister = std::function<void()>;
        Callback(Register registerFunction, Unregister unregisterFunction, F function)
            : unregister(std::move(unregisterFunction)), user(std::move(function))
        {
            registerFunction(&Callback::Call, this);
        }
        ~Callback()
        {
            try
            {
                unregister();
            }
            catch (...)
            {
                // The handle is gone already: nothing can call this object any more.
            }
        }
        Callback(const Callback&) = delete;
        Callback& operator=(const Callback&) = delete;

    private:
        static void Call(void* context) { static_cast<Callback*>(context)->user(); }
        Unregister unregister;
        F user;
    };
    using FunctionCallback = Callback<std::function<void()>>;

    // The finished callback (kind 0) of the controller, and of one brightness component.
    std::unique_ptr<FunctionCallback> RegisterFinishedCallback(std::function<void()> function);
    std::unique_ptr<FunctionCallback> RegisterComponentCallback(int component, std::function<void()> function);

private:
    orna_afl_controller_handle handle = nullptr;
    int type;
};

class Manager
{
public:
    // Raises error::Exception ("Invalid node map handle!" for a null map).
    explicit Manager(std::shared_ptr<orna::core::NodeMap> nodeMap);
    ~Manager();
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    orna_afl_manager_handle GetHandle() const { return handle; }
    void AddController(const std::shared_ptr<Controller>& controller);
    void RemoveController(const std::shared_ptr<Controller>& controller);
    void DestroyAllController();
    void SetGainIPL(orna::ipl::Gain* gain);
    bool IsBusy() const;
    void Process(const orna::ipl::Image& image);

private:
    orna_afl_manager_handle handle = nullptr;
    std::shared_ptr<orna::core::NodeMap> nodeMap;
    std::vector<std::shared_ptr<Controller>> controllers;
};

} // namespace orna::afl
