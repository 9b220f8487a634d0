#include "camera/visioncamera.h"

#include "app/applicationglobals.h"
#include "app/logmessagesender.h"
#include "camera/imagebuffermanager.h"
#include "nodetree/nodemapaccess.h"
#include "nodetree/nodemapfiltermodel.h"
#include "nodetree/nodemapmodel.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/ipl/imageconverter.h"
#include "processing/aflmanager.h"
#include "processing/iflfeatureprovider.h"
#include "processing/iplbinningfeatureprovider.h"
#include "processing/iplcolorcorrectionfeatureprovider.h"
#include "processing/ipldecimationfeatureprovider.h"
#include "processing/ipledgeenhancementfeatureprovider.h"
#include "processing/iplgainfeatureprovider.h"
#include "processing/iplgammafeatureprovider.h"
#include "processing/iplgammafeatureproviderwithdigitalblack.h"
#include "processing/iplhotpixelfeatureprovider.h"
#include "processing/iplsaturationfeatureprovider.h"
#include "processing/iplsharpnessfeatureprovider.h"
#include "processing/ipltransformationfeatureprovider.h"
#include "processing/videofeatureprovider.h"

#include <algorithm>

VisionCamera::VisionCamera(QWidget* parentWindow_, QWidget* mainWindow_,
                           const std::shared_ptr<orna::core::DeviceDescriptor>& deviceDescriptor,
                           bool startAcquisitionOnOpen_, bool applyOptimalSettingsOnOpen_, bool openAsync_)
    : parentWindow(parentWindow_), mainWindow(mainWindow_), descriptor(deviceDescriptor),
      startAcquisitionOnOpen(startAcquisitionOnOpen_), applyOptimalSettingsOnOpen(applyOptimalSettingsOnOpen_),
      openAsync(openAsync_)
{
    if (descriptor)
        keyText = QString::fromStdString(descriptor->GetKey());
}

VisionCamera::~VisionCamera()
{
    for (auto it = ownedObjects.rbegin(); it != ownedObjects.rend(); ++it)
        delete *it;
    ownedObjects.clear();
}

void VisionCamera::OnSignalDeviceFound(std::shared_ptr<orna::core::DeviceDescriptor>) {}

void VisionCamera::OnSignalDeviceLost(std::string) {}

void VisionCamera::OnSignalDeviceDisconnected(std::string) {}

void VisionCamera::OnSignalDeviceReconnected(std::shared_ptr<orna::core::DeviceDescriptor>,
                                             orna::core::DeviceReconnectInformation)
{
}
