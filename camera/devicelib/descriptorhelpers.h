// Texts about a device descriptor for the GUI, which never throw.
//
// Each function starts from "unknown" and replaces it when the library answers; a failure is logged through
// LogMessageSender with the function's own signature as context. Any thread (the library calls are
// thread-safe; the log message is queued to the GUI thread).
#pragma once

#include "orna/core/device.h"

#include <QString>

#include <memory>

namespace helper {

using orna::core::DeviceAccessStatus;
using orna::core::DeviceDescriptor;

QString GetCameraName(std::shared_ptr<DeviceDescriptor> descriptor);
QString GetModelName(std::shared_ptr<DeviceDescriptor> descriptor);
QString GetSerialNumber(std::shared_ptr<DeviceDescriptor> descriptor);
QString GetID(std::shared_ptr<DeviceDescriptor> descriptor);
// The vendor of the producer behind the descriptor's system.
QString GetProducer(std::shared_ptr<DeviceDescriptor> descriptor);
QString GetCtiPath(std::shared_ptr<DeviceDescriptor> descriptor);
QString GetParentInterface(std::shared_ptr<DeviceDescriptor> descriptor);
// The TL type of the parent interface.
QString GetType(std::shared_ptr<DeviceDescriptor> descriptor);
QString GetVendorName(std::shared_ptr<DeviceDescriptor> descriptor);
QString GetVersion(std::shared_ptr<DeviceDescriptor> descriptor);
// Unknown (0) when the status cannot be read.
DeviceAccessStatus GetDeviceAccessStatus(std::shared_ptr<DeviceDescriptor> descriptor);

} // namespace helper
