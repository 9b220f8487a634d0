// The simulated camera's GenICam XML as Aravis reads it: every promised node with its type, and the node
// values through Aravis' engine over the camera's registers (addresses, selectors, endianness agree).

#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simregisters.h"
#include "simarvdevice.h"
#include "simtesthelpers.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using namespace orna::core::sim;
using simtest::Config;

enum class Kind
{
    Integer,
    Float,
    Enumeration,
    Command,
    Boolean,
    String,
    Register,
    Category
};

struct Promised
{
    const char* name;
    Kind kind;
};

// The nodes the simulated colour camera promises, typed as SFNC defines them.
const std::vector<Promised> kColorNodes = {{"DeviceVendorName", Kind::String},
                                           {"DeviceModelName", Kind::String},
                                           {"DeviceFamilyName", Kind::String},
                                           {"DeviceSerialNumber", Kind::String},
                                           {"DeviceUserID", Kind::String},
                                           {"DeviceFirmwareVersion", Kind::String},
                                           {"DeviceVersion", Kind::String},
                                           {"DeviceManufacturerInfo", Kind::String},
                                           {"SensorName", Kind::String},
                                           {"DeviceBootStatus", Kind::Enumeration},
                                           {"BootOptions", Kind::Enumeration},
                                           {"DeviceReset", Kind::Command},
                                           {"DeviceTemperature", Kind::Float},
                                           {"DeviceStreamChannelCount", Kind::Integer},
                                           {"DeviceOpticalFilterType", Kind::Enumeration},
                                           {"DeviceLinkSpeed", Kind::Integer},
                                           {"DeviceLinkThroughputLimitMode", Kind::Enumeration},
                                           {"DeviceLinkThroughputLimit", Kind::Integer},
                                           {"DeviceLinkAcquisitionFrameRateLimit", Kind::Float},
                                           {"TimestampLatch", Kind::Command},
                                           {"TimestampLatchValue", Kind::Integer},
                                           {"TimestampReset", Kind::Command},
                                           {"SensorClockFrequency", Kind::Float},
                                           {"TLParamsLocked", Kind::Integer},
                                           {"SensorWidth", Kind::Integer},
                                           {"SensorHeight", Kind::Integer},
                                           {"WidthMax", Kind::Integer},
                                           {"HeightMax", Kind::Integer},
                                           {"Width", Kind::Integer},
                                           {"Height", Kind::Integer},
                                           {"OffsetX", Kind::Integer},
                                           {"OffsetY", Kind::Integer},
                                           {"PixelFormat", Kind::Enumeration},
                                           {"PixelColorFilter", Kind::Enumeration},
                                           {"BinningSelector", Kind::Enumeration},
                                           {"BinningHorizontal", Kind::Integer},
                                           {"BinningVertical", Kind::Integer},
                                           {"BinningMode", Kind::Enumeration},
                                           {"DecimationSelector", Kind::Enumeration},
                                           {"DecimationHorizontal", Kind::Integer},
                                           {"DecimationVertical", Kind::Integer},
                                           {"ReverseX", Kind::Boolean},
                                           {"ReverseY", Kind::Boolean},
                                           {"ImageBufferMode", Kind::Enumeration},
                                           {"ImageBufferImageCount", Kind::Integer},
                                           {"PayloadSize", Kind::Integer},
                                           {"AcquisitionMode", Kind::Enumeration},
                                           {"AcquisitionStart", Kind::Command},
                                           {"AcquisitionStop", Kind::Command},
                                           {"AcquisitionFrameCount", Kind::Integer},
                                           {"AcquisitionFrameRate", Kind::Float},
                                           {"AcquisitionFrameRateEnable", Kind::Boolean},
                                           {"AcquisitionResultingFrameRate", Kind::Float},
                                           {"AcquisitionActive", Kind::Integer},
                                           {"FrameTriggerWait", Kind::Integer},
                                           {"ExposureTime", Kind::Float},
                                           {"ExposureAuto", Kind::Enumeration},
                                           {"SensorOperationMode", Kind::Enumeration},
                                           {"SensorShutterMode", Kind::Enumeration},
                                           {"TriggerSelector", Kind::Enumeration},
                                           {"TriggerMode", Kind::Enumeration},
                                           {"TriggerSource", Kind::Enumeration},
                                           {"TriggerActivation", Kind::Enumeration},
                                           {"TriggerSoftware", Kind::Command},
                                           {"TriggerDelay", Kind::Float},
                                           {"TriggerDivider", Kind::Integer},
                                           {"GainSelector", Kind::Enumeration},
                                           {"Gain", Kind::Float},
                                           {"GainAuto", Kind::Enumeration},
                                           {"BalanceRatioSelector", Kind::Enumeration},
                                           {"BalanceRatio", Kind::Float},
                                           {"BalanceWhiteAuto", Kind::Enumeration},
                                           {"BlackLevel", Kind::Float},
                                           {"Gamma", Kind::Float},
                                           {"FocusStepper", Kind::Integer},
                                           {"ColorCorrectionMode", Kind::Enumeration},
                                           {"ColorCorrectionMatrixValueSelector", Kind::Enumeration},
                                           {"ColorCorrectionMatrixValue", Kind::Float},
                                           {"ColorCorrectionMatrix", Kind::Category},
                                           {"ChunkModeActive", Kind::Boolean},
                                           {"ChunkSelector", Kind::Enumeration},
                                           {"ChunkEnable", Kind::Boolean},
                                           {"ChunkGainSelector", Kind::Enumeration},
                                           {"ChunkUsableOffsetX", Kind::Integer},
                                           {"ChunkUsableOffsetY", Kind::Integer},
                                           {"ChunkUsableWidth", Kind::Integer},
                                           {"ChunkUsableHeight", Kind::Integer},
                                           {"ChunkOffsetX", Kind::Integer},
                                           {"ChunkOffsetY", Kind::Integer},
                                           {"ChunkWidth", Kind::Integer},
                                           {"ChunkHeight", Kind::Integer},
                                           {"ChunkPixelFormat", Kind::Enumeration},
                                           {"ChunkTimestamp", Kind::Integer},
                                           {"ChunkExposureTriggerTimestamp", Kind::Integer},
                                           {"ChunkExposureTime", Kind::Float},
                                           {"ChunkGain", Kind::Float},
                                           {"ChunkFrameID", Kind::Integer},
                                           {"EventSelector", Kind::Enumeration},
                                           {"EventNotification", Kind::Enumeration},
                                           {"TestEventGenerate", Kind::Command},
                                           {"EventExposureEnd", Kind::Integer},
                                           {"EventExposureEndTimestamp", Kind::Integer},
                                           {"EventExposureEndFrameID", Kind::Integer},
                                           {"EventTest", Kind::Integer},
                                           {"EventTestTimestamp", Kind::Integer},
                                           {"FileSelector", Kind::Enumeration},
                                           {"FileOperationSelector", Kind::Enumeration},
                                           {"FileOpenMode", Kind::Enumeration},
                                           {"FileOperationExecute", Kind::Command},
                                           {"FileAccessOffset", Kind::Integer},
                                           {"FileAccessLength", Kind::Integer},
                                           {"FileAccessBuffer", Kind::Register},
                                           {"FileOperationStatus", Kind::Enumeration},
                                           {"FileOperationResult", Kind::Integer},
                                           {"FileSize", Kind::Integer},
                                           {"UserSetSelector", Kind::Enumeration},
                                           {"UserSetLoad", Kind::Command},
                                           {"UserSetSave", Kind::Command},
                                           {"UserSetDefault", Kind::Enumeration},
                                           {"I2CDeviceAddress", Kind::Integer},
                                           {"I2CDeviceAddressLength", Kind::Integer},
                                           {"I2CRegisterAddress", Kind::Integer},
                                           {"I2CRegisterAddressLength", Kind::Integer},
                                           {"I2CRegisterAddressEndianness", Kind::Enumeration},
                                           {"I2CAckPollingEnable", Kind::Boolean},
                                           {"I2CAckPollingTimeout", Kind::Integer},
                                           {"I2CMode", Kind::Enumeration},
                                           {"I2CDataLength", Kind::Integer},
                                           {"I2COperationSelector", Kind::Enumeration},
                                           {"I2COperationExecute", Kind::Command},
                                           {"I2COperationStatus", Kind::Enumeration},
                                           {"I2CData", Kind::Register},
                                           {"I2CTransmitBuffer", Kind::Register},
                                           {"LineSelector", Kind::Enumeration},
                                           {"LineMode", Kind::Enumeration},
                                           {"LineInverter", Kind::Boolean},
                                           {"LineSource", Kind::Enumeration},
                                           {"LineStatus", Kind::Boolean},
                                           {"LineStatusAll", Kind::Integer},
                                           {"UserOutputSelector", Kind::Enumeration},
                                           {"UserOutputValue", Kind::Boolean},
                                           {"FlashReference", Kind::Enumeration},
                                           {"FlashStartDelay", Kind::Float},
                                           {"FlashEndDelay", Kind::Float},
                                           {"FlashDuration", Kind::Float},
                                           {"Root", Kind::Category},
                                           {"DeviceControl", Kind::Category},
                                           {"ImageFormatControl", Kind::Category},
                                           {"AcquisitionControl", Kind::Category},
                                           {"AnalogControl", Kind::Category},
                                           {"LensControl", Kind::Category},
                                           {"DigitalIOControl", Kind::Category},
                                           {"ChunkDataControl", Kind::Category},
                                           {"EventControl", Kind::Category},
                                           {"FileAccessControl", Kind::Category},
                                           {"UserSetControl", Kind::Category},
                                           {"I2CControl", Kind::Category}};

bool HasKind(ArvGcNode* node, Kind kind)
{
    switch (kind)
    {
    case Kind::Integer:
        return ARV_IS_GC_INTEGER(node) && !ARV_IS_GC_ENUMERATION(node);
    case Kind::Float:
        return ARV_IS_GC_FLOAT(node);
    case Kind::Enumeration:
        return ARV_IS_GC_ENUMERATION(node);
    case Kind::Command:
        return ARV_IS_GC_COMMAND(node);
    case Kind::Boolean:
        return ARV_IS_GC_BOOLEAN(node);
    case Kind::String:
        return ARV_IS_GC_STRING(node);
    case Kind::Register:
        return ARV_IS_GC_REGISTER(node);
    case Kind::Category:
        return ARV_IS_GC_CATEGORY(node);
    }
    return false;
}

std::vector<std::string> EntryNames(ArvGc* gc, const char* enumeration)
{
    std::vector<std::string> names;
    ArvGcNode* node = arv_gc_get_node(gc, enumeration);
    if (node == nullptr || !ARV_IS_GC_ENUMERATION(node))
    {
        return names;
    }
    for (const GSList* it = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node)); it != nullptr; it = it->next)
    {
        names.push_back(arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(it->data)));
    }
    return names;
}

class SimXmlTest : public ::testing::Test
{
protected:
    void Open(const std::string& model)
    {
        camera_ = std::make_unique<SimCamera>(Config(model, "XMLTEST-" + model));
        device_ = SimTestDeviceNew(camera_.get());
        gc_ = SimTestDeviceGenicam(device_);
        ASSERT_NE(gc_, nullptr) << "Aravis rejected the XML";
    }
    void TearDown() override
    {
        if (device_ != nullptr)
        {
            g_object_unref(device_);
        }
    }
    ArvGcNode* Node(const char* name)
    {
        ArvGcNode* n = arv_gc_get_node(gc_, name);
        EXPECT_NE(n, nullptr) << name;
        return n;
    }
    int64_t Int(const char* name)
    {
        GError* error = nullptr;
        const int64_t v = arv_gc_integer_get_value(ARV_GC_INTEGER(Node(name)), &error);
        EXPECT_EQ(error, nullptr) << name << ": " << (error ? error->message : "");
        g_clear_error(&error);
        return v;
    }
    double Float(const char* name)
    {
        GError* error = nullptr;
        const double v = arv_gc_float_get_value(ARV_GC_FLOAT(Node(name)), &error);
        EXPECT_EQ(error, nullptr) << name << ": " << (error ? error->message : "");
        g_clear_error(&error);
        return v;
    }
    bool SetInt(const char* name, int64_t v)
    {
        GError* error = nullptr;
        arv_gc_integer_set_value(ARV_GC_INTEGER(Node(name)), v, &error);
        const bool ok = error == nullptr;
        g_clear_error(&error);
        return ok;
    }
    bool SetEnum(const char* name, const char* entry)
    {
        GError* error = nullptr;
        arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(Node(name)), entry, &error);
        const bool ok = error == nullptr;
        g_clear_error(&error);
        return ok;
    }
    std::string EnumValue(const char* name)
    {
        GError* error = nullptr;
        const char* v = arv_gc_enumeration_get_string_value(ARV_GC_ENUMERATION(Node(name)), &error);
        EXPECT_EQ(error, nullptr) << name;
        g_clear_error(&error);
        return v != nullptr ? v : "";
    }

    std::unique_ptr<SimCamera> camera_;
    ArvDevice* device_ = nullptr;
    ArvGc* gc_ = nullptr;
};

TEST(SimXml, EveryModelsXmlParsesOnItsOwn)
{
    for (const std::string& model : SimCameraConfig::ModelNames())
    {
        SimCameraConfig config;
        ASSERT_TRUE(SimCameraConfig::ForModel(model, "PARSE-" + model, &config));
        SimCamera camera(config);
        const std::string& xml = camera.GenICamXml();
        ArvGc* gc = arv_gc_new(nullptr, xml.c_str(), xml.size());
        ASSERT_NE(gc, nullptr) << model;
        ArvGcNode* root = arv_gc_get_node(gc, "Root");
        EXPECT_TRUE(root != nullptr && ARV_IS_GC_CATEGORY(root)) << model;
        ArvGcNode* model_name = arv_gc_get_node(gc, "DeviceModelName");
        EXPECT_TRUE(model_name != nullptr && ARV_IS_GC_STRING(model_name)) << model;
        g_object_unref(gc);
    }
}

TEST_F(SimXmlTest, ColourCameraHasEveryPromisedNodeWithItsType)
{
    Open("color");
    for (const Promised& p : kColorNodes)
    {
        ArvGcNode* node = arv_gc_get_node(gc_, p.name);
        ASSERT_NE(node, nullptr) << "missing node " << p.name;
        EXPECT_TRUE(HasKind(node, p.kind)) << p.name << " has the wrong type";
    }
}

TEST_F(SimXmlTest, PixelFormatEntriesAreTheOfferedCodesInOrder)
{
    Open("color");
    const std::vector<std::string> colour = {"BayerRG8",   "BayerRG10",       "BayerRG10p",      "BayerRG12",
                                             "BayerRG12p", "BayerRG10g40KVX", "BayerRG12g24KVX", "RGB8",
                                             "BGRa8",      "Mono8",           "BayerGB8"};
    const auto names = EntryNames(gc_, "PixelFormat");
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), std::set<std::string>(colour.begin(), colour.end()));
    ASSERT_TRUE(SetEnum("PixelFormat", "BayerRG10g40KVX"));
    EXPECT_EQ(simtest::ReadU32(*camera_, reg::PixelFormat), pfnc::BayerRG10g40);
    EXPECT_EQ(simtest::ReadU32(*camera_, reg::PixelFormat), 0x40000001u);
}

TEST_F(SimXmlTest, ColourCorrectionMatrixIsSelectedByGainNames)
{
    Open("color");
    const auto names = EntryNames(gc_, "ColorCorrectionMatrixValueSelector");
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()),
              (std::set<std::string>{"Gain00", "Gain01", "Gain02", "Gain10", "Gain11", "Gain12", "Gain20", "Gain21",
                                     "Gain22"}));
    ASSERT_TRUE(SetEnum("ColorCorrectionMatrixValueSelector", "Gain12"));
    EXPECT_DOUBLE_EQ(Float("ColorCorrectionMatrixValue"), limits::ColorCorrectionDefault[5]);
}

TEST_F(SimXmlTest, MonoCameraOffersMonoFormatsAndNoWhiteBalance)
{
    Open("mono");
    const auto names = EntryNames(gc_, "PixelFormat");
    EXPECT_EQ(
        std::set<std::string>(names.begin(), names.end()),
        (std::set<std::string>{"Mono8", "Mono10", "Mono10p", "Mono12", "Mono12p", "Mono10g40KVX", "Mono12g24KVX"}));
    EXPECT_EQ(arv_gc_get_node(gc_, "BalanceRatio"), nullptr);
    EXPECT_EQ(arv_gc_get_node(gc_, "ColorCorrectionMatrix"), nullptr);
    EXPECT_FALSE(SetEnum("PixelFormat", "BayerRG8"));
}

TEST_F(SimXmlTest, EveryReadableFeatureReadsThroughTheModel)
{
    Open("color");
    // Walk the category tree; chunk values need a buffer and are left out, commands and raw registers have
    // no value text.
    std::vector<std::string> pending = {"Root"};
    std::set<std::string> seen;
    int read = 0;
    while (!pending.empty())
    {
        const std::string name = pending.back();
        pending.pop_back();
        if (!seen.insert(name).second)
        {
            continue;
        }
        ArvGcNode* node = arv_gc_get_node(gc_, name.c_str());
        ASSERT_NE(node, nullptr) << name;
        if (ARV_IS_GC_CATEGORY(node))
        {
            for (const GSList* it = arv_gc_category_get_features(ARV_GC_CATEGORY(node)); it != nullptr; it = it->next)
            {
                pending.push_back(static_cast<const char*>(it->data));
            }
            continue;
        }
        const bool chunkValue = name.rfind("Chunk", 0) == 0 && name != "ChunkModeActive" && name != "ChunkSelector" &&
                                name != "ChunkEnable" && name != "ChunkGainSelector";
        if (chunkValue || ARV_IS_GC_COMMAND(node) ||
            (ARV_IS_GC_REGISTER(node) && !ARV_IS_GC_INTEGER(node) && !ARV_IS_GC_FLOAT(node) && !ARV_IS_GC_STRING(node)))
        {
            continue;
        }
        GError* error = nullptr;
        const char* text = arv_gc_feature_node_get_value_as_string(ARV_GC_FEATURE_NODE(node), &error);
        EXPECT_EQ(error, nullptr) << name << ": " << (error ? error->message : "");
        EXPECT_NE(text, nullptr) << name;
        g_clear_error(&error);
        ++read;
    }
    EXPECT_GT(read, 100);
}

TEST_F(SimXmlTest, NodeWritesReachTheRegistersAndDerivedNodesFollow)
{
    Open("color");
    EXPECT_EQ(Int("PayloadSize"), 1920 * 1200);
    ASSERT_TRUE(SetInt("Width", 1280));
    EXPECT_EQ(Int("PayloadSize"), 1280 * 1200);
    ASSERT_TRUE(SetEnum("PixelFormat", "BayerRG12p"));
    EXPECT_EQ(Int("PayloadSize"), 1280 * 1200 * 3 / 2);
    // Selector-indexed registers: the selected stage's gain lands in its own register.
    ASSERT_TRUE(SetEnum("GainSelector", "AnalogAll"));
    GError* error = nullptr;
    arv_gc_float_set_value(ARV_GC_FLOAT(Node("Gain")), 12.0, &error);
    ASSERT_EQ(error, nullptr);
    EXPECT_DOUBLE_EQ(simtest::ReadF64(*camera_, reg::Gain + 8 * val::GainAnalogAll), 12.0);
    ASSERT_TRUE(SetEnum("GainSelector", "All"));
    EXPECT_DOUBLE_EQ(Float("Gain"), 12.0);
    // Binning through the Region0 engine halves the maximum width; Width follows.
    ASSERT_TRUE(SetEnum("BinningSelector", "Region0"));
    ASSERT_TRUE(SetInt("BinningHorizontal", 2));
    EXPECT_EQ(simtest::ReadU32(*camera_, reg::BinningHorizontal + reg::kSelectorStride), 2u);
    EXPECT_EQ(Int("WidthMax"), 960);
    EXPECT_EQ(Int("Width"), 960);
    // Booleans over masked bits.
    arv_gc_boolean_set_value(ARV_GC_BOOLEAN(Node("ReverseY")), TRUE, &error);
    ASSERT_EQ(error, nullptr);
    EXPECT_EQ(simtest::ReadU32(*camera_, reg::ImageFlip), 2u);
    // Converter and swiss knife.
    EXPECT_GT(Float("DeviceTemperature"), 30.0);
    EXPECT_LT(Float("DeviceTemperature"), 60.0);
    EXPECT_NEAR(Float("AcquisitionResultingFrameRate"), 30.0, 0.5);
    // TLParamsLocked refuses size writes through the node as well.
    ASSERT_TRUE(SetInt("TLParamsLocked", 1));
    EXPECT_FALSE(SetInt("Width", 640));
    ASSERT_TRUE(SetInt("TLParamsLocked", 0));
    EXPECT_TRUE(SetInt("Width", 640));
}

TEST_F(SimXmlTest, BootStatusEntriesCarryDescriptions)
{
    Open("booterror");
    EXPECT_EQ(EnumValue("DeviceBootStatus"), "ConfigurationCrcError");
    bool described = false;
    for (const GSList* it = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(Node("DeviceBootStatus"))); it;
         it = it->next)
    {
        const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(it->data));
        const char* description = arv_gc_feature_node_get_description(ARV_GC_FEATURE_NODE(it->data));
        if (std::string(name) == "ConfigurationCrcError")
        {
            described = description != nullptr && std::string(description).size() > 10;
        }
    }
    EXPECT_TRUE(described);
}

TEST_F(SimXmlTest, ServiceFirmwareHasNoImageOrAcquisitionNodes)
{
    Open("service");
    EXPECT_NE(arv_gc_get_node(gc_, "DeviceBootStatus"), nullptr);
    EXPECT_NE(arv_gc_get_node(gc_, "DeviceReset"), nullptr);
    EXPECT_NE(arv_gc_get_node(gc_, "FileOperationExecute"), nullptr);
    EXPECT_EQ(arv_gc_get_node(gc_, "PixelFormat"), nullptr);
    EXPECT_EQ(arv_gc_get_node(gc_, "AcquisitionStart"), nullptr);
    EXPECT_EQ(Int("DeviceStreamChannelCount"), 0);
    GError* error = nullptr;
    const char* model = arv_gc_string_get_value(ARV_GC_STRING(Node("DeviceModelName")), &error);
    ASSERT_EQ(error, nullptr);
    EXPECT_NE(std::string(model).find("service"), std::string::npos);
}

TEST_F(SimXmlTest, ChunkNodesReadThroughChunkPorts)
{
    Open("color");
    // Each chunk value sits on a port carrying the chunk id the camera writes into the trailer.
    const std::string& xml = camera_->GenICamXml();
    char id[16];
    std::snprintf(id, sizeof id, "%08X", chunkid::For(val::ChunkTimestamp));
    EXPECT_NE(xml.find(std::string("<ChunkID>") + id + "</ChunkID>"), std::string::npos);
    ArvGcNode* node = Node("ChunkTimestamp");
    ASSERT_TRUE(ARV_IS_GC_REGISTER(node));
    EXPECT_EQ(arv_gc_register_get_length(ARV_GC_REGISTER(node), nullptr), 8u);
    EXPECT_NE(xml.find("<Endianess>LittleEndian</Endianess>"), std::string::npos);
    EXPECT_EQ(xml.find("BigEndian</Endianess>"), std::string::npos);
}

} // namespace

TEST_F(SimXmlTest, SlowLinkModelNamesItsTransportAndReportsALowSpeed)
{
    Open("slowlink");
    ArvGcNode* tlType = Node("DeviceTLType");
    ASSERT_TRUE(tlType != nullptr && ARV_IS_GC_STRING(tlType));
    GError* error = nullptr;
    const char* text = arv_gc_string_get_value(ARV_GC_STRING(tlType), &error);
    ASSERT_EQ(error, nullptr);
    EXPECT_STREQ(text, "USB3Vision");
    // Below the 100 MB/s that a USB3 Vision link must reach.
    EXPECT_EQ(Int("DeviceLinkSpeed"), 40000000);
}

TEST_F(SimXmlTest, OtherModelsKeepTheirTransportUnnamed)
{
    Open("color");
    EXPECT_EQ(arv_gc_get_node(gc_, "DeviceTLType"), nullptr);
    EXPECT_EQ(Int("DeviceLinkSpeed"), 400000000);
}
