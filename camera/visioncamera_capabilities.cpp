// VisionCamera: what the camera can do (the probes of the open and of the panels), the optimise routine, and the
// transfer of parameter files, camera files and XML descriptions. The rules themselves live in
// camera/cameracapabilities and camera/parameterfile; here they meet the camera's state and its log.
#include "camera/cameracapabilities.h"
#include "camera/devicelib/descriptorhelpers.h"
#include "camera/parameterfile.h"
#include "camera/pixelformattable.h"
#include "camera/visioncamera.h"
#include "camera/visioncameraopenworker.h"
#include "camera/visionimagecaptureworker.h"
#include "common/logmessagesender.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/system.h"
#include "processing/iplcolorcorrectionfeatureprovider.h"
#include "processing/iplgainfeatureprovider.h"

#include <QFile>
#include <QGuiApplication>
#include <QThread>

#include <algorithm>
#include <mutex>

using namespace orna::core;

namespace {

constexpr uint64_t kCommandTimeoutMs = 2000;
constexpr uint64_t kUserSetLoadTimeoutMs = 500;
constexpr uint64_t kParameterSetTimeoutMs = 10000;

QString Text(const std::string& text)
{
    return QString::fromStdString(text);
}

// The node's value as text, when it exists and can be read.
bool ReadNodeText(const std::shared_ptr<NodeMap>& map, const std::string& name, QString& text)
{
    if (!map || !map->GetHasNode(name))
        return false;
    auto node = map->FindNode(name);
    if (!node->GetIsReadable())
        return false;
    text = Text(node->GetValueAsString());
    return true;
}

QString Ipv4Text(int64_t value)
{
    const auto v = static_cast<uint32_t>(value);
    return QStringLiteral("%1.%2.%3.%4").arg(v >> 24).arg((v >> 16) & 0xFF).arg((v >> 8) & 0xFF).arg(v & 0xFF);
}

QString MacText(int64_t value)
{
    QStringList parts;
    for (int shift = 40; shift >= 0; shift -= 8)
        parts << QStringLiteral("%1").arg((uint64_t(value) >> shift) & 0xFF, 2, 16, QLatin1Char('0')).toUpper();
    return parts.join(QLatin1Char(':'));
}

// "Off" = 1, "Once" = 2, "Continuous" = 3, anything else 0: the saved form of an automatic mode.
int AutoModeCode(const QString& mode)
{
    if (mode == QLatin1String("Off"))
        return 1;
    if (mode == QLatin1String("Once"))
        return 2;
    if (mode == QLatin1String("Continuous"))
        return 3;
    return 0;
}

// The step of the optimise routine that belongs to the capture worker: its adjust loop, launched as the
// camera's one-shot task. The loop reports through Signal_AdjustLoopFinished (queued to the camera window) and
// restores the settings the run changed. Every way out that does not launch it does both here instead, so the
// window always gets its buttons back and the camera its modes. prepare: run PrepareAcquisition first (a camera
// without buffers, or settings just reloaded).
bool LaunchAdjustRoutine(VisionCamera* camera, bool prepare)
{
    const QString context = QStringLiteral("void VisionCamera::ApplyOptimalSettings()");
    VisionImageCaptureWorker* worker = camera->GetCaptureWorker();
    if (worker == nullptr)
    {
        LogMessageSender::Error(camera->GetKeyText(), context,
                                QStringLiteral("The camera has no capture worker; the optimise routine cannot run"));
        camera->RestoreSettingsAfterOptimise();
        return false;
    }
    bool launched = false;
    if (prepare && !camera->PrepareAcquisition())
        LogMessageSender::Error(camera->GetKeyText(), context,
                                QStringLiteral("The acquisition could not be prepared; the optimise routine does "
                                               "not run"));
    else if (!(launched = camera->StartOneShotTask([worker] { worker->AdjustLoop(); })))
        LogMessageSender::Error(camera->GetKeyText(), context,
                                QStringLiteral("The optimise routine was refused: another one-shot task runs or the "
                                               "camera is closing"));
    if (!launched)
    {
        camera->RestoreSettingsAfterOptimise();
        emit worker->Signal_AdjustLoopFinished(false);
    }
    return launched;
}

} // namespace

// ---- Probes of the open

bool VisionCamera::InitAdditionalInfos()
{
    try
    {
        if (descriptor)
        {
            cameraName = helper::GetCameraName(descriptor);
            modelName = helper::GetModelName(descriptor);
            vendorName = helper::GetVendorName(descriptor);
            serialNumber = helper::GetSerialNumber(descriptor);
            deviceVersion = helper::GetVersion(descriptor);
            transportType = helper::GetType(descriptor);
            const QString userName = Text(descriptor->GetUserDefinedName());
            if (!userName.isEmpty())
                userDefinedName = userName;
        }
        auto map = remoteDeviceNodeMap;
        ReadNodeText(map, "DeviceFirmwareVersion", firmwareVersion);
        ReadNodeText(map, "DeviceVersion", deviceVersion);
        ReadNodeText(map, "DeviceUserID", userDefinedName);
        ReadNodeText(map, "DeviceFamilyName", familyName);
        ReadNodeText(map, "DeviceTLType", transportType);
        if (transportType == QLatin1String("GigEVision"))
            transportType = QStringLiteral("GEV");
        else if (transportType == QLatin1String("USB3Vision"))
            transportType = QStringLiteral("U3V");
        int64_t value = 0;
        if (GetIntegerValue("GevCurrentIPAddress", ReadValueType::Value, value))
            ipAddress = Ipv4Text(value);
        if (GetIntegerValue("GevMACAddress", ReadValueType::Value, value))
            macAddress = MacText(value);
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::InitAdditionalInfos()"), Text(e.what()));
        return false;
    }
}

bool VisionCamera::InitSensorClockFrequency()
{
    sensorClockFrequency = 1.0;
    try
    {
        if (!camera::IsNodeAccessible(remoteDeviceNodeMap, "SensorClockFrequency"))
            return true;
        auto node = remoteDeviceNodeMap->FindNode("SensorClockFrequency");
        if (node->GetType() == nodes::NodeType::Float)
            sensorClockFrequency = nodes::NodeCast<nodes::FloatNode>(node)->GetValue();
        else
            sensorClockFrequency = double(nodes::NodeCast<nodes::IntegerNode>(node)->GetValue());
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::InitSensorClockFrequency()"), Text(e.what()));
        return false;
    }
}

void VisionCamera::CheckDeviceBootStatus()
{
    try
    {
        auto map = remoteDeviceNodeMap;
        if (!map || !map->GetHasNode("DeviceBootStatus"))
            return;
        auto node = map->FindNode<nodes::EnumerationNode>("DeviceBootStatus");
        if (!node->GetIsReadable())
            return;
        auto entry = node->GetCurrentEntry();
        RequireNotNull(entry, "The given entry is a nullptr!");
        bootStatusText = Text(entry->GetSymbolicValue());
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("void VisionCamera::CheckDeviceBootStatus()"), Text(e.what()));
    }
}

QString VisionCamera::GetDeviceBootStatusDescription()
{
    try
    {
        auto map = remoteDeviceNodeMap;
        if (!map || !map->GetHasNode("DeviceBootStatus"))
            return QString();
        auto node = map->FindNode<nodes::EnumerationNode>("DeviceBootStatus");
        if (!node->GetIsReadable())
            return QString();
        auto entry = node->GetCurrentEntry();
        RequireNotNull(entry, "The given entry is a nullptr!");
        return Text(entry->GetDescription());
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("QString VisionCamera::GetDeviceBootStatusDescription()"), Text(e.what()));
        return QString();
    }
}

bool VisionCamera::CheckColorCamera()
{
    try
    {
        RequireNotNull(remoteDeviceNodeMap, "The given node map is a nullptr!");
        isColorCamera = false;
        for (const auto& name : camera::AccessibleEntries(remoteDeviceNodeMap, "PixelFormat"))
        {
            if (camera::IsColorPixelFormatName(name))
            {
                isColorCamera = true;
                break;
            }
        }
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::CheckColorCamera()"), Text(e.what()));
        return false;
    }
}

bool VisionCamera::InitSensorFlags()
{
    std::string sensor;
    if (!GetStringValue("SensorName", sensor))
        return false;
    isSensorIMX415 = sensor == "IMX415";
    isSensorIMX568 = sensor == "IMX568";
    isSensorIMX662 = sensor == "IMX662";
    // Only the focus auto feature cares about this sensor.
    isSensorOnsemiAR1335 = QString::fromStdString(sensor).toLower() == QLatin1String("onsemi ar1335");
    return true;
}

bool VisionCamera::InitGainNames()
{
    auto has = [this](const char* entry) {
        return camera::HasEnumerationEntry(remoteDeviceNodeMap, "GainSelector", entry, true);
    };
    hasGainDigitalRed = has("DigitalRed");
    hasGainAnalogRed = has("AnalogRed");
    hasGainDigitalGreen = has("DigitalGreen");
    hasGainAnalogGreen = has("AnalogGreen");
    hasGainDigitalBlue = has("DigitalBlue");
    hasGainAnalogBlue = has("AnalogBlue");
    // Host gain (stage 7) runs unless the camera has a gain of its own for each of red, green and blue, of the
    // digital, analog or plain kind. A monochrome camera has none, so its master gain runs on the host.
    const bool cameraColourGains = (hasGainDigitalRed || hasGainAnalogRed || has("Red")) &&
                                   (hasGainDigitalGreen || hasGainAnalogGreen || has("Green")) &&
                                   (hasGainDigitalBlue || hasGainAnalogBlue || has("Blue"));
    hostGainRequired = !cameraColourGains;
    if (iplGainFeatureProvider)
        iplGainFeatureProvider->SetColorGainsAvailable(isColorCamera);
    return true;
}

bool VisionCamera::InitOpticalFilter()
{
    try
    {
        QString filter;
        if (ReadNodeText(remoteDeviceNodeMap, "DeviceOpticalFilterType", filter) &&
            filter != QLatin1String("Unknown") && filter != QLatin1String("None"))
            opticalFilterType = filter;
        if (remoteDeviceNodeMap && remoteDeviceNodeMap->GetHasNode("ColorCorrectionMatrix"))
            return InitIplColorCorrectionMatrixFromCamera();
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::InitOpticalFilter()"), Text(e.what()));
        return false;
    }
}

bool VisionCamera::InitIplColorCorrectionMatrixFromCamera()
{
    static const char* const kGains[9] = {"Gain00", "Gain01", "Gain02", "Gain10", "Gain11",
                                          "Gain12", "Gain20", "Gain21", "Gain22"};
    try
    {
        RequireNotNull(remoteDeviceNodeMap, "The given node map is a nullptr!");
        double matrix[9] = {};
        {
            std::lock_guard<NodeMap> lock(*remoteDeviceNodeMap);
            auto selector = remoteDeviceNodeMap->FindNode<nodes::EnumerationNode>("ColorCorrectionMatrixValueSelector");
            auto value = remoteDeviceNodeMap->FindNode<nodes::FloatNode>("ColorCorrectionMatrixValue");
            const std::string before = selector->GetValueAsString();
            for (int i = 0; i < 9; ++i)
            {
                selector->SetCurrentEntryBySymbolicValue(kGains[i]);
                matrix[i] = value->GetValue();
            }
            selector->SetCurrentEntryBySymbolicValue(before);
        }
        // The host stage in its off state keeps no matrix of its own; it is told that the camera's changed.
        Q_UNUSED(matrix)
        if (iplColorCorrectionFeatureProvider)
            iplColorCorrectionFeatureProvider->UpdateColorCorrectionFromCamera();
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::InitIplColorCorrectionMatrixFromCamera()"), Text(e.what()));
        return false;
    }
}

bool VisionCamera::InitLineNames()
{
    lineTriggerInput = "Line0";
    lineInputs.clear();
    lineOutputs.clear();
    if (familyName == QLatin1String("RT-KM"))
    {
        // This family's lines are fixed: one opto input, one flash output.
        lineInputs = {"Line0"};
        lineOutputs = {"Line1"};
        return true;
    }
    try
    {
        if (!remoteDeviceNodeMap || !remoteDeviceNodeMap->GetHasNode("LineSelector"))
            return true;
        const auto lines = camera::AccessibleEntries(remoteDeviceNodeMap, "LineSelector");
        auto present = [&](const std::string& line) {
            return std::find(lines.begin(), lines.end(), line) != lines.end();
        };
        lineInputs.push_back("Line0");
        lineOutputs.push_back("Line1");
        for (int i = 2; i <= 6; ++i)
        {
            const std::string line = "Line" + std::to_string(i);
            if (present(line))
            {
                lineInputs.push_back(line);
                lineOutputs.push_back(line);
            }
        }
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::InitLineNames()"), Text(e.what()));
        return false;
    }
}

// ---- Probes of the panels

bool VisionCamera::HasCameraBrightnessAuto() const
{
    return camera::IsNodeAccessible(remoteDeviceNodeMap, "ExposureAuto") &&
           camera::IsNodeAccessible(remoteDeviceNodeMap, "GainAuto");
}

bool VisionCamera::HasCameraBalanceWhiteAuto()
{
    return camera::IsNodeAccessible(remoteDeviceNodeMap, "BalanceWhiteAuto");
}

bool VisionCamera::HasCameraI2C()
{
    return camera::IsNodeAccessible(remoteDeviceNodeMap, "I2COperationSelector");
}

bool VisionCamera::HasCameraI2CTransmitBuffer()
{
    return camera::IsNodeAccessible(remoteDeviceNodeMap, "I2CTransmitBuffer");
}

bool VisionCamera::HasTriggerDelay()
{
    return camera::IsNodeAccessible(remoteDeviceNodeMap, "TriggerDelay");
}

bool VisionCamera::HasTriggerDevider()
{
    return camera::IsNodeAccessible(remoteDeviceNodeMap, "TriggerDivider");
}

bool VisionCamera::HasGain(const std::string& gainSelectorEntry)
{
    return camera::HasEnumerationEntry(remoteDeviceNodeMap, "GainSelector", gainSelectorEntry, true);
}

bool VisionCamera::HasSubRegionSelector(const std::string& entry)
{
    return camera::HasEnumerationEntry(remoteDeviceNodeMap, "SubRegionSelector", entry, false);
}

bool VisionCamera::IsFileSelectorAvailable()
{
    return camera::IsNodeAccessible(remoteDeviceNodeMap, "FileSelector");
}

namespace {

bool EntriesOf(const VisionCamera* camera, const std::shared_ptr<NodeMap>& map, const char* node,
               std::vector<std::string>& entries, const char* context)
{
    entries.clear();
    try
    {
        if (!map || !map->GetHasNode(node))
            return false;
        entries = camera::AccessibleEntries(map, node);
        return true;
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(camera->GetKeyText(), QString::fromLatin1(context), Text(e.what()));
        return false;
    }
}

} // namespace

bool VisionCamera::GetFileSelectorEntries(std::vector<std::string>& entries)
{
    return EntriesOf(this, remoteDeviceNodeMap, "FileSelector", entries,
                     "bool VisionCamera::GetFileSelectorEntries(std::vector<std::string> &)");
}

bool VisionCamera::GetUserSetDefaultEntries(std::vector<std::string>& entries)
{
    return EntriesOf(this, remoteDeviceNodeMap, "UserSetDefault", entries,
                     "bool VisionCamera::GetUserSetDefaultEntries(std::vector<std::string> &)");
}

bool VisionCamera::GetUserSetSelectorEntries(std::vector<std::string>& entries)
{
    return EntriesOf(this, remoteDeviceNodeMap, "UserSetSelector", entries,
                     "bool VisionCamera::GetUserSetSelectorEntries(std::vector<std::string> &)");
}

bool VisionCamera::GetChunkGainSelectorEntries(std::vector<std::string>& entries)
{
    return EntriesOf(this, remoteDeviceNodeMap, "ChunkGainSelector", entries,
                     "bool VisionCamera::GetChunkGainSelectorEntries(std::vector<std::string> &)");
}

bool VisionCamera::IsUserSetCommandLoadAvailable()
{
    return camera::IsNodeWritable(remoteDeviceNodeMap, "UserSetLoad");
}

bool VisionCamera::IsUserSetCommandSaveAvailable()
{
    return camera::IsNodeWritable(remoteDeviceNodeMap, "UserSetSave");
}

bool VisionCamera::ResetDevice()
{
    try
    {
        camera::ExecuteAndWait(remoteDeviceNodeMap, "DeviceReset", kCommandTimeoutMs);
        Q_EMIT Signal_DeviceResetExecuted();
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("bool VisionCamera::ResetDevice()"), Text(e.what()));
        return false;
    }
}

// ---- Trigger modes

void VisionCamera::SaveAndResetTriggerModes()
{
    std::vector<camera::SavedTriggerMode> saved;
    try
    {
        camera::SaveAndResetTriggerModes(remoteDeviceNodeMap, saved);
    }
    catch (const std::exception& e)
    {
        LogError(QStringLiteral("void VisionCamera::SaveAndResetTriggerModes()"), Text(e.what()));
    }
    if (remoteDeviceNodeMap && remoteDeviceNodeMap->GetHasNode("TriggerSelector") &&
        remoteDeviceNodeMap->GetHasNode("TriggerMode"))
        savedTriggerModes.clear();
    for (const auto& row : saved)
        savedTriggerModes.emplace_back(row.selector, row.mode);
}

void VisionCamera::RestoreSettingsAfterOptimise()
{
    RestoreSavedTriggerModes();
    // The optimise start saved the camera's auto modes as 1 "Off", 2 "Once", 3 "Continuous" (0: not saved) and
    // wrote them off; they go back by their symbolic values, which are the same on every camera.
    const std::pair<const char*, int> autoModes[] = {
        {"ExposureAuto", savedExposureAuto}, {"GainAuto", savedGainAuto}, {"BalanceWhiteAuto", savedBalanceWhiteAuto}};
    static const char* const kModeNames[] = {nullptr, "Off", "Once", "Continuous"};
    for (const auto& [name, value] : autoModes)
    {
        if (value < 1 || value > 3)
            continue;
        // Absent nodes are normal; a refused write is logged by the typed access.
        SetEnumerationEntry(name, kModeNames[value]);
    }
    if (!savedColorCorrectionMode.empty())
        SetEnumerationEntry("ColorCorrectionMode", savedColorCorrectionMode);
    // Written back once: a later run that saves nothing (CTRL) must not write them again.
    savedExposureAuto = savedGainAuto = savedBalanceWhiteAuto = 0;
    savedColorCorrectionMode.clear();
}

void VisionCamera::RestoreSavedTriggerModes()
{
    std::vector<camera::SavedTriggerMode> saved;
    for (const auto& row : savedTriggerModes)
        saved.push_back({row.first, row.second});
    savedTriggerModes.clear();
    std::string error;
    if (!camera::RestoreTriggerModes(remoteDeviceNodeMap, saved, error))
        LogError(QStringLiteral("void VisionCamera::RestoreSavedTriggerModes()"), Text(error));
}

// ---- Files in camera memory

bool VisionCamera::ReadFile(std::string fileName, std::vector<uint8_t>& content, std::string& errorText,
                            int64_t& bytesRead)
{
    const bool ok = camera::ReadCameraFile(remoteDeviceNodeMap, fileName, content, errorText, bytesRead);
    if (!ok)
        LogError(QStringLiteral("bool VisionCamera::ReadFile(std::string, std::vector<uint8_t> &, std::string &, "
                                "int64_t &)"),
                 Text(errorText));
    return ok;
}

bool VisionCamera::WriteFile(std::string fileName, const std::string& sourcePath, std::string& errorText,
                             int64_t& bytesDone, int64_t& bytesTotal)
{
    const QString context = QStringLiteral(
        "bool VisionCamera::WriteFile(std::string, const std::string &, std::string &, int64_t &, int64_t &)");
    bytesDone = 0;
    bytesTotal = 0;
    QFile source(QString::fromStdString(sourcePath));
    if (!source.open(QIODevice::ReadOnly))
    {
        errorText = "Cannot read " + sourcePath + ": " + source.errorString().toStdString();
        LogError(context, Text(errorText));
        return false;
    }
    const QByteArray bytes = source.readAll();
    bytesTotal = bytes.size();
    const std::vector<uint8_t> content(bytes.begin(), bytes.end());
    const bool ok = camera::WriteCameraFile(remoteDeviceNodeMap, fileName, content, errorText, bytesDone);
    if (!ok)
        LogError(context, Text(errorText));
    return ok;
}

bool VisionCamera::DeleteFile(std::string fileName, std::string& errorText)
{
    const bool ok = camera::DeleteCameraFile(remoteDeviceNodeMap, fileName, errorText);
    if (!ok)
        LogError(QStringLiteral("bool VisionCamera::DeleteFile(std::string, std::string &)"), Text(errorText));
    return ok;
}

// ---- Parameter files

bool VisionCamera::LoadUserSetFromFile(const std::string& path)
{
    const QString context = QStringLiteral("bool VisionCamera::LoadUserSetFromFile(const std::string &)");
    std::string error;
    if (!cameraName.contains(QLatin1String("Ravo")))
    {
        if (camera::LoadParameterFile(remoteDeviceNodeMap, path, error))
            return true;
        LogError(context, Text(error));
        return false;
    }
    // The older family loads the file by itself from a path it is given.
    try
    {
        if (camera::IsNodeWritable(remoteDeviceNodeMap, "RavoParametersetPath"))
            remoteDeviceNodeMap->FindNode<nodes::StringNode>("RavoParametersetPath")->SetValue(path);
        camera::ExecuteAndWait(remoteDeviceNodeMap, "RavoParametersetLoad", kParameterSetTimeoutMs);
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(context, Text(e.what()));
        return false;
    }
}

bool VisionCamera::SaveUserSetToFile(const std::string& path)
{
    const QString context = QStringLiteral("bool VisionCamera::SaveUserSetToFile(const std::string &)");
    std::string error;
    if (!cameraName.contains(QLatin1String("Ravo")))
    {
        if (camera::SaveParameterFile(remoteDeviceNodeMap, path, error))
            return true;
        LogError(context, Text(error));
        return false;
    }
    try
    {
        if (camera::IsNodeWritable(remoteDeviceNodeMap, "RavoParametersetPath"))
            remoteDeviceNodeMap->FindNode<nodes::StringNode>("RavoParametersetPath")->SetValue(path);
        camera::ExecuteAndWait(remoteDeviceNodeMap, "RavoParametersetSave", kParameterSetTimeoutMs);
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(context, Text(e.what()));
        return false;
    }
}

// ---- XML descriptions

bool VisionCamera::GetXMLContent(XmlModule module, const std::shared_ptr<DeviceDescriptor>& deviceDescriptor,
                                 const std::shared_ptr<Port>& port, std::string& fileName,
                                 std::vector<uint8_t>& content)
{
    const QString context = QStringLiteral(
        "bool VisionCamera::GetXMLContent(XmlModule, const std::shared_ptr<orna::core::DeviceDescriptor> &, const "
        "std::shared_ptr<orna::core::Port> &, std::string &, std::vector<uint8_t> &)");
    fileName = "unknown";
    content.clear();
    try
    {
        std::shared_ptr<Port> modulePort = port;
        if (!modulePort)
        {
            std::shared_ptr<Device> openDevice = device;
            if (!openDevice && deviceDescriptor)
                openDevice = deviceDescriptor->GetOpenDevice();
            RequireNotNull(openDevice, "The given device is a nullptr!");
            switch (module)
            {
            case XmlModule::RemoteDevice:
                modulePort = openDevice->GetRemoteDevice()->GetPort();
                break;
            case XmlModule::Device:
                modulePort = openDevice->GetPort();
                break;
            case XmlModule::Interface:
                modulePort = openDevice->GetParentInterface()->GetPort();
                break;
            case XmlModule::System:
                modulePort = openDevice->GetParentSystem()->GetPort();
                break;
            case XmlModule::DataStream:
                RequireNotNull(dataStream, "The given data stream is a nullptr!");
                modulePort = dataStream->GetPort();
                break;
            }
        }
        camera::ReadXmlThroughPort(modulePort, fileName, content);
        return true;
    }
    catch (const std::exception& e)
    {
        LogError(context, Text(e.what()));
        return false;
    }
}

// ---- Optimise

void VisionCamera::ApplyOptimalSettings()
{
    // CTRL is the user's choice at the moment of the click; only the GUI thread may ask for the keyboard.
    bool ctrl = false;
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) &&
        QThread::currentThread() == QCoreApplication::instance()->thread())
        ctrl = QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ControlModifier);
    VisionCameraOpenWorker::ApplyOptimalSettings(this, ctrl);
}

bool VisionCameraOpenWorker::ApplyOptimalSettings(VisionCamera* cam, bool resetToDefaults)
{
    const QString context = QStringLiteral("void VisionCamera::ApplyOptimalSettings()");
    // One one-shot task at a time: refused before anything is changed, and without waiting for the running one.
    if (cam->IsOneShotRunning() || cam->closing.load())
    {
        LogMessageSender::Error(cam->keyText, context,
                                QStringLiteral("The optimise routine was refused: another one-shot task runs"));
        return false;
    }
    auto map = cam->remoteDeviceNodeMap;
    // This run restores only what it saves itself; nothing of an earlier run.
    cam->savedTriggerModes.clear();
    cam->savedExposureAuto = cam->savedGainAuto = cam->savedBalanceWhiteAuto = 0;
    cam->savedColorCorrectionMode.clear();
    // A camera that has not acquired since it was opened has no buffers yet.
    bool prepare = cam->dataStream && cam->buffers.empty();
    try
    {
        if (!resetToDefaults)
        {
            cam->SaveAndResetTriggerModes();

            const int packing = camera::GetPackingClass(cam->pixelFormatSource.load());
            if ((packing == 1 || packing == 3) && map && map->GetHasNode("GainSelector") && map->GetHasNode("Gain"))
            {
                cam->savedGains.clear();
                std::lock_guard<NodeMap> lock(*map);
                auto selector = map->FindNode<nodes::EnumerationNode>("GainSelector");
                auto gain = map->FindNode<nodes::FloatNode>("Gain");
                const std::string before = selector->GetValueAsString();
                for (const char* row : {"AnalogRed", "AnalogGreen", "AnalogBlue", "DigitalRed", "DigitalGreen",
                                        "DigitalBlue", "Red", "Green", "Blue", "AnalogAll", "DigitalAll", "All"})
                {
                    if (!camera::HasEnumerationEntry(map, "GainSelector", row, true))
                        continue;
                    try
                    {
                        selector->SetCurrentEntryBySymbolicValue(row);
                        cam->savedGains.emplace_back(row, gain->GetValue());
                        // Unity: 0 dB, or the smallest factor a camera with factor gains allows.
                        gain->SetValue(std::clamp(0.0, gain->GetMinimum(), gain->GetMaximum()));
                    }
                    catch (const std::exception& e)
                    {
                        LogMessageSender::Error(cam->keyText, context, Text(e.what()));
                    }
                }
                selector->SetCurrentEntryBySymbolicValue(before);
                if (cam->iplGainFeatureProvider)
                    cam->iplGainFeatureProvider->ResetGains();
            }

            auto switchOff = [&](const char* node, int& saved) {
                QString mode;
                if (!camera::IsNodeWritable(map, node) || !ReadNodeText(map, node, mode))
                    return;
                saved = AutoModeCode(mode);
                try
                {
                    map->FindNode<nodes::EnumerationNode>(node)->SetCurrentEntryBySymbolicValue("Off");
                }
                catch (const std::exception& e)
                {
                    LogMessageSender::Error(cam->keyText, context, Text(e.what()));
                }
            };
            switchOff("ExposureAuto", cam->savedExposureAuto);
            switchOff("GainAuto", cam->savedGainAuto);
            switchOff("BalanceWhiteAuto", cam->savedBalanceWhiteAuto);

            QString colorCorrection;
            if (camera::IsNodeWritable(map, "ColorCorrectionMode") &&
                ReadNodeText(map, "ColorCorrectionMode", colorCorrection))
            {
                cam->savedColorCorrectionMode = colorCorrection.toStdString();
                map->FindNode<nodes::EnumerationNode>("ColorCorrectionMode")->SetCurrentEntryBySymbolicValue("Off");
            }
        }
        else
        {
            // Back to the camera's defaults before the run; a camera without user sets simply goes on. A load
            // that is slow or fails may still have changed formats and geometry: the refresh below runs anyway.
            try
            {
                if (camera::IsNodeAccessible(map, "UserSetSelector"))
                    map->FindNode<nodes::EnumerationNode>("UserSetSelector")->SetCurrentEntryBySymbolicValue("Default");
                if (camera::IsNodeAccessible(map, "UserSetLoad"))
                    camera::ExecuteAndWait(map, "UserSetLoad", kUserSetLoadTimeoutMs);
            }
            catch (const std::exception& e)
            {
                LogMessageSender::Error(cam->keyText, context, Text(e.what()));
            }
            // What derives from the settings matters only to a camera that can stream. While not acquiring the
            // whole preparation runs (formats, geometry, the providers' image sizes, buffers, image buffer);
            // an acquiring camera keeps its buffers until its next start.
            if (cam->dataStream)
            {
                if (cam->isAcquiring)
                {
                    cam->UpdatePixelFormatSource();
                    cam->QueryImageGeometry();
                }
                else
                {
                    prepare = true;
                }
            }
        }
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(cam->keyText, context, Text(e.what()));
    }
    return LaunchAdjustRoutine(cam, prepare);
}
