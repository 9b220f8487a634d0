#include "camera/passwordprotectionhandler.h"

#include "camera/cameraregisters.h"
#include "common/logmessagesender.h"
#include "orna/core/device.h"

PasswordProtectionHandler::PasswordProtectionHandler(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    try
    {
        orna::core::RequireNotNull(descriptor, "The given device descriptor is a nullptr!");
        device = descriptor->OpenDevice(orna::core::DeviceAccessType::ReadOnly);
        if (camera::RegisterReadable(device, camera::kLockRegisterAddress, camera::kLockRegisterLength))
        {
            bool ok = false;
            const auto bytes =
                camera::RegisterRead(device, camera::kLockRegisterAddress, camera::kLockRegisterLength, &ok);
            locked = ok && !bytes.empty() && bytes[0] == 1;
        }
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(QStringLiteral("unknown"),
                                QStringLiteral("PasswordProtectionHandler::PasswordProtectionHandler(const "
                                               "std::shared_ptr<orna::core::DeviceDescriptor> &)"),
                                QString::fromUtf8(e.what()));
    }
    // The camera list must not keep the camera from being opened for control.
    device.reset();
}

PasswordProtectionHandler::~PasswordProtectionHandler() = default;
