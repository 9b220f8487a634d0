#pragma once
// The "sim:" producer: the simulated cameras of SimCameraRegistry behind the device library's backend
// interfaces (one system, one interface, one device per camera). Registered by orna::Library::Initialize
// through RegisterSimTransport, so the static library's objects are always linked.
//
// Threads: the transport, device and stream objects may be called from any thread; each class in
// simtransport.cpp says what its mutex guards. Frames arrive on the camera's acquisition thread, events on the
// camera's threads, connection changes on the camera's service thread or the caller of DisconnectNow.

#include <string>

namespace orna::core::sim {

constexpr const char* kSimProducerKey = "sim:";
constexpr const char* kSimInterfaceId = "SimInterface";

// The device id the producer gives a simulated camera of this serial (stable across loss and return).
std::string SimDeviceId(const std::string& serial);

// Adds the provider with token "sim" (on by default; listed only when ORNA_SIM_CAMERAS asks for a camera).
void RegisterSimTransport();

} // namespace orna::core::sim
