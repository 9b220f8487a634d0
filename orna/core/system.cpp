#include "orna/core/system.h"

#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/localxml.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/exception.h"
#include "orna/core/interface.h"
#include "orna/core/producerlibrary.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace orna::core {

// --- Transport registry

namespace detail {
namespace {
std::mutex g_providerMutex; // guards g_providers
std::vector<TransportProvider> g_providers;
} // namespace

void RegisterTransportProvider(TransportProvider provider)
{
    std::lock_guard<std::mutex> lock(g_providerMutex);
    for (auto& existing : g_providers)
    {
        if (existing.token == provider.token)
        {
            existing = std::move(provider);
            return;
        }
    }
    g_providers.push_back(std::move(provider));
}

std::vector<TransportProvider> TransportProviders()
{
    std::lock_guard<std::mutex> lock(g_providerMutex);
    return g_providers;
}

bool IsTransportEnabled(const TransportProvider& provider)
{
    const char* setting = std::getenv("ORNA_TRANSPORTS");
    if (!setting)
        return provider.enabledByDefault;
    std::stringstream list(setting);
    std::string token;
    while (std::getline(list, token, ','))
    {
        token.erase(std::remove_if(token.begin(), token.end(), ::isspace), token.end());
        std::transform(token.begin(), token.end(), token.begin(), ::tolower);
        if (token == provider.token)
            return true;
    }
    return false;
}

} // namespace detail

// --- EnvironmentInspector

namespace {
std::mutex g_pathMutex; // guards g_paths
std::vector<std::string> g_paths;
} // namespace

void EnvironmentInspector::UpdateCTIPaths()
{
    orna::Library::RequireInitialized();
    std::vector<std::string> paths;
    for (const auto& provider : detail::TransportProviders())
    {
        if (!detail::IsTransportEnabled(provider) || !provider.keys)
            continue;
        for (const auto& key : provider.keys())
            paths.push_back(key);
    }
    std::lock_guard<std::mutex> lock(g_pathMutex);
    g_paths = std::move(paths);
}

size_t EnvironmentInspector::GetNumCTIPaths()
{
    std::lock_guard<std::mutex> lock(g_pathMutex);
    return g_paths.size();
}

std::string EnvironmentInspector::GetCTIPath(size_t index)
{
    std::lock_guard<std::mutex> lock(g_pathMutex);
    if (index >= g_paths.size())
        Raise(ReturnCode::OutOfRange, "CTI path index " + std::to_string(index) + " out of range");
    return g_paths[index];
}

std::vector<std::string> EnvironmentInspector::GetCTIPaths()
{
    std::lock_guard<std::mutex> lock(g_pathMutex);
    return g_paths;
}

// --- ProducerLibrary

std::shared_ptr<ProducerLibrary> ProducerLibrary::Construct(const std::string& path)
{
    orna::Library::RequireInitialized();
    for (const auto& provider : detail::TransportProviders())
    {
        if (!detail::IsTransportEnabled(provider) || !provider.keys || !provider.open)
            continue;
        const auto keys = provider.keys();
        if (std::find(keys.begin(), keys.end(), path) == keys.end())
            continue;
        auto backend = provider.open(path);
        if (!backend)
            break;
        return std::make_shared<ProducerLibrary>(path, std::move(backend));
    }
    Raise(ReturnCode::CtiLoadingError, "No producer at " + path);
}

ProducerLibrary::ProducerLibrary(std::string key, std::shared_ptr<detail::TransportBackend> backend)
    : m_key(std::move(key)), m_backend(std::move(backend))
{
}

std::string ProducerLibrary::GetVendor() const
{
    return m_backend->Describe().vendor;
}

std::shared_ptr<SystemDescriptor> ProducerLibrary::GetSystem()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_system)
        m_system = std::make_shared<SystemDescriptor>(weak_from_this(), m_backend);
    return m_system;
}

// --- SystemDescriptor

SystemDescriptor::SystemDescriptor(std::weak_ptr<ProducerLibrary> producer,
                                   std::shared_ptr<detail::TransportBackend> backend)
    : ModuleDescriptor(backend->Describe().id, backend->Describe().key), m_info(backend->Describe()),
      m_producer(std::move(producer)), m_backend(std::move(backend))
{
}

std::shared_ptr<System> SystemDescriptor::OpenSystem()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (auto open = m_system.lock())
        return open;
    auto system = std::make_shared<System>(m_producer, m_backend);
    system->BuildNodeMap();
    m_system = system;
    return system;
}

std::shared_ptr<ProducerLibrary> SystemDescriptor::GetParentProducer() const
{
    auto producer = m_producer.lock();
    if (!producer)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return producer;
}

// --- System

System::System(std::weak_ptr<ProducerLibrary> producer, std::shared_ptr<detail::TransportBackend> backend)
    : m_info(backend->Describe()), m_producer(std::move(producer)), m_backend(std::move(backend))
{
}

System::~System() = default;

void System::BuildNodeMap()
{
    auto bank = std::make_shared<detail::RegisterBank>();
    detail::LocalXmlBuilder xml("System", bank);
    const detail::SystemInfo info = m_info;
    std::weak_ptr<System> weak = weak_from_this();
    auto selected = [weak]() -> std::shared_ptr<InterfaceDescriptor> {
        auto self = weak.lock();
        if (!self)
            return nullptr;
        std::lock_guard<std::mutex> lock(self->m_mutex);
        if (self->m_selectedInterface < 0 || self->m_selectedInterface >= int64_t(self->m_interfaces.size()))
            return nullptr;
        return self->m_interfaces[size_t(self->m_selectedInterface)];
    };
    xml.Category("SystemInformation", {"TLID", "TLVendorName", "TLModelName", "TLVersion", "TLType", "TLPath",
                                       "GenTLVersionMajor", "GenTLVersionMinor"});
    xml.Category("InterfaceEnumeration",
                 {"InterfaceUpdateList", "InterfaceSelector", "InterfaceID", "InterfaceDisplayName"});
    xml.String("TLID", [info] { return info.id; });
    xml.String("TLVendorName", [info] { return info.vendor; });
    xml.String("TLModelName", [info] { return info.model; });
    xml.String("TLVersion", [info] { return info.version; });
    xml.String("TLType", [info] { return info.tlType; });
    xml.String("TLPath", [info] { return info.key; });
    xml.Integer("GenTLVersionMajor", [info] { return int64_t(info.genTLVersionMajor); });
    xml.Integer("GenTLVersionMinor", [info] { return int64_t(info.genTLVersionMinor); });
    xml.Command("InterfaceUpdateList", [weak] {
        if (auto self = weak.lock())
            self->UpdateInterfaces(1000);
    });
    xml.Integer(
        "InterfaceSelector",
        [weak] {
            auto self = weak.lock();
            if (!self)
                return int64_t(0);
            std::lock_guard<std::mutex> lock(self->m_mutex);
            return self->m_selectedInterface;
        },
        [weak](int64_t value) {
            auto self = weak.lock();
            if (!self)
                return false;
            std::lock_guard<std::mutex> lock(self->m_mutex);
            self->m_selectedInterface = value;
            return true;
        },
        "", {"InterfaceID", "InterfaceDisplayName"},
        [weak] {
            auto self = weak.lock();
            if (!self)
                return int64_t(0);
            std::lock_guard<std::mutex> lock(self->m_mutex);
            return std::max<int64_t>(0, int64_t(self->m_interfaces.size()) - 1);
        });
    xml.String("InterfaceID", [selected] {
        auto descriptor = selected();
        return descriptor ? descriptor->GetID() : std::string();
    });
    xml.String("InterfaceDisplayName", [selected] {
        auto descriptor = selected();
        return descriptor ? descriptor->GetDisplayName() : std::string();
    });
    const std::string text = xml.Finish({"SystemInformation", "InterfaceEnumeration"});
    SetNodeMaps({detail::CreateLocalNodeMap(bank, text)});
    SetPort(std::make_shared<Port>(std::make_shared<detail::BankPort>(bank, xml.Url())));
}

bool System::UpdateInterfaces(uint64_t)
{
    std::lock_guard<std::mutex> pass(m_updateMutex);
    const auto listed = m_backend->ListInterfaces();
    std::vector<std::shared_ptr<InterfaceDescriptor>> found, lost;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::shared_ptr<InterfaceDescriptor>> next;
        for (const auto& info : listed)
        {
            auto it = std::find_if(m_interfaces.begin(), m_interfaces.end(),
                                   [&](const auto& d) { return d->GetID() == info.id; });
            if (it != m_interfaces.end())
            {
                (*it)->SetInfo(info);
                next.push_back(*it);
            }
            else
            {
                auto descriptor =
                    std::make_shared<InterfaceDescriptor>(weak_from_this(), info, m_info.key + "|" + info.id);
                next.push_back(descriptor);
                found.push_back(descriptor);
            }
        }
        for (const auto& old : m_interfaces)
        {
            if (std::find(next.begin(), next.end(), old) == next.end())
                lost.push_back(old);
        }
        m_interfaces = std::move(next);
    }
    for (const auto& descriptor : lost)
        m_lost.Invoke(descriptor);
    for (const auto& descriptor : found)
        m_found.Invoke(descriptor);
    return !found.empty() || !lost.empty();
}

std::vector<std::shared_ptr<InterfaceDescriptor>> System::GetInterfaces() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_interfaces;
}

std::shared_ptr<InterfaceDescriptor> System::FindInterface(const std::string& id) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& descriptor : m_interfaces)
    {
        if (descriptor->GetID() == id)
            return descriptor;
    }
    return nullptr;
}

CallbackHandle System::RegisterInterfaceFoundCallback(InterfaceCallback callback)
{
    RequireNotNull(callback, nullptr_text::Pointer);
    return m_found.Add(std::move(callback));
}

void System::UnregisterInterfaceFoundCallback(CallbackHandle handle)
{
    if (!m_found.Remove(handle))
        Raise(ReturnCode::NotFound, "No such interface-found callback");
}

CallbackHandle System::RegisterInterfaceLostCallback(InterfaceCallback callback)
{
    RequireNotNull(callback, nullptr_text::Pointer);
    return m_lost.Add(std::move(callback));
}

void System::UnregisterInterfaceLostCallback(CallbackHandle handle)
{
    if (!m_lost.Remove(handle))
        Raise(ReturnCode::NotFound, "No such interface-lost callback");
}

std::shared_ptr<ProducerLibrary> System::GetParentProducer() const
{
    auto producer = m_producer.lock();
    if (!producer)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return producer;
}

} // namespace orna::core
