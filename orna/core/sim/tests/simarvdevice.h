#pragma once
// Test-only bridge: an ArvDevice whose memory is a SimCamera, so Aravis' GenICam engine runs over the
// simulated camera's XML and registers exactly as it will over a real device.

#include "orna/core/sim/simcamera.h"

#include <arv.h>

// Returns a new device (unref with g_object_unref) and its node map (owned by the device).
ArvDevice* SimTestDeviceNew(orna::core::sim::SimCamera* camera);
ArvGc* SimTestDeviceGenicam(ArvDevice* device);
