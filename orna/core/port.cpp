#include "orna/core/port.h"

#include "orna/core/detail/backend.h"
#include "orna/core/exception.h"

namespace orna::core {

PortURL::PortURL(std::string url, std::string fileName, uint64_t address, uint64_t size)
    : m_url(std::move(url)), m_fileName(std::move(fileName)), m_address(address), m_size(size)
{
}

Port::Port(std::shared_ptr<detail::PortBackend> backend) : m_backend(std::move(backend))
{
    RequireNotNull(m_backend, nullptr_text::Pointer);
}

size_t Port::GetNumURLs() const
{
    return m_backend->Urls().size();
}

std::shared_ptr<PortURL> Port::GetURL(size_t index) const
{
    const auto urls = m_backend->Urls();
    if (index >= urls.size())
        Raise(ReturnCode::OutOfRange, "Port URL index " + std::to_string(index) + " out of range");
    const auto& url = urls[index];
    return std::make_shared<PortURL>(url.url, url.fileName, url.address, url.size);
}

void Port::Read(uint64_t address, void* data, size_t size) const
{
    RequireNotNull(data, nullptr_text::Buffer);
    m_backend->Read(address, data, size);
}

std::vector<uint8_t> Port::Read(uint64_t address, size_t size) const
{
    std::vector<uint8_t> bytes(size);
    if (size > 0)
        m_backend->Read(address, bytes.data(), size);
    return bytes;
}

void Port::Write(uint64_t address, const void* data, size_t size)
{
    RequireNotNull(data, nullptr_text::Buffer);
    m_backend->Write(address, data, size);
}

bool ParseLocalUrl(const std::string& url, std::string& fileName, uint64_t& address, uint64_t& size)
{
    const std::string prefix = "local:";
    if (url.size() <= prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i)
    {
        if (std::tolower(static_cast<unsigned char>(url[i])) != prefix[i])
            return false;
    }
    const std::string rest = url.substr(prefix.size());
    const auto first = rest.find(';');
    const auto second = first == std::string::npos ? std::string::npos : rest.find(';', first + 1);
    if (second == std::string::npos)
        return false;
    try
    {
        size_t used = 0;
        const std::string addressText = rest.substr(first + 1, second - first - 1);
        std::string sizeText = rest.substr(second + 1);
        // A "?SchemaVersion=..." suffix may follow the size.
        const auto query = sizeText.find('?');
        if (query != std::string::npos)
            sizeText = sizeText.substr(0, query);
        address = std::stoull(addressText, &used, 16);
        if (used != addressText.size())
            return false;
        size = std::stoull(sizeText, &used, 16);
        if (used != sizeText.size())
            return false;
    }
    catch (...)
    {
        return false;
    }
    fileName = rest.substr(0, first);
    return !fileName.empty();
}

} // namespace orna::core
