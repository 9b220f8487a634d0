// The protection state of a camera that is not open: opens it read-only for a moment and reads its lock
// register (see camera/cameraregisters.h).
//
// Threads: any; the camera list builds one per listed camera on its update job. The object holds no lock:
// everything happens in the constructor, afterwards it is read-only.
#pragma once

#include <QObject>

#include <memory>

namespace orna::core {
class Device;
class DeviceDescriptor;
} // namespace orna::core

class PasswordProtectionHandler : public QObject
{
    Q_OBJECT

public:
    explicit PasswordProtectionHandler(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor);
    ~PasswordProtectionHandler() override;

    bool IsPasswordProtected() const { return locked; }

private:
    // Held only while the constructor reads the register; released before it returns.
    std::shared_ptr<orna::core::Device> device;
    bool locked = false;
};
