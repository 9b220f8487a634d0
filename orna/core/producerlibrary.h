// One producer (one transport backend) and its single system.
//
// Construct from a path EnvironmentInspector listed; an unknown or disabled path raises CTILoadingException.
// Threads: any.
#pragma once

#include "orna/core/initonce.h"

#include <memory>
#include <mutex>
#include <string>

namespace orna::core {

namespace detail {
class TransportBackend;
}
class SystemDescriptor;

class ProducerLibrary : public InitOnce, public std::enable_shared_from_this<ProducerLibrary>
{
public:
    static std::shared_ptr<ProducerLibrary> Construct(const std::string& path);

    const std::string& GetKey() const { return m_key; }
    const std::string& GetPath() const { return m_key; }
    std::string GetVendor() const;
    std::shared_ptr<SystemDescriptor> GetSystem();

    // Use Construct(); public for make_shared.
    ProducerLibrary(std::string key, std::shared_ptr<detail::TransportBackend> backend);

private:
    const std::string m_key;
    std::shared_ptr<detail::TransportBackend> m_backend;
    // Guards m_system (made on first request).
    std::mutex m_mutex;
    std::shared_ptr<SystemDescriptor> m_system;
};

} // namespace orna::core
