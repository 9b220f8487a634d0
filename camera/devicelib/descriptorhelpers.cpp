#include "camera/devicelib/descriptorhelpers.h"

#include "common/logmessagesender.h"
#include "orna/core/exception.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"

#include <functional>

namespace helper {

namespace {

const QString kUnknown = QStringLiteral("unknown");

// Runs read on the descriptor; "unknown" and a log line when there is none or the library raises.
QString Read(const std::shared_ptr<DeviceDescriptor>& descriptor, const char* signature,
             const std::function<std::string(const DeviceDescriptor&)>& read)
{
    QString result = kUnknown;
    try
    {
        orna::core::RequireNotNull(descriptor, orna::core::nullptr_text::Device);
        result = QString::fromStdString(read(*descriptor));
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(QStringLiteral("-"), QString::fromLatin1(signature), QString::fromUtf8(e.what()));
    }
    return result;
}

} // namespace

QString GetCameraName(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetCameraName(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) { return d.GetDisplayName(); });
}

QString GetModelName(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetModelName(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) { return d.GetModelName(); });
}

QString GetSerialNumber(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetSerialNumber(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) { return d.GetSerialNumber(); });
}

QString GetID(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetID(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) { return d.GetID(); });
}

QString GetProducer(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetProducer(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) {
                    return d.GetParentInterface()->GetParentSystem()->GetParentProducer()->GetVendor();
                });
}

QString GetCtiPath(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetCtiPath(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) { return d.GetParentInterface()->GetParentSystem()->GetCTIFullPath(); });
}

QString GetParentInterface(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetParentInterface(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) { return d.GetParentInterface()->GetDisplayName(); });
}

QString GetType(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetType(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) { return d.GetParentInterface()->GetTLType(); });
}

QString GetVendorName(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetVendorName(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) { return d.GetVendorName(); });
}

QString GetVersion(std::shared_ptr<DeviceDescriptor> descriptor)
{
    return Read(descriptor, "QString helper::GetVersion(std::shared_ptr<DeviceDescriptor>)",
                [](const DeviceDescriptor& d) { return d.GetVersion(); });
}

DeviceAccessStatus GetDeviceAccessStatus(std::shared_ptr<DeviceDescriptor> descriptor)
{
    try
    {
        orna::core::RequireNotNull(descriptor, orna::core::nullptr_text::Device);
        return descriptor->GetAccessStatus();
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(
            QStringLiteral("-"),
            QStringLiteral("DeviceAccessStatus helper::GetDeviceAccessStatus(std::shared_ptr<DeviceDescriptor>)"),
            QString::fromUtf8(e.what()));
    }
    return DeviceAccessStatus::Unknown;
}

} // namespace helper
