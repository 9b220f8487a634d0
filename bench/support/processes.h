// Helpers the end-to-end benchmarks share for driving Aravis' command-line tools (fake GigE camera, the
// arv-camera-test baseline) as child processes. Benchmark main thread only.
#pragma once

#include <fcntl.h>
#include <ifaddrs.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace benchsupport {

// True when lo is the only interface: GigE discovery broadcasts, so these runs belong in the loopback namespace.
inline bool LoopbackOnly()
{
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return false;
    bool only = true;
    for (ifaddrs* it = list; it; it = it->ifa_next)
        only = only && std::string(it->ifa_name) == "lo";
    freeifaddrs(list);
    return only;
}

// Starts args[0] with the rest as arguments; stdout goes to output when given. Returns -1 on failure.
inline pid_t Spawn(const std::vector<std::string>& args, const std::string& output = {})
{
    std::vector<char*> argv;
    for (const auto& a : args)
        argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (!output.empty())
        posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = -1;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0)
        pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

// Sends the signal and reaps the child.
inline void StopProcess(pid_t pid, int signal)
{
    if (pid <= 0)
        return;
    ::kill(pid, signal);
    ::waitpid(pid, nullptr, 0);
}

// The baseline of the GigE benchmarks: arv-camera-test-0.8 on the fake camera with this serial, 2048 x 2048 at
// up to 1000 frames/s with the packet size, for `run` plus a few seconds. Its mean rate in frames/s over the
// once-a-second lines, the first two (start-up) left out; 0 when it gave too few.
inline double RunArvCameraTest(const std::string& serial, int packetSize, std::chrono::seconds run,
                               const std::string& output)
{
    pid_t pid = Spawn({"/usr/bin/arv-camera-test-0.8", "-n", "Aravis-Fake-" + serial, "-w", "2048", "-h", "2048", "-i",
                       std::to_string(packetSize), "-f", "1000"},
                      output);
    if (pid <= 0)
        return 0;
    std::this_thread::sleep_for(run + std::chrono::seconds(3));
    StopProcess(pid, SIGINT);
    std::ifstream in(output);
    std::string line;
    std::vector<double> rates;
    while (std::getline(in, line))
    {
        double rate = 0;
        if (std::sscanf(line.c_str(), " %lf frames/s", &rate) == 1)
            rates.push_back(rate);
    }
    std::remove(output.c_str());
    if (rates.size() < 3)
        return 0;
    double sum = 0;
    for (size_t i = 2; i < rates.size(); ++i)
        sum += rates[i];
    return sum / double(rates.size() - 2);
}

} // namespace benchsupport
