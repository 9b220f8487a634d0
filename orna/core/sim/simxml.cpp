#include "orna/core/sim/simxml.h"

#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simpixels.h"
#include "orna/core/sim/simregisters.h"

#include <cstdio>
#include <sstream>
#include <utility>

namespace orna::core::sim {

std::vector<uint32_t> PixelFormatsOf(const SimCameraConfig& config)
{
    if (config.color)
    {
        return {pfnc::BayerRG8,   pfnc::BayerRG10,    pfnc::BayerRG10p,   pfnc::BayerRG12,
                pfnc::BayerRG12p, pfnc::BayerRG10g40, pfnc::BayerRG12g24, pfnc::RGB8,
                pfnc::BGRa8,      pfnc::Mono8,        pfnc::BayerGB8};
    }
    return {pfnc::Mono8, pfnc::Mono10, pfnc::Mono10p, pfnc::Mono12, pfnc::Mono12p, pfnc::Mono10g40, pfnc::Mono12g24};
}

namespace {

struct Entry
{
    std::string name;
    int64_t value;
    std::string description;
    // Node whose value says whether the entry can be chosen now; empty: always.
    std::string isAvailable = {};
};

// Where a register sits: a fixed address, optionally shifted by a selector's value times a stride.
struct Where
{
    uint64_t address;
    const char* selector = nullptr;
    uint64_t stride = 0;
};

std::string Hex(uint64_t v)
{
    char b[32];
    std::snprintf(b, sizeof b, "0x%llX", static_cast<unsigned long long>(v));
    return b;
}

std::string Num(double v)
{
    std::ostringstream o;
    o.precision(10);
    o << v;
    return o.str();
}

std::string Escape(const std::string& s)
{
    std::string out;
    for (char c : s)
    {
        switch (c)
        {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

class XmlWriter
{
public:
    std::ostringstream o;

    void Head(const char* kind, const std::string& name, const std::string& tip, const char* visibility = "Beginner")
    {
        o << "  <" << kind << " Name=\"" << name << "\">\n";
        if (!tip.empty())
        {
            o << "    <ToolTip>" << Escape(tip) << "</ToolTip>\n";
        }
        o << "    <Visibility>" << visibility << "</Visibility>\n";
    }
    void Tail(const char* kind) { o << "  </" << kind << ">\n"; }
    // Settings the host may save to and load from a parameter file: every read-write value feature except the
    // transport's own lock, which belongs to the acquisition, not to the settings.
    void Streamable(const std::string& name, const char* access)
    {
        if (std::string(access) == "RW" && name != "TLParamsLocked")
        {
            El("Streamable", "Yes");
        }
    }
    void Var(const char* name, const std::string& node)
    {
        o << "    <pVariable Name=\"" << name << "\">" << node << "</pVariable>\n";
    }
    void El(const char* tag, const std::string& value) { o << "    <" << tag << ">" << value << "</" << tag << ">\n"; }
    void RegBody(const Where& w, uint64_t length, const char* access, const char* port = "Device")
    {
        El("Address", Hex(w.address));
        if (w.selector != nullptr)
        {
            o << "    <pIndex Offset=\"" << w.stride << "\">" << w.selector << "</pIndex>\n";
        }
        El("Length", std::to_string(length));
        El("AccessMode", access);
        El("pPort", port);
        El("Cachable", "NoCache");
    }

    void IntReg(const std::string& name, const Where& w, uint64_t length, const char* access, const std::string& tip,
                const char* visibility = "Beginner", bool isSigned = false, const char* port = "Device")
    {
        Head("IntReg", name, tip, visibility);
        RegBody(w, length, access, port);
        El("Sign", isSigned ? "Signed" : "Unsigned");
        El("Endianess", "LittleEndian");
        Tail("IntReg");
    }
    void FloatReg(const std::string& name, const Where& w, const char* access, const std::string& tip,
                  const char* visibility = "Invisible", const char* unit = nullptr, const char* port = "Device")
    {
        Head("FloatReg", name, tip, visibility);
        RegBody(w, 8, access, port);
        El("Endianess", "LittleEndian");
        if (unit != nullptr)
        {
            El("Unit", unit);
        }
        Tail("FloatReg");
    }
    // An Integer over its own hidden register, with a fixed or node-given range.
    void Integer(const std::string& name, const Where& w, const std::string& tip, const std::string& min,
                 const std::string& max, int64_t inc = 1, const char* unit = nullptr, bool locked = false,
                 const char* access = "RW", const std::vector<std::string>& invalidators = {},
                 const char* visibility = "Beginner", uint64_t length = 4)
    {
        IntReg(name + "Reg", w, length, access, "", "Invisible");
        Head("Integer", name, tip, visibility);
        for (const auto& inv : invalidators)
        {
            El("pInvalidator", inv);
        }
        if (locked)
        {
            El("pIsLocked", "TLParamsLocked");
        }
        Streamable(name, access);
        El("pValue", name + "Reg");
        El(IsNode(min) ? "pMin" : "Min", min);
        El(IsNode(max) ? "pMax" : "Max", max);
        El("Inc", std::to_string(inc));
        if (unit != nullptr)
        {
            El("Unit", unit);
        }
        El("Representation", "Linear");
        Tail("Integer");
    }
    void Float(const std::string& name, const Where& w, const std::string& tip, double min, const std::string& max,
               const char* unit, const char* visibility = "Beginner", const std::vector<std::string>& invalidators = {})
    {
        FloatReg(name + "Reg", w, "RW", "");
        Head("Float", name, tip, visibility);
        for (const auto& inv : invalidators)
        {
            El("pInvalidator", inv);
        }
        Streamable(name, "RW");
        El("pValue", name + "Reg");
        El("Min", Num(min));
        El(IsNode(max) ? "pMax" : "Max", max);
        if (unit != nullptr)
        {
            El("Unit", unit);
        }
        El("Representation", "PureNumber");
        Tail("Float");
    }
    void Enumeration(const std::string& name, const Where& w, const std::string& tip, const std::vector<Entry>& entries,
                     const char* access = "RW", const std::vector<std::string>& selected = {}, bool locked = false,
                     const char* visibility = "Beginner", const char* port = "Device",
                     const std::vector<std::string>& invalidators = {})
    {
        IntReg(name + "Reg", w, 4, access, "", "Invisible", false, port);
        Head("Enumeration", name, tip, visibility);
        for (const auto& inv : invalidators)
        {
            El("pInvalidator", inv);
        }
        if (locked)
        {
            El("pIsLocked", "TLParamsLocked");
        }
        for (const auto& s : selected)
        {
            El("pSelected", s);
        }
        for (const Entry& e : entries)
        {
            o << "    <EnumEntry Name=\"" << e.name << "\">\n";
            if (!e.description.empty())
            {
                o << "      <Description>" << Escape(e.description) << "</Description>\n";
            }
            if (!e.isAvailable.empty())
            {
                o << "      <pIsAvailable>" << e.isAvailable << "</pIsAvailable>\n";
            }
            o << "      <Value>" << e.value << "</Value>\n    </EnumEntry>\n";
        }
        Streamable(name, access);
        El("pValue", name + "Reg");
        Tail("Enumeration");
    }
    void Boolean(const std::string& name, const Where& w, const std::string& tip, int bit = -1, bool locked = false,
                 const char* access = "RW")
    {
        if (bit >= 0)
        {
            Head("MaskedIntReg", name + "Reg", "", "Invisible");
            RegBody(w, 4, access);
            El("Bit", std::to_string(bit));
            El("Sign", "Unsigned");
            El("Endianess", "LittleEndian");
            Tail("MaskedIntReg");
        }
        else
        {
            IntReg(name + "Reg", w, 4, access, "", "Invisible");
        }
        Head("Boolean", name, tip);
        if (locked)
        {
            El("pIsLocked", "TLParamsLocked");
        }
        Streamable(name, access);
        El("pValue", name + "Reg");
        El("OnValue", "1");
        El("OffValue", "0");
        Tail("Boolean");
    }
    void Command(const std::string& name, const Where& w, const std::string& tip, const char* visibility = "Beginner")
    {
        IntReg(name + "Reg", w, 4, "RW", "", "Invisible");
        Head("Command", name, tip, visibility);
        El("pValue", name + "Reg");
        El("CommandValue", "1");
        Tail("Command");
    }
    void StringReg(const std::string& name, uint64_t address, const char* access, const std::string& tip)
    {
        Head("StringReg", name, tip);
        RegBody({address}, reg::kStringLength, access);
        Tail("StringReg");
    }
    void Register(const std::string& name, uint64_t address, uint64_t length, const std::string& tip,
                  const char* visibility = "Expert")
    {
        Head("Register", name, tip, visibility);
        RegBody({address}, length, "RW");
        Tail("Register");
    }
    void Category(const std::string& name, const std::string& tip, const std::vector<std::string>& features)
    {
        Head("Category", name, tip);
        for (const auto& f : features)
        {
            El("pFeature", f);
        }
        Tail("Category");
    }

private:
    static bool IsNode(const std::string& s)
    {
        return !s.empty() && ((s[0] >= 'A' && s[0] <= 'Z') || (s[0] >= 'a' && s[0] <= 'z'));
    }
};

std::vector<Entry> OffOn()
{
    return {{"Off", val::Off, ""}, {"On", val::On, ""}};
}
std::vector<Entry> AutoEntries()
{
    return {{"Off", val::AutoOff, ""}, {"Once", val::AutoOnce, ""}, {"Continuous", val::AutoContinuous, ""}};
}
std::vector<Entry> GainEntries()
{
    return {{"All", val::GainAll, ""}, {"AnalogAll", val::GainAnalogAll, ""}, {"DigitalAll", val::GainDigitalAll, ""}};
}

void DeviceSection(XmlWriter& x, const SimCameraConfig& c)
{
    using namespace reg;
    x.StringReg("DeviceVendorName", DeviceVendorName, "RO", "Name of the manufacturer.");
    x.StringReg("DeviceModelName", DeviceModelName, "RO", "Model of the device.");
    x.StringReg("DeviceFamilyName", DeviceFamilyName, "RO", "Product family of the device.");
    x.StringReg("DeviceSerialNumber", DeviceSerialNumber, "RO", "Serial number of the device.");
    x.StringReg("DeviceUserID", DeviceUserID, "RW", "User-programmable name of the device, kept in the camera.");
    x.StringReg("DeviceFirmwareVersion", DeviceFirmwareVersion, "RO", "Version of the running firmware.");
    x.StringReg("DeviceVersion", DeviceVersion, "RO", "Hardware version of the device.");
    x.StringReg("DeviceManufacturerInfo", DeviceManufacturerInfo, "RO", "Manufacturer information.");
    x.StringReg("SensorName", reg::SensorName, "RO", "Name of the image sensor.");
    if (!c.tlType.empty())
        x.StringReg("DeviceTLType", DeviceTLType, "RO", "Transport layer type of the device.");
    x.Enumeration("DeviceBootStatus", {DeviceBootStatus}, "Result of the last boot.",
                  {{"OK", val::BootOK, "The camera booted normally."},
                   {"WatchdogReset", val::BootWatchdogReset, "The firmware was restarted by its watchdog."},
                   {"ConfigurationCrcError", val::BootConfigurationCrcError,
                    "The stored configuration failed its checksum; factory settings were loaded."}},
                  "RO");
    x.Enumeration(
        "BootOptions", {BootOptions}, "Firmware started at the next reset.",
        {{"Runtime", val::BootRuntime, "Runtime firmware."}, {"Service", val::BootService, "Service firmware."}}, "RW",
        {}, false, "Guru");
    x.Command("DeviceReset", {DeviceReset}, "Resets the device; it leaves the bus and comes back after its boot.");
    x.IntReg("DeviceTemperatureRaw", {DeviceTemperatureRaw}, 4, "RO", "", "Invisible", true);
    x.Head("Converter", "DeviceTemperature", "Temperature of the main board.", "Expert");
    x.Var("RAW", "DeviceTemperatureRaw");
    x.El("FormulaTo", "FROM*10");
    x.El("FormulaFrom", "TO/10");
    x.El("pValue", "DeviceTemperatureRaw");
    x.El("Unit", "C");
    x.El("Representation", "PureNumber");
    x.El("Slope", "Increasing");
    x.Tail("Converter");
    x.IntReg("DeviceStreamChannelCount", {DeviceStreamChannelCount}, 4, "RO", "Number of data streams.", "Expert");
    x.Integer("LockRegisterValue", {LockRegister}, "", "0", "4294967295", 1, nullptr, false, "RO", {}, "Invisible");
    std::vector<std::string> device = {
        "DeviceVendorName",  "DeviceModelName",         "DeviceFamilyName", "DeviceSerialNumber",
        "DeviceUserID",      "DeviceFirmwareVersion",   "DeviceVersion",    "DeviceManufacturerInfo",
        "SensorName",        "DeviceBootStatus",        "BootOptions",      "DeviceReset",
        "DeviceTemperature", "DeviceStreamChannelCount"};
    if (!c.tlType.empty())
        device.push_back("DeviceTLType");
    if (c.serviceFirmware)
    {
        x.Category("DeviceControl", "Device information and control.", device);
        return;
    }
    x.Enumeration("DeviceOpticalFilterType", {DeviceOpticalFilterType}, "Optical filter in front of the sensor.",
                  {{"None", val::FilterNone, ""}, {"IRCut", val::FilterIRCut, ""}}, "RO");
    x.Integer("DeviceLinkSpeed", {reg::DeviceLinkSpeed}, "Speed of the link.", "0", "10000000000", 1, "B/s", false,
              "RO", {}, "Expert", 8);
    x.Enumeration("DeviceLinkThroughputLimitMode", {DeviceLinkThroughputLimitMode},
                  "Whether the throughput limit is applied.", OffOn(), "RW", {}, false, "Expert");
    x.Integer("DeviceLinkThroughputLimit", {reg::DeviceLinkThroughputLimit}, "Bandwidth the camera may use.", "1000000",
              std::to_string(c.linkSpeed), 1000, "B/s", false, "RW", {}, "Expert", 8);
    x.FloatReg("DeviceLinkAcquisitionFrameRateLimit", {DeviceLinkAcquisitionFrameRateLimit}, "RO",
               "Frame rate the link can carry at the current payload size.", "Expert", "Hz");
    x.Command("TimestampLatch", {TimestampLatch}, "Latches the timestamp counter into TimestampLatchValue.", "Expert");
    x.Integer("TimestampLatchValue", {TimestampLatchValue}, "Latched timestamp.", "0", "9223372036854775807", 1, "ns",
              false, "RO", {}, "Expert", 8);
    x.Command("TimestampReset", {TimestampReset}, "Restarts the timestamp counter at 0.", "Expert");
    x.FloatReg("SensorClockFrequency", {SensorClockFrequency}, "RO", "Pixel clock of the sensor.", "Expert", "Hz");
    x.Integer("TLParamsLocked", {reg::TLParamsLocked}, "Set by the host while streaming: locks the size nodes.", "0",
              "1", 1, nullptr, false, "RW", {}, "Invisible");
    device.insert(device.end(), {"DeviceOpticalFilterType", "DeviceLinkSpeed", "DeviceLinkThroughputLimitMode",
                                 "DeviceLinkThroughputLimit", "DeviceLinkAcquisitionFrameRateLimit", "TimestampLatch",
                                 "TimestampLatchValue", "TimestampReset", "SensorClockFrequency"});
    x.Category("DeviceControl", "Device information and control.", device);
}

void ImageSection(XmlWriter& x, const SimCameraConfig& c)
{
    using namespace reg;
    const std::vector<std::string> sizeNodes = {"BinningHorizontal", "BinningVertical", "DecimationHorizontal",
                                                "DecimationVertical"};
    x.Integer("SensorWidth", {SensorWidth}, "Width of the sensor.", "0", std::to_string(c.sensorWidth), 1, "px", false,
              "RO", {}, "Expert");
    x.Integer("SensorHeight", {SensorHeight}, "Height of the sensor.", "0", std::to_string(c.sensorHeight), 1, "px",
              false, "RO", {}, "Expert");
    x.Integer("WidthMax", {WidthMax}, "Largest width at the current binning and decimation.", "0",
              std::to_string(c.sensorWidth), 1, "px", false, "RO", sizeNodes, "Expert");
    x.Integer("HeightMax", {HeightMax}, "Largest height at the current binning and decimation.", "0",
              std::to_string(c.sensorHeight), 1, "px", false, "RO", sizeNodes, "Expert");
    auto knife = [&](const char* name, const char* a, const char* b) {
        x.Head("IntSwissKnife", name, "", "Invisible");
        x.Var("A", a);
        x.Var("B", b);
        x.El("Formula", "A-B");
        x.Tail("IntSwissKnife");
    };
    knife("WidthLimit", "WidthMax", "OffsetX");
    knife("HeightLimit", "HeightMax", "OffsetY");
    knife("OffsetXLimit", "WidthMax", "Width");
    knife("OffsetYLimit", "HeightMax", "Height");
    x.Integer("Width", {Width}, "Width of the image.", std::to_string(limits::WidthMin), "WidthLimit", limits::WidthInc,
              "px", true, "RW", sizeNodes);
    x.Integer("Height", {Height}, "Height of the image.", std::to_string(limits::HeightMin), "HeightLimit",
              limits::HeightInc, "px", true, "RW", sizeNodes);
    x.Integer("OffsetX", {OffsetX}, "Horizontal offset of the region.", "0", "OffsetXLimit", limits::OffsetXInc, "px",
              false, "RW", {"Width", "BinningHorizontal", "DecimationHorizontal"});
    x.Integer("OffsetY", {OffsetY}, "Vertical offset of the region.", "0", "OffsetYLimit", limits::OffsetYInc, "px",
              false, "RW", {"Height", "BinningVertical", "DecimationVertical"});
    std::vector<Entry> formats;
    for (uint32_t f : PixelFormatsOf(c))
    {
        formats.push_back({DescribePixelFormat(f).name, int64_t(f), ""});
    }
    x.Enumeration("PixelFormat", {reg::PixelFormat}, "Format of the pixels sent.", formats, "RW", {}, true);
    x.Enumeration("PixelColorFilter", {PixelColorFilter}, "Colour filter of the sensor.",
                  {{"None", val::ColorFilterNone, ""}, {"BayerRG", val::ColorFilterBayerRG, ""}}, "RO", {}, false,
                  "Expert");
    const std::vector<Entry> engines = {{"Sensor", val::SelSensor, "In the sensor."},
                                        {"Region0", val::SelRegion0, "In the FPGA, on the region."}};
    x.Enumeration("BinningSelector", {BinningSelector}, "Which binning engine the binning nodes configure.", engines,
                  "RW", {"BinningHorizontal", "BinningVertical", "BinningMode"}, false, "Expert");
    const std::string binMax = std::to_string(limits::BinningMax), decMax = std::to_string(limits::DecimationMax);
    x.Integer("BinningHorizontal", {BinningHorizontal, "BinningSelector", kSelectorStride},
              "Horizontal pixels combined into one.", "1", binMax, 1, nullptr, true);
    x.Integer("BinningVertical", {BinningVertical, "BinningSelector", kSelectorStride},
              "Vertical pixels combined into one.", "1", binMax, 1, nullptr, true);
    x.Enumeration("BinningMode", {reg::BinningMode, "BinningSelector", kSelectorStride}, "How binned pixels combine.",
                  {{"Sum", val::BinningSum, ""}, {"Average", val::BinningAverage, ""}});
    x.Enumeration("DecimationSelector", {DecimationSelector}, "Which engine the decimation nodes configure.", engines,
                  "RW", {"DecimationHorizontal", "DecimationVertical"}, false, "Expert");
    x.Integer("DecimationHorizontal", {DecimationHorizontal, "DecimationSelector", kSelectorStride},
              "Horizontal sub-sampling factor.", "1", decMax, 1, nullptr, true);
    x.Integer("DecimationVertical", {DecimationVertical, "DecimationSelector", kSelectorStride},
              "Vertical sub-sampling factor.", "1", decMax, 1, nullptr, true);
    x.Boolean("ReverseX", {ImageFlip}, "Mirrors the image horizontally.", 0);
    x.Boolean("ReverseY", {ImageFlip}, "Mirrors the image vertically.", 1);
    x.Enumeration("ImageBufferMode", {reg::ImageBufferMode}, "One image per buffer, or several images in one buffer.",
                  {{"SingleImage", val::SingleImage, ""}, {"MultiImage", val::MultiImage, ""}}, "RW", {}, true,
                  "Expert");
    x.Integer("ImageBufferImageCount", {ImageBufferImageCount}, "Images in one buffer in MultiImage mode.", "2",
              std::to_string(limits::ImageBufferImageCountMax), 1, nullptr, true, "RW", {}, "Expert");
    x.Integer("PayloadSize", {PayloadSize}, "Bytes of one buffer: images and chunk data.", "0", "4294967295", 1, "B",
              false, "RO",
              {"Width", "Height", "PixelFormat", "BinningHorizontal", "BinningVertical", "DecimationHorizontal",
               "DecimationVertical", "ChunkModeActive", "ChunkEnable", "ImageBufferMode", "ImageBufferImageCount"},
              "Expert");
    x.Category("ImageFormatControl", "Image size and format.",
               {"SensorWidth",
                "SensorHeight",
                "WidthMax",
                "HeightMax",
                "Width",
                "Height",
                "OffsetX",
                "OffsetY",
                "PixelFormat",
                "PixelColorFilter",
                "BinningSelector",
                "BinningHorizontal",
                "BinningVertical",
                "BinningMode",
                "DecimationSelector",
                "DecimationHorizontal",
                "DecimationVertical",
                "ReverseX",
                "ReverseY",
                "ImageBufferMode",
                "ImageBufferImageCount",
                "PayloadSize"});
}

void AcquisitionSection(XmlWriter& x)
{
    using namespace reg;
    x.Enumeration("AcquisitionMode", {AcquisitionMode}, "Number of frames one start gives.",
                  {{"Continuous", val::Continuous, ""},
                   {"SingleFrame", val::SingleFrame, ""},
                   {"MultiFrame", val::MultiFrame, ""}},
                  "RW", {}, true);
    x.Command("AcquisitionStart", {AcquisitionStart}, "Starts the acquisition.");
    x.Command("AcquisitionStop", {AcquisitionStop}, "Stops the acquisition after the current frame.");
    x.Integer("AcquisitionFrameCount", {AcquisitionFrameCount}, "Frames of one MultiFrame acquisition.", "1", "65535");
    x.FloatReg("AcquisitionFrameRateMax", {AcquisitionFrameRateMax}, "RO", "", "Invisible", "Hz");
    x.Float("AcquisitionFrameRate", {AcquisitionFrameRate}, "Frame rate when AcquisitionFrameRateEnable is set.",
            limits::FrameRateMin, "AcquisitionFrameRateMax", "Hz", "Beginner",
            {"ExposureTime", "Height", "PixelFormat"});
    x.Boolean("AcquisitionFrameRateEnable", {AcquisitionControlFlags}, "Limits the frame rate to AcquisitionFrameRate.",
              0);
    x.Integer("ResultingFramePeriodNs", {ResultingFramePeriodNs}, "", "0", "9223372036854775807", 1, "ns", false, "RO",
              {}, "Invisible", 8);
    x.Head("SwissKnife", "AcquisitionResultingFrameRate", "Frame rate the camera runs at with the current settings.",
           "Expert");
    x.Var("P", "ResultingFramePeriodNs");
    x.El("Formula", "1000000000/P");
    x.El("Unit", "Hz");
    x.Tail("SwissKnife");
    x.Head("StructReg", "AcquisitionStatusRegister", "", "Invisible");
    x.El("Address", Hex(reg::AcquisitionStatus));
    x.El("Length", "4");
    x.El("AccessMode", "RO");
    x.El("pPort", "Device");
    x.El("Cachable", "NoCache");
    x.El("Endianess", "LittleEndian");
    x.o << "    <StructEntry Name=\"AcquisitionActive\">\n      <ToolTip>The acquisition is running.</ToolTip>\n"
           "      <Bit>0</Bit>\n    </StructEntry>\n"
           "    <StructEntry Name=\"FrameTriggerWait\">\n      <ToolTip>The camera waits for a frame "
           "trigger.</ToolTip>\n"
           "      <Bit>1</Bit>\n    </StructEntry>\n";
    x.Tail("StructReg");
    x.Float("ExposureTime", {ExposureTime}, "Exposure time of a frame.", limits::ExposureMin, Num(limits::ExposureMax),
            "us");
    x.Enumeration("ExposureAuto", {ExposureAuto}, "Automatic exposure.", AutoEntries());
    x.Enumeration("SensorOperationMode", {reg::SensorOperationMode}, "Operating mode of the sensor.",
                  {{"Default", val::SensorDefault, ""}, {"LowNoise", val::SensorLowNoise, "Lower read noise."}}, "RW",
                  {}, false, "Expert");
    x.Enumeration("SensorShutterMode", {reg::SensorShutterMode}, "Shutter of the sensor.",
                  {{"Global", val::ShutterGlobal, ""}, {"Rolling", val::ShutterRolling, ""}}, "RW", {}, false,
                  "Expert");
    const char* trig = "TriggerSelector";
    x.Enumeration(
        "TriggerSelector", {TriggerSelector}, "Which trigger the trigger nodes configure.",
        {{"FrameStart", val::FrameStart, ""}, {"AcquisitionStart", val::AcquisitionStartTrigger, ""}}, "RW",
        {"TriggerMode", "TriggerSource", "TriggerActivation", "TriggerSoftware", "TriggerDelay", "TriggerDivider"});
    x.Enumeration("TriggerMode", {kTriggerBlock + TriggerModeOffset, trig, kTriggerStride},
                  "Whether the trigger is used.", OffOn());
    x.Enumeration("TriggerSource", {kTriggerBlock + TriggerSourceOffset, trig, kTriggerStride},
                  "Source of the trigger.",
                  {{"Software", val::SourceSoftware, ""},
                   {"Line0", val::SourceLine0, ""},
                   {"Line1", val::SourceLine1, "The flash output; listed, never available as a trigger source.",
                    "TriggerSourceLine1Available"},
                   {"Line2", val::SourceLine2, ""},
                   {"Line3", val::SourceLine3, ""}});
    // Line1 is an output: the family's XML lists it as a source but never lets it be chosen.
    x.Head("Integer", "TriggerSourceLine1Available", "", "Invisible");
    x.El("Value", "0");
    x.Tail("Integer");
    x.Enumeration("TriggerActivation", {kTriggerBlock + TriggerActivationOffset, trig, kTriggerStride},
                  "Signal edge or level that triggers.",
                  {{"RisingEdge", val::RisingEdge, ""},
                   {"FallingEdge", val::FallingEdge, ""},
                   {"AnyEdge", val::AnyEdge, ""},
                   {"LevelHigh", val::LevelHigh, ""},
                   {"LevelLow", val::LevelLow, ""}});
    x.Command("TriggerSoftware", {kTriggerBlock + TriggerSoftwareOffset, trig, kTriggerStride},
              "Issues a software trigger.");
    x.Float("TriggerDelay", {kTriggerBlock + TriggerDelayOffset, trig, kTriggerStride},
            "Delay from trigger to exposure.", 0.0, Num(limits::DelayMax), "us", "Expert");
    x.Integer("TriggerDivider", {kTriggerBlock + TriggerDividerOffset, trig, kTriggerStride},
              "Only every n-th trigger starts a frame.", "1", std::to_string(limits::TriggerDividerMax), 1, nullptr,
              false, "RW", {}, "Expert");
    x.Category("AcquisitionControl", "Acquisition and triggers.",
               {"AcquisitionMode",
                "AcquisitionStart",
                "AcquisitionStop",
                "AcquisitionFrameCount",
                "AcquisitionFrameRate",
                "AcquisitionFrameRateEnable",
                "AcquisitionResultingFrameRate",
                "AcquisitionActive",
                "FrameTriggerWait",
                "ExposureTime",
                "ExposureAuto",
                "SensorOperationMode",
                "SensorShutterMode",
                "TriggerSelector",
                "TriggerMode",
                "TriggerSource",
                "TriggerActivation",
                "TriggerSoftware",
                "TriggerDelay",
                "TriggerDivider"});
}

void AnalogSection(XmlWriter& x, const SimCameraConfig& c)
{
    using namespace reg;
    x.Enumeration("GainSelector", {reg::GainSelector}, "Which gain stage Gain sets.", GainEntries(), "RW", {"Gain"});
    // Gain's maximum depends on the selected stage: a register array of maxima is not needed, the largest
    // stage bounds the node and the camera rejects writes beyond the selected stage's own limit.
    x.Float("Gain", {reg::Gain, "GainSelector", 8}, "Gain of the selected stage.", 0.0,
            Num(limits::GainMax[val::GainAll]), "dB", "Beginner", {"GainSelector"});
    x.Enumeration("GainAuto", {GainAuto}, "Automatic gain.", AutoEntries());
    std::vector<std::string> features = {"GainSelector", "Gain", "GainAuto"};
    if (c.color)
    {
        x.Enumeration("BalanceRatioSelector", {BalanceRatioSelector}, "Which colour BalanceRatio sets.",
                      {{"Red", val::Red, ""}, {"Green", val::Green, ""}, {"Blue", val::Blue, ""}}, "RW",
                      {"BalanceRatio"});
        x.Float("BalanceRatio", {BalanceRatio, "BalanceRatioSelector", 8}, "Gain of the selected colour.",
                limits::BalanceRatioMin, Num(limits::BalanceRatioMax), nullptr);
        x.Enumeration("BalanceWhiteAuto", {BalanceWhiteAuto}, "Automatic white balance.", AutoEntries());
        features.insert(features.end(), {"BalanceRatioSelector", "BalanceRatio", "BalanceWhiteAuto"});
    }
    x.Float("BlackLevel", {BlackLevel}, "Offset of the black level.", 0.0, Num(limits::BlackLevelMax), "%", "Expert");
    x.Float("Gamma", {reg::Gamma}, "Gamma of the output.", limits::GammaMin, Num(limits::GammaMax), nullptr, "Expert");
    features.insert(features.end(), {"BlackLevel", "Gamma"});
    if (c.color)
    {
        x.Enumeration("ColorCorrectionMode", {reg::ColorCorrectionMode},
                      "Whether the camera applies its colour correction matrix to RGB outputs.",
                      {{"Off", val::ColorCorrectionOff, ""}, {"Auto", val::ColorCorrectionAuto, ""}});
        std::vector<Entry> gains;
        for (uint32_t k = 0; k < val::kColorCorrectionGains; ++k)
        {
            gains.push_back({"Gain" + std::to_string(k / 3) + std::to_string(k % 3), int64_t(k), ""});
        }
        x.Enumeration("ColorCorrectionMatrixValueSelector", {ColorCorrectionMatrixValueSelector},
                      "Which coefficient ColorCorrectionMatrixValue sets (row: output, column: input).", gains, "RW",
                      {"ColorCorrectionMatrixValue"}, false, "Expert");
        x.Float("ColorCorrectionMatrixValue", {ColorCorrectionMatrixValue, "ColorCorrectionMatrixValueSelector", 8},
                "Coefficient of the colour correction matrix.", limits::ColorCorrectionMin,
                Num(limits::ColorCorrectionMax), nullptr, "Expert");
        x.Category("ColorCorrectionMatrix", "The camera's colour correction.",
                   {"ColorCorrectionMode", "ColorCorrectionMatrixValueSelector", "ColorCorrectionMatrixValue"});
        features.push_back("ColorCorrectionMatrix");
    }
    x.Category("AnalogControl", "Gain, white balance, black level.", features);
    x.Integer("FocusStepper", {FocusStepper}, "Position of the focus motor.", "0", std::to_string(limits::FocusMax));
    x.Category("LensControl", "Focus.", {"FocusStepper"});
}

void ChunkSection(XmlWriter& x, const SimCameraConfig& c)
{
    using namespace reg;
    x.Boolean("ChunkModeActive", {ChunkModeActive}, "Appends chunk data to each buffer.", 0, true);
    const std::vector<Entry> chunks = {{"UsableROI", val::ChunkUsableROI, ""},
                                       {"OffsetX", val::ChunkOffsetX, ""},
                                       {"OffsetY", val::ChunkOffsetY, ""},
                                       {"Width", val::ChunkWidth, ""},
                                       {"Height", val::ChunkHeight, ""},
                                       {"PixelFormat", val::ChunkPixelFormat, ""},
                                       {"Timestamp", val::ChunkTimestamp, ""},
                                       {"ExposureTriggerTimestamp", val::ChunkExposureTriggerTimestamp, ""},
                                       {"ExposureTime", val::ChunkExposureTime, ""},
                                       {"Gain", val::ChunkGain, ""},
                                       {"FrameID", val::ChunkFrameID, ""}};
    x.Enumeration("ChunkSelector", {ChunkSelector}, "Which chunk ChunkEnable switches.", chunks, "RW", {"ChunkEnable"});
    x.Boolean("ChunkEnable", {ChunkEnable, "ChunkSelector", 4}, "Includes the selected chunk.", -1, true);
    x.Enumeration("ChunkGainSelector", {reg::ChunkGainSelector}, "Which gain stage the Gain chunk reports.",
                  GainEntries());
    // Chunk data: one port per chunk id; values little-endian inside each chunk.
    auto port = [&](uint32_t selector) {
        char name[48];
        std::snprintf(name, sizeof name, "ChunkPort%u", selector);
        char id[16];
        std::snprintf(id, sizeof id, "%08X", chunkid::For(selector));
        x.o << "  <Port Name=\"" << name << "\">\n    <Visibility>Invisible</Visibility>\n    <ChunkID>" << id
            << "</ChunkID>\n  </Port>\n";
        return std::string(name);
    };
    std::string p = port(val::ChunkUsableROI);
    x.IntReg("ChunkUsableOffsetX", {0}, 4, "RO", "Usable region: offset X.", "Beginner", false, p.c_str());
    x.IntReg("ChunkUsableOffsetY", {4}, 4, "RO", "Usable region: offset Y.", "Beginner", false, p.c_str());
    x.IntReg("ChunkUsableWidth", {8}, 4, "RO", "Usable region: width.", "Beginner", false, p.c_str());
    x.IntReg("ChunkUsableHeight", {12}, 4, "RO", "Usable region: height.", "Beginner", false, p.c_str());
    p = port(val::ChunkOffsetX);
    x.IntReg("ChunkOffsetX", {0}, 4, "RO", "Offset X of the frame.", "Beginner", false, p.c_str());
    p = port(val::ChunkOffsetY);
    x.IntReg("ChunkOffsetY", {0}, 4, "RO", "Offset Y of the frame.", "Beginner", false, p.c_str());
    p = port(val::ChunkWidth);
    x.IntReg("ChunkWidth", {0}, 4, "RO", "Width of the frame.", "Beginner", false, p.c_str());
    p = port(val::ChunkHeight);
    x.IntReg("ChunkHeight", {0}, 4, "RO", "Height of the frame.", "Beginner", false, p.c_str());
    p = port(val::ChunkPixelFormat);
    std::vector<Entry> formats;
    for (uint32_t f : PixelFormatsOf(c))
    {
        formats.push_back({DescribePixelFormat(f).name, int64_t(f), ""});
    }
    x.Enumeration("ChunkPixelFormat", {0}, "Pixel format of the frame.", formats, "RO", {}, false, "Beginner",
                  p.c_str());
    p = port(val::ChunkTimestamp);
    x.IntReg("ChunkTimestamp", {0}, 8, "RO", "Timestamp of the frame's exposure start (ns).", "Beginner", false,
             p.c_str());
    p = port(val::ChunkExposureTriggerTimestamp);
    x.IntReg("ChunkExposureTriggerTimestamp", {0}, 8, "RO", "Timestamp of the trigger of the frame (ns).", "Beginner",
             false, p.c_str());
    p = port(val::ChunkExposureTime);
    x.FloatReg("ChunkExposureTime", {0}, "RO", "Exposure time of the frame.", "Beginner", "us", p.c_str());
    p = port(val::ChunkGain);
    x.FloatReg("ChunkGain", {0}, "RO", "Gain of the frame, of the stage chosen by ChunkGainSelector.", "Beginner", "dB",
               p.c_str());
    p = port(val::ChunkFrameID);
    x.IntReg("ChunkFrameID", {0}, 8, "RO", "Frame id.", "Beginner", false, p.c_str());
    x.Category("ChunkDataControl", "Chunk data appended to the images.",
               {"ChunkModeActive", "ChunkSelector", "ChunkEnable", "ChunkGainSelector", "ChunkUsableOffsetX",
                "ChunkUsableOffsetY", "ChunkUsableWidth", "ChunkUsableHeight", "ChunkOffsetX", "ChunkOffsetY",
                "ChunkWidth", "ChunkHeight", "ChunkPixelFormat", "ChunkTimestamp", "ChunkExposureTriggerTimestamp",
                "ChunkExposureTime", "ChunkGain", "ChunkFrameID"});
}

void EventSection(XmlWriter& x)
{
    using namespace reg;
    x.Enumeration("EventSelector", {EventSelector}, "Which event EventNotification switches.",
                  {{"ExposureEnd", val::EventSelExposureEnd, ""}, {"Test", val::EventSelTest, ""}}, "RW",
                  {"EventNotification"});
    x.Enumeration("EventNotification", {EventNotification, "EventSelector", 4}, "Whether the selected event is sent.",
                  OffOn());
    x.Command("TestEventGenerate", {TestEventGenerate}, "Sends a test event.");
    x.Integer("EventExposureEnd", {reg::EventExposureEnd}, "Id of the exposure end event.", "0", "65535", 1, nullptr,
              false, "RO", {}, "Expert");
    x.Integer("EventExposureEndTimestamp", {EventExposureEndTimestamp}, "Timestamp of the last exposure end event.",
              "0", "9223372036854775807", 1, "ns", false, "RO", {}, "Expert", 8);
    x.Integer("EventExposureEndFrameID", {EventExposureEndFrameID}, "Frame of the last exposure end event.", "0",
              "9223372036854775807", 1, nullptr, false, "RO", {}, "Expert", 8);
    x.Integer("EventTest", {reg::EventTest}, "Id of the test event.", "0", "65535", 1, nullptr, false, "RO", {},
              "Expert");
    x.Integer("EventTestTimestamp", {EventTestTimestamp}, "Timestamp of the last test event.", "0",
              "9223372036854775807", 1, "ns", false, "RO", {}, "Expert", 8);
    x.Category("EventControl", "Events sent by the camera.",
               {"EventSelector", "EventNotification", "TestEventGenerate", "EventExposureEnd",
                "EventExposureEndTimestamp", "EventExposureEndFrameID", "EventTest", "EventTestTimestamp"});
}

void FileSection(XmlWriter& x)
{
    using namespace reg;
    x.Enumeration("FileSelector", {FileSelector}, "The file the file access nodes work on.",
                  {{"UserSet1", val::FileUserSet1, "Contents of user set 1."},
                   {"UserSet2", val::FileUserSet2, "Contents of user set 2."},
                   {"UserData", val::FileUserData, "A free text file."},
                   {"Firmware", val::FileFirmware, "Firmware image (write only); installed by the next DeviceReset."}},
                  "RW", {"FileOperationSelector", "FileOpenMode", "FileSize", "FileOperationExecute"});
    x.Enumeration("FileOperationSelector", {FileOperationSelector}, "Operation FileOperationExecute runs.",
                  {{"Open", val::FileOpen, ""},
                   {"Close", val::FileClose, ""},
                   {"Read", val::FileRead, ""},
                   {"Write", val::FileWrite, ""},
                   {"Delete", val::FileDelete, ""}},
                  "RW", {"FileOperationExecute", "FileOperationStatus", "FileOperationResult"});
    x.Enumeration("FileOpenMode", {reg::FileOpenMode}, "Access mode of Open.",
                  {{"Read", val::OpenRead, ""},
                   {"Write", val::OpenWrite, "Truncates the file."},
                   {"ReadWrite", val::OpenReadWrite, ""}});
    x.Command("FileOperationExecute", {FileOperationExecute}, "Runs the selected file operation.");
    x.Integer("FileAccessOffset", {FileAccessOffset}, "Byte offset of Read and Write.", "0", "65536", 1, "B");
    x.Integer("FileAccessLength", {FileAccessLength}, "Byte count of Read and Write.", "0",
              std::to_string(kFileAccessBufferLength), 1, "B");
    x.Register("FileAccessBuffer", FileAccessBuffer, kFileAccessBufferLength, "Data of Read and Write.");
    x.Enumeration("FileOperationStatus", {reg::FileOperationStatus}, "Outcome of the last file operation.",
                  {{"Success", val::Success, ""}, {"Failure", val::Failure, ""}}, "RO");
    x.Integer("FileOperationResult", {FileOperationResult}, "Bytes moved by the last Read or Write.", "0", "65536", 1,
              "B", false, "RO");
    x.Integer("FileSize", {FileSize}, "Size of the selected file.", "0", "65536", 1, "B", false, "RO");
    x.Category("FileAccessControl", "Files in the camera.",
               {"FileSelector", "FileOperationSelector", "FileOpenMode", "FileOperationExecute", "FileAccessOffset",
                "FileAccessLength", "FileAccessBuffer", "FileOperationStatus", "FileOperationResult", "FileSize"});
}

void UserSetSection(XmlWriter& x)
{
    using namespace reg;
    const std::vector<Entry> sets = {{"Default", val::UserSetDefaultSet, "Factory settings (read-only)."},
                                     {"UserSet1", val::UserSet1, ""},
                                     {"UserSet2", val::UserSet2, ""}};
    x.Enumeration("UserSetSelector", {UserSetSelector}, "The user set UserSetLoad and UserSetSave work on.", sets, "RW",
                  {"UserSetLoad", "UserSetSave"});
    x.Command("UserSetLoad", {UserSetLoad}, "Loads the selected user set.");
    x.Command("UserSetSave", {UserSetSave}, "Saves the current settings into the selected user set.");
    x.Enumeration("UserSetDefault", {reg::UserSetDefault}, "The user set loaded at power-up.", sets);
    x.Category("UserSetControl", "Saved settings.",
               {"UserSetSelector", "UserSetLoad", "UserSetSave", "UserSetDefault"});
}

void IoSection(XmlWriter& x)
{
    using namespace reg;
    const char* line = "LineSelector";
    x.Enumeration("LineSelector", {LineSelector}, "The line the line nodes configure.",
                  {{"Line0", 0, "Opto-isolated input."},
                   {"Line1", 1, "Flash output."},
                   {"Line2", 2, "GPIO."},
                   {"Line3", 3, "GPIO."}},
                  "RW", {"LineMode", "LineInverter", "LineSource", "LineStatus"});
    x.Enumeration("LineMode", {kLineBlock + LineModeOffset, line, kSelectorStride}, "Direction of the line.",
                  {{"Input", val::LineInput, ""}, {"Output", val::LineOutput, ""}});
    x.Boolean("LineInverter", {kLineBlock + LineInverterOffset, line, kSelectorStride}, "Inverts the line's signal.");
    x.Enumeration("LineSource", {kLineBlock + LineSourceOffset, line, kSelectorStride},
                  "Signal driving an output line.",
                  {{"Off", val::LineSourceOff, ""},
                   {"ExposureActive", val::LineSourceExposureActive, ""},
                   {"FlashActive", val::LineSourceFlashActive, ""},
                   {"GlobalFlashWindow", val::LineSourceGlobalFlashWindow, ""},
                   {"UserOutput0", val::LineSourceUserOutput0, ""},
                   {"UserOutput1", val::LineSourceUserOutput1, ""},
                   {"UserOutput2", val::LineSourceUserOutput2, ""}});
    x.Boolean("LineStatus", {kLineBlock + LineStatusOffset, line, kSelectorStride}, "Level of the line.", -1, false,
              "RO");
    x.Integer("LineStatusAll", {LineStatusAll}, "Levels of all lines, one bit each.", "0", "15", 1, nullptr, false,
              "RO", {}, "Expert");
    x.Enumeration("UserOutputSelector", {UserOutputSelector}, "The user output UserOutputValue sets.",
                  {{"UserOutput0", 0, ""}, {"UserOutput1", 1, ""}, {"UserOutput2", 2, ""}}, "RW", {"UserOutputValue"});
    x.Boolean("UserOutputValue", {UserOutputValue, "UserOutputSelector", 4}, "Level of the selected user output.");
    x.Enumeration("FlashReference", {reg::FlashReference}, "Event the flash delays count from.",
                  {{"ExposureStart", val::FlashExposureStart, ""}, {"ExposureEnd", val::FlashExposureEnd, ""}});
    x.Float("FlashStartDelay", {FlashStartDelay}, "Delay of the flash start.", 0.0, Num(limits::DelayMax), "us");
    x.Float("FlashEndDelay", {FlashEndDelay}, "Delay of the flash end.", 0.0, Num(limits::DelayMax), "us");
    x.Float("FlashDuration", {FlashDuration}, "Duration of the flash.", 0.0, Num(limits::DelayMax), "us");
    x.Category("DigitalIOControl", "Lines, user outputs and flash.",
               {"LineSelector", "LineMode", "LineInverter", "LineSource", "LineStatus", "LineStatusAll",
                "UserOutputSelector", "UserOutputValue", "FlashReference", "FlashStartDelay", "FlashEndDelay",
                "FlashDuration"});
}

void I2CSection(XmlWriter& x)
{
    using namespace reg;
    x.Integer("I2CDeviceAddress", {I2CDeviceAddress}, "Bus address of the I2C device.", "0", "1023", 1, nullptr, false,
              "RW", {}, "Guru");
    x.Integer("I2CDeviceAddressLength", {I2CDeviceAddressLength}, "Bits of the device address (7 or 10).", "7", "10", 3,
              "bits", false, "RW", {}, "Guru");
    x.Integer("I2CRegisterAddress", {I2CRegisterAddress}, "Register inside the I2C device.", "0", "4294967295", 1,
              nullptr, false, "RW", {}, "Guru");
    x.Integer("I2CRegisterAddressLength", {I2CRegisterAddressLength}, "Bytes of the register address.", "0", "4", 1,
              "bytes", false, "RW", {}, "Guru");
    x.Enumeration("I2CRegisterAddressEndianness", {I2CRegisterAddressEndianness}, "Byte order of the register address.",
                  {{"BigEndian", val::I2CBigEndian, ""}, {"LittleEndian", val::I2CLittleEndian, ""}}, "RW", {}, false,
                  "Guru");
    x.Boolean("I2CAckPollingEnable", {I2CAckPollingEnable}, "Polls for the device's acknowledge.");
    x.Integer("I2CAckPollingTimeout", {I2CAckPollingTimeout}, "Time-out of the acknowledge polling.", "0",
              std::to_string(limits::I2CAckPollingTimeoutMax), 1, "us", false, "RW", {}, "Guru");
    x.Enumeration("I2CMode", {reg::I2CMode}, "Bus speed.",
                  {{"StandardMode", val::StandardMode, "100 kHz"},
                   {"FastMode", val::FastMode, "400 kHz"},
                   {"FastModePLUS", val::FastModePLUS, "1 MHz"}},
                  "RW", {}, false, "Guru");
    x.Integer("I2CDataLength", {I2CDataLength}, "Bytes of one transfer.", "1", std::to_string(kI2CBufferLength), 1,
              "bytes", false, "RW", {}, "Guru");
    x.Enumeration("I2COperationSelector", {I2COperationSelector}, "Transfer direction.",
                  {{"Read", val::I2CRead, ""}, {"Write", val::I2CWrite, ""}}, "RW", {}, false, "Guru");
    x.Command("I2COperationExecute", {I2COperationExecute}, "Runs the transfer.", "Guru");
    x.Enumeration("I2COperationStatus", {I2COperationStatus}, "Outcome of the last transfer.",
                  {{"Success", val::Success, ""}, {"Error", val::Failure, "No acknowledge from the device."}}, "RO", {},
                  false, "Guru");
    x.Register("I2CData", I2CData, kI2CBufferLength, "Data read by the last Read.", "Guru");
    x.Register("I2CTransmitBuffer", I2CTransmitBuffer, kI2CBufferLength, "Data a Write sends.", "Guru");
    x.Category("I2CControl", "The camera's I2C bus.",
               {"I2CDeviceAddress", "I2CDeviceAddressLength", "I2CRegisterAddress", "I2CRegisterAddressLength",
                "I2CRegisterAddressEndianness", "I2CAckPollingEnable", "I2CAckPollingTimeout", "I2CMode",
                "I2CDataLength", "I2COperationSelector", "I2COperationExecute", "I2COperationStatus", "I2CData",
                "I2CTransmitBuffer"});
}

} // namespace

std::string BuildGenICamXml(const SimCameraConfig& c)
{
    XmlWriter x;
    x.o << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        << "<RegisterDescription ModelName=\"" << Escape(c.modelName) << "\" VendorName=\"" << Escape(c.vendorName)
        << "\" ToolTip=\"Simulated camera of the Lumivue viewer\" StandardNameSpace=\"None\""
        << " SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\""
        << " MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\""
        << " ProductGuid=\"5d3c1a40-7a51-4e8e-9b1f-6c0de5a1c001\" VersionGuid=\"5d3c1a40-7a51-4e8e-9b1f-6c0de5a1c100\""
        << " xmlns=\"http://www.genicam.org/GenApi/Version_1_1\""
        << " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
        << " xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1 GenApiSchema.xsd\">\n";
    std::vector<std::string> root = {"DeviceControl"};
    DeviceSection(x, c);
    FileSection(x);
    root.push_back("FileAccessControl");
    if (!c.serviceFirmware)
    {
        ImageSection(x, c);
        AcquisitionSection(x);
        AnalogSection(x, c);
        ChunkSection(x, c);
        EventSection(x);
        UserSetSection(x);
        IoSection(x);
        I2CSection(x);
        root.insert(root.end(),
                    {"ImageFormatControl", "AcquisitionControl", "AnalogControl", "LensControl", "DigitalIOControl",
                     "ChunkDataControl", "EventControl", "UserSetControl", "I2CControl"});
    }
    x.Category("Root", "", root);
    x.o << "  <Port Name=\"Device\">\n    <Visibility>Invisible</Visibility>\n  </Port>\n";
    x.o << "</RegisterDescription>\n";
    return x.o.str();
}

namespace {

uint32_t Crc32(const std::string& bytes)
{
    uint32_t crc = 0xFFFFFFFFu;
    for (unsigned char byte : bytes)
    {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

void Put16(std::string& out, uint32_t value)
{
    out.push_back(char(value & 0xFF));
    out.push_back(char((value >> 8) & 0xFF));
}

void Put32(std::string& out, uint32_t value)
{
    Put16(out, value & 0xFFFF);
    Put16(out, value >> 16);
}

} // namespace

std::string ZipStored(const std::string& entryName, const std::string& content)
{
    const uint32_t crc = Crc32(content);
    const auto size = uint32_t(content.size());
    const auto nameLength = uint32_t(entryName.size());
    constexpr uint32_t kVersion = 20;
    constexpr uint32_t kDate = (0 << 9) | (1 << 5) | 1; // 1980-01-01
    std::string zip;
    Put32(zip, 0x04034B50);
    Put16(zip, kVersion);
    Put16(zip, 0); // flags
    Put16(zip, 0); // stored
    Put16(zip, 0); // time
    Put16(zip, kDate);
    Put32(zip, crc);
    Put32(zip, size);
    Put32(zip, size);
    Put16(zip, nameLength);
    Put16(zip, 0); // extra
    zip += entryName;
    zip += content;
    const auto directoryOffset = uint32_t(zip.size());
    Put32(zip, 0x02014B50);
    Put16(zip, kVersion);
    Put16(zip, kVersion);
    Put16(zip, 0);
    Put16(zip, 0);
    Put16(zip, 0);
    Put16(zip, kDate);
    Put32(zip, crc);
    Put32(zip, size);
    Put32(zip, size);
    Put16(zip, nameLength);
    Put16(zip, 0); // extra
    Put16(zip, 0); // comment
    Put16(zip, 0); // disk
    Put16(zip, 0); // internal attributes
    Put32(zip, 0); // external attributes
    Put32(zip, 0); // offset of the local header
    zip += entryName;
    const auto directorySize = uint32_t(zip.size()) - directoryOffset;
    Put32(zip, 0x06054B50);
    Put16(zip, 0);
    Put16(zip, 0);
    Put16(zip, 1);
    Put16(zip, 1);
    Put32(zip, directorySize);
    Put32(zip, directoryOffset);
    Put16(zip, 0);
    return zip;
}

} // namespace orna::core::sim
