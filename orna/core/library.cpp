#include "orna/core/library.h"

#include "orna/core/detail/backend.h"
#include "orna/core/exception.h"
#include "orna/core/sim/simtransport.h"

#include <arv.h>

#include <atomic>
#include <mutex>
#include <vector>

namespace orna {

namespace {
std::atomic<bool> g_initialized{false};
// Guards g_shutdownHooks; Initialize/Close are GUI-thread calls but hooks may be added from a discovery job.
std::mutex g_hookMutex;
std::vector<std::function<void()>> g_shutdownHooks;
} // namespace

void Library::Initialize()
{
    if (g_initialized.exchange(true))
        return;
    // Transport providers are registered here, not by static initialisers, which a static library may drop.
    core::detail::InitializeAravisBackends();
    core::sim::RegisterSimTransport();
    AddShutdownHook([] { core::detail::ShutdownAravisBackends(); });
}

void Library::Close()
{
    if (!g_initialized.exchange(false))
        core::Raise(core::ReturnCode::NotInitialized, core::error_text::NotInitialized);
    std::vector<std::function<void()>> hooks;
    {
        std::lock_guard<std::mutex> lock(g_hookMutex);
        hooks.swap(g_shutdownHooks);
    }
    for (auto it = hooks.rbegin(); it != hooks.rend(); ++it)
    {
        try
        {
            (*it)();
        }
        catch (...)
        {
            // A failing backend must not keep the others (and Aravis) from shutting down.
        }
    }
    arv_shutdown();
}

bool Library::IsInitialized()
{
    return g_initialized.load();
}

void Library::RequireInitialized()
{
    if (!g_initialized.load())
        core::Raise(core::ReturnCode::NotInitialized, core::error_text::NotInitialized);
}

uint32_t Library::GetVersionMajor()
{
    RequireInitialized();
    return kVersionMajor;
}

uint32_t Library::GetVersionMinor()
{
    RequireInitialized();
    return kVersionMinor;
}

uint32_t Library::GetVersionSubminor()
{
    RequireInitialized();
    return kVersionSubminor;
}

std::string Library::GetAravisVersion()
{
    return std::to_string(arv_get_major_version()) + "." + std::to_string(arv_get_minor_version()) + "." +
           std::to_string(arv_get_micro_version());
}

std::string Library::GetVersion()
{
    return std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
           std::to_string(kVersionSubminor) + " (Aravis " + GetAravisVersion() + ")";
}

void Library::AddShutdownHook(std::function<void()> hook)
{
    std::lock_guard<std::mutex> lock(g_hookMutex);
    g_shutdownHooks.push_back(std::move(hook));
}

} // namespace orna
