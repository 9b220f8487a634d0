#include "camera/cameraregisters.h"

#include "common/logmessagesender.h"
#include "orna/core/device.h"
#include "orna/core/exception.h"

#include <cstring>

namespace camera {

namespace {

std::shared_ptr<orna::core::Port> RemotePort(const std::shared_ptr<orna::core::Device>& device)
{
    orna::core::RequireNotNull(device, "The given device is a nullptr!");
    auto remote = device->GetRemoteDevice();
    orna::core::RequireNotNull(remote, "The given remote device is a nullptr!");
    return remote->GetPort();
}

QString Origin(const std::shared_ptr<orna::core::Device>& device)
{
    if (!device)
        return QStringLiteral("-");
    try
    {
        return QString::fromStdString(device->GetKey());
    }
    catch (const std::exception&)
    {
        return QStringLiteral("-");
    }
}

} // namespace

bool RegisterReadable(const std::shared_ptr<orna::core::Device>& device, uint64_t address, size_t length)
{
    if (!device || length == 0)
        return false;
    try
    {
        std::vector<uint8_t> probe(length);
        RemotePort(device)->Read(address, probe.data(), probe.size());
        return true;
    }
    catch (const std::exception&)
    {
        return false;
    }
}

std::vector<uint8_t> RegisterRead(const std::shared_ptr<orna::core::Device>& device, uint64_t address, size_t length,
                                  bool* ok)
{
    if (ok)
        *ok = false;
    try
    {
        auto bytes = RemotePort(device)->Read(address, length);
        if (ok)
            *ok = true;
        return bytes;
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(
            Origin(device),
            QStringLiteral("std::vector<uint8_t> camera::RegisterRead(const std::shared_ptr<orna::core::Device> &, "
                           "uint64_t, size_t, bool *)"),
            QString::fromUtf8(e.what()));
        return {};
    }
}

void RegisterWriteUint32(const std::shared_ptr<orna::core::Device>& device, uint64_t address, uint32_t value, bool* ok)
{
    if (ok)
        *ok = false;
    try
    {
        uint8_t bytes[4];
        std::memcpy(bytes, &value, sizeof(bytes));
        RemotePort(device)->Write(address, bytes, sizeof(bytes));
        if (ok)
            *ok = true;
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(Origin(device),
                                QStringLiteral("void camera::RegisterWriteUint32(const std::shared_ptr<orna::core::"
                                               "Device> &, uint64_t, uint32_t, bool *)"),
                                QString::fromUtf8(e.what()));
    }
}

} // namespace camera
