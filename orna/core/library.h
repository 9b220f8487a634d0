// Bring-up of the device library.
//
// Initialize() once at program start, Close() once at the end, after every device handle is gone
// (MainWindow::ExitLibraries runs after all cameras are closed). Any operation of orna::core that needs
// the library calls Library::RequireInitialized() first.
//
// Thread safety: Initialize/Close are called on the GUI thread; IsInitialized and RequireInitialized may be
// called from any thread (atomic flag).
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace orna {

class Library
{
public:
    static constexpr uint32_t kVersionMajor = 1;
    static constexpr uint32_t kVersionMinor = 2;
    static constexpr uint32_t kVersionSubminor = 1;

    // Brings the backends up. A second call while initialised does nothing.
    static void Initialize();
    // Shuts the backends down (Aravis last). Closing a library that is not initialised raises
    // NotInitializedException.
    static void Close();
    static bool IsInitialized();
    // Raises NotInitializedException with the fixed text when Initialize() has not run.
    static void RequireInitialized();

    static uint32_t GetVersionMajor();
    static uint32_t GetVersionMinor();
    static uint32_t GetVersionSubminor();
    // "1.2.1 (Aravis 0.8.26)": our version, then the transport library it runs on.
    static std::string GetVersion();
    // The version of the Aravis library in use, "0.8.26".
    static std::string GetAravisVersion();

    // Backends register work to run inside Close() before Aravis shuts down (closing open systems,
    // stopping simulated cameras). Hooks run in reverse order of registration. Called on the GUI thread.
    static void AddShutdownHook(std::function<void()> hook);
};

} // namespace orna
