// Shared set-up of the VisionCamera tests: the sim: producer with the cameras a test asks for, opened through
// the public device library, and a camera opened the way the application opens it.
#pragma once

#include "tests/camera/simcameras.h"

#include "camera/visioncamera.h"

#include <QDir>
#include <QString>

#include <memory>

// Opens a camera as the camera window does (open on the caller's thread).
inline std::unique_ptr<VisionCamera> OpenCamera(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    return std::make_unique<VisionCamera>(nullptr, nullptr, descriptor, false, false, false);
}
