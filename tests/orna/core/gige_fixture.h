// Aravis' GigE Vision fake camera on loopback, run as a child process of the test.
//
// Every test that uses it first checks that the only network interface is "lo" (run the test through
// netns-run), so discovery broadcasts never leave the machine.
#pragma once

#include "orna/core/device.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <ifaddrs.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <thread>

extern char** environ;

namespace orna::core::test {

// Empty when only loopback exists, otherwise a reason to skip.
inline std::string LoopbackOnlyProblem()
{
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return "cannot list network interfaces";
    std::set<std::string> names;
    for (ifaddrs* it = list; it; it = it->ifa_next)
        names.insert(it->ifa_name);
    freeifaddrs(list);
    for (const auto& name : names)
    {
        if (name != "lo")
            return "network interface " + name +
                   " present: GigE discovery tests run only inside the loopback namespace "
                   "(/work/shared/tools/netns-run ctest -L gige)";
    }
    return {};
}

class FakeGvCamera
{
public:
    FakeGvCamera(std::string address, std::string serial) : m_address(std::move(address)), m_serial(std::move(serial))
    {
    }
    ~FakeGvCamera() { Kill(); }

    static bool Available() { return ::access("/usr/bin/arv-fake-gv-camera-0.8", X_OK) == 0; }

    // lostPerThousand > 0 makes the camera drop that share of its stream packets (resends included).
    bool Start(int lostPerThousand = 0)
    {
        const std::string ratio = std::to_string(lostPerThousand);
        const char* argv[] = {"arv-fake-gv-camera-0.8",
                              "-i",
                              m_address.c_str(),
                              "-s",
                              m_serial.c_str(),
                              lostPerThousand > 0 ? "-r" : nullptr,
                              ratio.c_str(),
                              nullptr};
        return posix_spawn(&m_pid, "/usr/bin/arv-fake-gv-camera-0.8", nullptr, nullptr, const_cast<char* const*>(argv),
                           environ) == 0;
    }
    void Kill()
    {
        if (m_pid > 0)
        {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
            m_pid = -1;
        }
    }
    const std::string& Serial() const { return m_serial; }

private:
    std::string m_address;
    std::string m_serial;
    pid_t m_pid = -1;
};

// Why a GigE test cannot run here (not inside the loopback namespace, or no Aravis fake camera); empty when it
// can.
inline std::string GigESkipReason()
{
    const std::string problem = LoopbackOnlyProblem();
    if (!problem.empty())
        return problem;
    if (!FakeGvCamera::Available())
        return "arv-fake-gv-camera-0.8 (package aravis-tools) is not installed";
    return {};
}

inline std::shared_ptr<DeviceDescriptor> FindBySerial(const std::shared_ptr<Interface>& iface,
                                                      const std::string& serial)
{
    for (const auto& device : iface->GetDevices())
    {
        if (device->GetSerialNumber() == serial)
            return device;
    }
    return nullptr;
}

// Runs discovery passes until a device with the serial appears; null when it did not within limit.
inline std::shared_ptr<DeviceDescriptor> WaitForDevice(const std::shared_ptr<Interface>& iface,
                                                       const std::string& serial, std::chrono::seconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline)
    {
        iface->UpdateDevices(1000);
        if (auto match = FindBySerial(iface, serial))
            return match;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    return nullptr;
}

// Runs discovery passes until no device with the serial is listed; false when it stayed within limit.
inline bool WaitForDeviceGone(const std::shared_ptr<Interface>& iface, const std::string& serial,
                              std::chrono::seconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline)
    {
        iface->UpdateDevices(1000);
        if (!FindBySerial(iface, serial))
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    return false;
}

// A second process (arv-camera-test) that takes control of a fake camera and keeps it while it streams.
class OtherProcessController
{
public:
    explicit OtherProcessController(std::string deviceId) : m_deviceId(std::move(deviceId)) {}
    ~OtherProcessController() { Stop(); }

    static bool Available() { return ::access("/usr/bin/arv-camera-test-0.8", X_OK) == 0; }

    // True once it streams (its first rate line), so it holds control by then; what it printed otherwise. On a
    // loaded machine it can miss the camera at its one discovery and quit: then it is started again.
    bool Start(std::chrono::seconds limit, std::string& said)
    {
        const std::string output = ::testing::TempDir() + "gige-other-process-" + m_deviceId + ".txt";
        std::remove(output.c_str());
        // Line-buffered through stdbuf: into a file, its lines would otherwise only appear when it exits.
        const char* argv[] = {"stdbuf", "-oL", "/usr/bin/arv-camera-test-0.8", "-n", m_deviceId.c_str(), nullptr};
        bool streaming = false;
        for (auto deadline = std::chrono::steady_clock::now() + limit;
             !streaming && std::chrono::steady_clock::now() < deadline;)
        {
            if (m_pid <= 0)
            {
                posix_spawn_file_actions_t actions;
                posix_spawn_file_actions_init(&actions);
                posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
                if (posix_spawn(&m_pid, "/usr/bin/stdbuf", &actions, nullptr, const_cast<char* const*>(argv),
                                environ) != 0)
                    m_pid = -1;
                posix_spawn_file_actions_destroy(&actions);
                if (m_pid <= 0)
                    return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            std::ifstream in(output);
            std::string line;
            said.clear();
            while (!streaming && std::getline(in, line))
            {
                said += line + "\n";
                streaming = line.find("frames/s") != std::string::npos;
            }
            if (!streaming && ::waitpid(m_pid, nullptr, WNOHANG) == m_pid)
                m_pid = -1;
        }
        std::remove(output.c_str());
        if (!streaming)
            Stop();
        return streaming;
    }
    void Stop()
    {
        if (m_pid > 0)
        {
            ::kill(m_pid, SIGINT);
            ::waitpid(m_pid, nullptr, 0);
            m_pid = -1;
        }
    }

private:
    std::string m_deviceId;
    pid_t m_pid = -1;
};

inline std::shared_ptr<Interface> OpenLoopbackInterface(std::shared_ptr<ProducerLibrary>& producer,
                                                        std::shared_ptr<System>& system)
{
    producer = ProducerLibrary::Construct("aravis:GigEVision");
    system = producer->GetSystem()->OpenSystem();
    system->UpdateInterfaces(100);
    auto descriptor = system->FindInterface("lo");
    return descriptor ? descriptor->OpenInterface() : nullptr;
}

} // namespace orna::core::test
