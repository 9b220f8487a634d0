// VisionCamera against simulated cameras: the typed node access family (reads, writes, absent nodes, selected
// access with restore, unavailable entries, the trigger mode), the buffer count rule, acquisition start and
// stop, a capture thread that does not stop, and a camera without data stream.
#include "visioncamera_fixture.h"

#include "camera/imagebuffermanager.h"
#include "camera/visionimagecaptureworker.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "nodetree/nodemapaccess.h"
#include "nodetree/nodemapmodel.h"
#include "orna/core/datastream.h"
#include "orna/core/nodemap.h"
#include "orna/core/nodes.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"
#include "processing/ipltransformationfeatureprovider.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QtTest>
#include <cmath>

#include <atomic>

using namespace orna::core;

class TestVisionCameraSim : public QObject
{
    Q_OBJECT

private:
    SimCameras sim;
    std::shared_ptr<DeviceDescriptor> color;
    std::shared_ptr<DeviceDescriptor> mono;
    std::shared_ptr<DeviceDescriptor> service;

    static QSignalSpy* ErrorSpy()
    {
        return new QSignalSpy(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!sim.Start("color,mono,service"))
            QSKIP("the sim: producer is not listed");
        color = sim.BySerialPrefix("LVSC");
        mono = sim.BySerialPrefix("LVSM");
        service = sim.BySerialPrefix("LVSS");
        QVERIFY(color && mono && service);
        ApplicationGlobals::numBuffersUsed = 0;
    }

    void cleanupTestCase()
    {
        color.reset();
        mono.reset();
        service.reset();
        sim.Stop();
    }

    void scalarReadsFollowTheReadKind()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        int64_t width = 0, minimum = 0, maximum = 0, increment = 0;
        QVERIFY(camera->GetIntegerValue("Width", ReadValueType::Value, width));
        QVERIFY(camera->GetIntegerValue("Width", ReadValueType::Minimum, minimum));
        QVERIFY(camera->GetIntegerValue("Width", ReadValueType::Maximum, maximum));
        QVERIFY(camera->GetIntegerValue("Width", ReadValueType::Increment, increment));
        QVERIFY(minimum <= width && width <= maximum);
        QVERIFY(minimum < maximum);
        QVERIFY(increment >= 1);
        int64_t untouched = 77;
        QVERIFY(!camera->GetIntegerValue("Width", ReadValueType(7), untouched));
        QCOMPARE(untouched, int64_t(77));

        double exposure = 0, exposureMax = 0;
        QVERIFY(camera->GetDoubleValue("ExposureTime", ReadValueType::Value, exposure, 0.1));
        QVERIFY(camera->GetDoubleValue("ExposureTime", ReadValueType::Maximum, exposureMax, 0.1));
        QVERIFY(exposure > 0 && exposure <= exposureMax);

        bool reverse = true;
        QVERIFY(camera->GetBoolValue("ReverseX", reverse));
        std::string format;
        QVERIFY(camera->GetEnumerationEntry("PixelFormat", format));
        QCOMPARE(camera::PixelFormatFromName(format), camera->GetPixelFormatSource());
        QVERIFY(camera->GetPixelFormatDestination() != 0);
    }

    void doubleIncrementFallsBackToTheDefault()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        // Find a float node without a constant increment in this camera's description.
        auto map = camera->GetRemoteNodeMap();
        std::string name;
        for (size_t i = 0; i < map->GetNumNodes() && name.empty(); ++i)
        {
            auto node = map->GetNode(i);
            if (node->GetType() != nodes::NodeType::Float || !node->GetIsReadable())
                continue;
            if (!nodes::NodeCast<nodes::FloatNode>(node)->GetHasConstantIncrement())
                name = node->GetName();
        }
        if (name.empty())
            QSKIP("the simulated camera has no float node without constant increment");
        double increment = 0;
        QVERIFY(camera->GetDoubleValue(name, ReadValueType::Increment, increment, 0.1));
        QCOMPARE(increment, 0.1);
        QVERIFY(camera->GetDoubleValue(name, ReadValueType::Increment, increment, 2.5));
        QCOMPARE(increment, 2.5);
    }

    void writesAreReadBackAndCommandsRun()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        int64_t width = 0, increment = 0;
        QVERIFY(camera->GetIntegerValue("Width", ReadValueType::Value, width));
        QVERIFY(camera->GetIntegerValue("Width", ReadValueType::Increment, increment));
        QVERIFY(camera->SetIntegerValue("Width", width - 8 * increment));
        int64_t readBack = 0;
        QVERIFY(camera->GetIntegerValue("Width", ReadValueType::Value, readBack));
        QCOMPARE(readBack, width - 8 * increment);
        QVERIFY(camera->SetIntegerValue("Width", width));

        QVERIFY(camera->SetDoubleValue("ExposureTime", 5000.0));
        double exposure = 0;
        QVERIFY(camera->GetDoubleValue("ExposureTime", ReadValueType::Value, exposure, 0.1));
        QCOMPARE(exposure, 5000.0);

        QVERIFY(camera->SetBoolValue("ReverseY", true));
        bool reverse = false;
        QVERIFY(camera->GetBoolValue("ReverseY", reverse));
        QVERIFY(reverse);
        QVERIFY(camera->SetBoolValue("ReverseY", false));

        QVERIFY(camera->SetEnumerationEntry("SensorOperationMode", "LowNoise"));
        std::string mode;
        QVERIFY(camera->GetSensorOperationMode(mode));
        QCOMPARE(mode, std::string("LowNoise"));
        QVERIFY(camera->SetEnumerationEntry("SensorOperationMode", "Default"));

        camera::SensorShutterMode shutter = camera::SensorShutterMode::Rolling;
        QVERIFY(camera->SetEnumerationEntry("SensorShutterMode", "Global"));
        QVERIFY(camera->GetSensorShutterMode(shutter));
        QCOMPARE(shutter, camera::SensorShutterMode::Global);

        QVERIFY(camera->ExecuteCommand("TimestampLatch"));
        QVERIFY(camera->HasEnumerationEntry("TriggerSource", "Line2"));
        QVERIFY(!camera->HasEnumerationEntry("TriggerSource", "NoSuchLine"));

        // A read-only node is accessible but not writable.
        std::unique_ptr<QSignalSpy> errors(ErrorSpy());
        QVERIFY(camera->IsNodeAccessable(camera->GetRemoteNodeMap()->FindNode("PixelColorFilter")));
        QVERIFY(!camera->IsNodeWritable(camera->GetRemoteNodeMap()->FindNode("PixelColorFilter")));
        QVERIFY(!camera->SetEnumerationEntry("PixelColorFilter", "None"));
        QCOMPARE(errors->count(), 0);

        std::vector<camera::BinningSource> binning;
        QVERIFY(camera->GetBinningSourcesSupported(binning));
        QCOMPARE(int(binning.size()), 2);
        std::vector<camera::DecimationSource> decimation;
        QVERIFY(camera->GetDecimationSourcesSupported(decimation));
        QCOMPARE(int(decimation.size()), 2);
        std::vector<std::string> formats;
        QVERIFY(camera->GetSupportedPixelFormatSourceStrings(formats));
        QVERIFY(std::find(formats.begin(), formats.end(), "BayerRG8") != formats.end());
        QVERIFY(camera->IsPixelFormatSourceSupported("Mono8"));
        QVERIFY(camera->IsPixelFormatSourceSupported("BayerGB8"));
        QVERIFY(!camera->IsPixelFormatSourceSupported("BayerBG8"));
        int64_t speed = 0;
        QVERIFY(camera->GetDeviceLinkSpeed_bytes_per_second(speed));
        QVERIFY(speed > 0);
    }

    void absentNodesGiveFalseWithoutALogLine()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        std::unique_ptr<QSignalSpy> errors(ErrorSpy());
        int64_t i = 5;
        double d = 5;
        bool b = true;
        std::string s = "x";
        QVERIFY(!camera->GetIntegerValue("NoSuchNode", ReadValueType::Value, i));
        QVERIFY(!camera->GetDoubleValue("NoSuchNode", ReadValueType::Value, d, 0.1));
        QVERIFY(!camera->GetBoolValue("NoSuchNode", b));
        QVERIFY(!camera->GetEnumerationEntry("NoSuchNode", s));
        QVERIFY(!camera->SetIntegerValue("NoSuchNode", 1));
        QVERIFY(!camera->SetDoubleValue("NoSuchNode", 1));
        QVERIFY(!camera->SetBoolValue("NoSuchNode", true));
        QVERIFY(!camera->SetEnumerationEntry("NoSuchNode", "On"));
        QVERIFY(!camera->ExecuteCommand("NoSuchNode"));
        QVERIFY(!camera->GetSelectedBoolValue("NoSuchNode", b, "LineSelector", "Line1", true));
        QVERIFY(!camera->GetSelectedBoolValue("LineInverter", b, "NoSuchSelector", "Line1", true));
        QCOMPARE(i, int64_t(5));
        QCOMPARE(d, 5.0);
        QCOMPARE(s, std::string("x"));
        QCOMPARE(errors->count(), 0);

        // A failing access of a present node logs once, with the camera as origin and the signature as context.
        QVERIFY(!camera->SetIntegerValue("Width", 3)); // below the minimum: the camera refuses
        QCOMPARE(errors->count(), 1);
        QCOMPARE(errors->at(0).at(0).toString(), camera->GetKeyText());
        QCOMPARE(errors->at(0).at(1).toString(),
                 QStringLiteral("bool VisionCamera::SetIntegerValue(const std::string &, int64_t)"));
    }

    void unavailableEntryIsNotWritten()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        QVERIFY(camera->SetEnumerationEntry("TriggerSource", "Line2"));
        auto source = camera->GetRemoteNodeMap()->FindNode<nodes::EnumerationNode>("TriggerSource");
        auto line1 = source->FindEntryBySymbolicValue("Line1");
        QCOMPARE(line1->GetAccessStatus(), nodes::NodeAccessStatus::NotAvailable);
        std::unique_ptr<QSignalSpy> errors(ErrorSpy());
        QVERIFY(!camera->HasEnumerationEntry("TriggerSource", "Line1"));
        QVERIFY(!camera->SetEnumerationEntry("TriggerSource", "Line1"));
        std::string entry;
        QVERIFY(camera->GetEnumerationEntry("TriggerSource", entry));
        QCOMPARE(entry, std::string("Line2"));
        QCOMPARE(errors->count(), 0);
        QVERIFY(camera->SetEnumerationEntry("TriggerSource", "Software"));
    }

    void selectedWriteWithRestoreLeavesTheSelector()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        QVERIFY(camera->SetEnumerationEntry("LineSelector", "Line2"));
        QVERIFY(camera->SetSelectedBoolValue("LineInverter", true, "LineSelector", "Line3", true));
        std::string selector;
        QVERIFY(camera->GetEnumerationEntry("LineSelector", selector));
        QCOMPARE(selector, std::string("Line2"));
        bool inverted = false;
        QVERIFY(camera->GetSelectedBoolValue("LineInverter", inverted, "LineSelector", "Line3", true));
        QVERIFY(inverted);
        QVERIFY(camera->GetSelectedBoolValue("LineInverter", inverted, "LineSelector", "Line2", true));
        QVERIFY(!inverted);

        // Without restore the selector stays where the call put it.
        QVERIFY(camera->SetSelectedBoolValue("LineInverter", false, "LineSelector", "Line3", false));
        QVERIFY(camera->GetEnumerationEntry("LineSelector", selector));
        QCOMPARE(selector, std::string("Line3"));

        // Enumerations and batches.
        QVERIFY(camera->SetEnumerationEntry("TriggerSelector", "FrameStart"));
        QVERIFY(camera->SetSelectedEnumerationEntry("TriggerMode", "On", "TriggerSelector", "AcquisitionStart", true));
        std::string mode;
        QVERIFY(camera->GetSelectedEnumerationEntry("TriggerMode", mode, "TriggerSelector", "AcquisitionStart", true));
        QCOMPARE(mode, std::string("On"));
        QVERIFY(camera->GetEnumerationEntry("TriggerMode", mode));
        QCOMPARE(mode, std::string("Off"));
        std::vector<std::pair<std::string, std::string>> entries = {{"TriggerMode", "Off"},
                                                                    {"TriggerActivation", "FallingEdge"}};
        QVERIFY(camera->HasSelectedEnumerationEntries(entries, "TriggerSelector", "AcquisitionStart", true));
        QVERIFY(camera->SetSelectedEnumerationEntries(entries, "TriggerSelector", "AcquisitionStart", true));
        std::vector<std::pair<std::string, std::string>> readBack = {{"TriggerMode", ""}, {"TriggerActivation", ""}};
        QVERIFY(camera->GetSelectedEnumerationEntries(readBack, "TriggerSelector", "AcquisitionStart", true));
        QVERIFY(readBack == entries);
        QVERIFY(camera->GetEnumerationEntry("TriggerSelector", selector));
        QCOMPARE(selector, std::string("FrameStart"));
        QVERIFY(camera->IsSelectedNodeWritable("TriggerMode", "TriggerSelector", "AcquisitionStart", true));

        std::vector<std::pair<std::string, double>> gains = {{"Gain", 3.0}};
        QVERIFY(camera->SetEnumerationEntry("GainSelector", "AnalogAll"));
        QVERIFY(camera->SetSelectedFloatValues(gains, "GainSelector", "DigitalAll", true));
        std::vector<std::pair<std::string, double>> gainRead = {{"Gain", 0.0}};
        QVERIFY(
            camera->GetSelectedFloatValues(gainRead, ReadValueType::Value, "GainSelector", "DigitalAll", true, 0.1));
        QCOMPARE(gainRead[0].second, 3.0);
        QVERIFY(camera->GetEnumerationEntry("GainSelector", selector));
        QCOMPARE(selector, std::string("AnalogAll"));
        QVERIFY(camera->SetSelectedFloatValues({{"Gain", 2.0}}, "GainSelector", "AnalogAll", true));
        // The stages' decibels add up (their factors multiply): 0 dB is a factor of 1.
        double all = 0.0;
        std::vector<std::pair<std::string, double>> allRead = {{"Gain", 0.0}};
        if (camera->GetSelectedFloatValues(allRead, ReadValueType::Value, "GainSelector", "All", true, 0.1))
            all = allRead[0].second;
        QVERIFY(std::abs(camera->GetTotalGain() - std::pow(10.0, (2.0 + 3.0 + all) / 20.0)) < 1e-9);
        QVERIFY(camera->SetSelectedFloatValues({{"Gain", 0.0}}, "GainSelector", "DigitalAll", true));
        QVERIFY(camera->SetSelectedFloatValues({{"Gain", 0.0}}, "GainSelector", "AnalogAll", true));
        if (all == 0.0)
            QCOMPARE(camera->GetTotalGain(), 1.0);
    }

    void triggerModeDetection()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        QVERIFY(camera->SetEnumerationEntry("TriggerSelector", "FrameStart"));
        QVERIFY(camera->SetEnumerationEntry("TriggerMode", "Off"));
        QCOMPARE(camera->GetTriggerMode(true), camera::TriggerMode::Off);

        QVERIFY(camera->SetEnumerationEntry("TriggerMode", "On"));
        QVERIFY(camera->SetEnumerationEntry("TriggerSource", "Line2"));
        QCOMPARE(camera->GetTriggerMode(true), camera::TriggerMode::Custom);

        QVERIFY(camera->SetEnumerationEntry("TriggerSource", "Line0"));
        QVERIFY(camera->SetEnumerationEntry("TriggerActivation", "FallingEdge"));
        QCOMPARE(camera->GetTriggerMode(true), camera::TriggerMode::FallingEdge);
        QVERIFY(camera->SetEnumerationEntry("TriggerActivation", "LevelHigh"));
        QCOMPARE(camera->GetTriggerMode(true), camera::TriggerMode::Off);

        QVERIFY(camera->SetEnumerationEntry("TriggerSource", "Software"));
        // Cached until a fresh read is asked for.
        QCOMPARE(camera->GetTriggerMode(false), camera::TriggerMode::Off);
        QCOMPARE(camera->GetTriggerMode(true), camera::TriggerMode::Software);

        QVERIFY(camera->IsTriggerModeSupported(camera::TriggerMode::Off));
        QVERIFY(camera->IsTriggerModeSupported(camera::TriggerMode::AnyEdge));
        QVERIFY(camera->IsTriggerModeSupported(camera::TriggerMode::Software));
        QVERIFY(camera->IsTriggerModeSupported(camera::TriggerMode::Custom));
        QVERIFY(camera->SetEnumerationEntry("TriggerMode", "Off"));
    }

    void pixelFormatSourceAndDestination()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        QSignalSpy changed(camera.get(), &VisionCamera::Signal_PixelFormatDestinationChanged);
        QVERIFY(camera->SetPixelFormatSourceOverString("Mono8"));
        QCOMPARE(camera->GetPixelFormatSource(), uint32_t(orna::ipl::Mono8));
        QVERIFY(camera->IsConversionSupported("Mono8", camera->GetPixelFormatDestination()));
        QVERIFY(camera->SetPixelFormatSourceOverString("BayerRG10g40KVX"));
        QCOMPARE(camera->GetPixelFormatSource(), uint32_t(orna::ipl::BayerRG10g40KVX));
        QCOMPARE(camera->GetPixelFormatUnpacked(), uint32_t(orna::ipl::BayerRG10));
        // Mono8 as destination is allowed for a Bayer source, so it stays; a Bayer destination leaves with Mono.
        camera->SetPixelFormatDestination(orna::ipl::BayerRG8);
        const int before = changed.count();
        QVERIFY(camera->SetPixelFormatSourceOverString("Mono8"));
        QCOMPARE(changed.count(), before + 1);
        QCOMPARE(camera->GetPixelFormatDestination(), uint32_t(orna::ipl::Mono8));
        QVERIFY(!camera->SetPixelFormatSourceOverString("NoSuchFormat"));
        QVERIFY(camera->SetPixelFormatSourceOverString("BayerRG8"));
    }

    // The tables follow the wide list (RG order only), the conversion mode and the transformation: a raw
    // destination takes the order a rotation gives the camera's raw order at the next rebuild.
    void destinationTablesFollowModeWideListAndTransformation()
    {
        const bool wideBefore = ApplicationGlobals::showAllPixelFormats;
        ApplicationGlobals::showAllPixelFormats = true;
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        QVERIFY(camera->SetPixelFormatSourceOverString("BayerRG8"));
        QVERIFY(camera->IsConversionSupported("BayerRG8", orna::ipl::BGR8));
        QVERIFY(!camera->IsConversionSupported("BayerGB8", orna::ipl::BGR8));
        QVERIFY(camera->IsConversionSupported("BayerGB8", orna::ipl::BGRa8));

        // Classic knows two sources; a mode outside 1..3 is not taken.
        camera->SetConversionMode(3);
        QCOMPARE(camera->GetConversionMode(), 3);
        QVERIFY(!camera->IsConversionSupported("BayerGB8", orna::ipl::BGRa8));
        QCOMPARE(camera->GetDefaultDestination("BayerGB8"), 0u);
        QCOMPARE(camera->GetDefaultDestination("BayerGR8"), uint32_t(orna::ipl::BGRa8));
        camera->SetConversionMode(7);
        QCOMPARE(camera->GetConversionMode(), 3);
        camera->SetConversionMode(1);

        IplTransformationFeatureProvider* transformation = camera->GetIplTransformationFeatureProvider();
        camera->SetPixelFormatDestination(orna::ipl::BayerRG8);
        transformation->OnRotateLeft();
        QVERIFY(camera->UpdatePixelFormatSource());
        QCOMPARE(camera->GetPixelFormatDestination(), uint32_t(orna::ipl::BayerGB8));
        QVERIFY(camera->IsConversionSupported("BayerRG8", orna::ipl::BayerGB8));
        QVERIFY(!camera->IsConversionSupported("BayerRG8", orna::ipl::BayerRG8));
        // A second turn maps the camera's order again, not the destination's already turned one.
        transformation->OnRotateLeft();
        QVERIFY(camera->UpdatePixelFormatSource());
        QCOMPARE(camera->GetPixelFormatDestination(), uint32_t(orna::ipl::BayerBG8));
        transformation->Reset();
        QVERIFY(camera->UpdatePixelFormatSource());
        QCOMPARE(camera->GetPixelFormatDestination(), uint32_t(orna::ipl::BayerRG8));

        // A format the tables do not know as a source: nothing is allowed, no default, the destination stays.
        QVERIFY(camera->SetPixelFormatSourceOverString("BGRa8"));
        QVERIFY(camera->GetAllowedPixelFormatDestinations().empty());
        QCOMPARE(camera->GetDefaultDestination("BGRa8"), 0u);
        QCOMPARE(camera->GetPixelFormatDestination(), uint32_t(orna::ipl::BayerRG8));
        ApplicationGlobals::showAllPixelFormats = wideBefore;
    }

    // The finished size: an empty rectangle changes nothing, the width factor scales the width only, a stage
    // that cannot tell its size leaves it, and the two minimum thresholds differ (width 2, height 1).
    void imageSizeDestinationFactorAndThresholds()
    {
        using Size = VisionCamera::ImageSizeDestination;
        const VisionCamera::SizeMapping none;
        Size size;
        size.width = 7;
        QVERIFY(!VisionCamera::ComputeImageSizeDestination(0, 0, 0, 10, 1.0, none, none, size));
        QVERIFY(!VisionCamera::ComputeImageSizeDestination(0, 0, 10, 0, 1.0, none, none, size));
        QCOMPARE(size.width, int64_t(7));

        QVERIFY(VisionCamera::ComputeImageSizeDestination(4, 6, 100, 50, 0.0, none, none, size));
        QCOMPARE(size.width, int64_t(100));
        QCOMPARE(size.offsetX, int64_t(4));
        QCOMPARE(size.offsetY, int64_t(6));
        QVERIFY(VisionCamera::ComputeImageSizeDestination(0, 0, 100, 50, 3.0, none, none, size));
        QCOMPARE(size.width, int64_t(300));
        QCOMPARE(size.height, int64_t(50));

        // Binning runs on the widened size, decimation on binning's result.
        auto halve = [](int64_t& w, int64_t& h) {
            w /= 2;
            h /= 2;
            return true;
        };
        auto fails = [](int64_t& w, int64_t& h) {
            w = h = -1;
            return false;
        };
        QVERIFY(VisionCamera::ComputeImageSizeDestination(0, 0, 100, 40, 2.0, halve, halve, size));
        QCOMPARE(size.width, int64_t(50));
        QCOMPARE(size.height, int64_t(10));
        QVERIFY(VisionCamera::ComputeImageSizeDestination(0, 0, 100, 40, 1.0, fails, halve, size));
        QCOMPARE(size.width, int64_t(50));
        QCOMPARE(size.height, int64_t(20));

        struct Case
        {
            int64_t width, height;
            bool tooSmall;
        };
        for (const Case& c : {Case{2, 1, false}, Case{1, 5, true}, Case{5, 0, true}, Case{0, 0, true}})
        {
            auto to = [c](int64_t& w, int64_t& h) {
                w = c.width;
                h = c.height;
                return true;
            };
            QVERIFY(VisionCamera::ComputeImageSizeDestination(0, 0, 64, 64, 1.0, to, none, size));
            QCOMPARE(size.tooSmall, c.tooSmall);
        }

        // On a camera: the width factor reaches the stored size, and a width below 2 tells the size panel.
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        QVERIFY(camera->SetIntegerValue("Width", 64));
        QVERIFY(camera->SetIntegerValue("Height", 16));
        QSignalSpy tooSmall(camera.get(),
                            &VisionCamera::Signal_IplDecimationAndBinningLeadsToImageSizeSmallerThanMinimum);
        camera->SetWidthFactor(1.0);
        QVERIFY(camera->UpdateImageSizeDestination());
        QCOMPARE(camera->GetImageSizeDestination().width, int64_t(64));
        QCOMPARE(camera->GetImageSizeDestination().height, int64_t(16));
        QCOMPARE(tooSmall.count(), 0);
        camera->SetWidthFactor(0.5);
        QVERIFY(camera->UpdateImageSizeDestination());
        QCOMPARE(camera->GetImageSizeDestination().width, int64_t(32));
        QCOMPARE(tooSmall.count(), 0);
        camera->SetWidthFactor(1.0 / 64.0);
        QVERIFY(camera->UpdateImageSizeDestination());
        QCOMPARE(camera->GetImageSizeDestination().width, int64_t(1));
        QCOMPARE(tooSmall.count(), 1);
    }

    // The conversion pool made before a run has the finished size: the width factor counts, and a quarter turn
    // swaps the sides.
    void imageBufferPoolHasTheFinishedSize()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        QVERIFY(camera->SetIntegerValue("Width", 64));
        QVERIFY(camera->SetIntegerValue("Height", 16));
        QVERIFY(camera->UpdatePixelFormatSource());
        QVERIFY(camera->QueryImageGeometry());
        camera->SetPixelFormatDestination(orna::ipl::BGRa8);
        camera->SetWidthFactor(0.5);
        QVERIFY(camera->UpdateImageSizeDestination());
        camera->CreateImageBuffer();
        const orna::ipl::ImageConverter* converter = camera->GetConverter();
        QCOMPARE(converter->GetPoolSize(orna::ipl::BGRa8, 32, 16), size_t(5));
        QCOMPARE(converter->GetPoolSize(orna::ipl::BGRa8, 64, 16), size_t(0));

        camera->GetIplTransformationFeatureProvider()->OnRotateLeft();
        camera->CreateImageBuffer();
        QCOMPARE(converter->GetPoolSize(orna::ipl::BGRa8, 16, 32), size_t(5));
        camera->GetIplTransformationFeatureProvider()->Reset();
    }

    // The destination's text travels with its value; packing is asked by name.
    void destinationNameAndPackedFormats()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        camera->SetPixelFormatDestination(orna::ipl::RGB8);
        QCOMPARE(camera->GetPixelFormatDestinationName(), std::string("RGB8"));
        camera->SetPixelFormatDestination(orna::ipl::Mono10);
        QCOMPARE(camera->GetPixelFormatDestinationName(), std::string("Mono10"));
        QVERIFY(VisionCamera::IsPackedPixelFormat("Mono10p"));
        QVERIFY(VisionCamera::IsPackedPixelFormat("BayerRG12p"));
        QVERIFY(!VisionCamera::IsPackedPixelFormat("Mono10"));
        QVERIFY(!VisionCamera::IsPackedPixelFormat("BGRa8"));
        QVERIFY(!VisionCamera::IsPackedPixelFormat("NoSuchFormat"));
    }

    void bufferCountFollowsTheSettingAboveTheMinimum()
    {
        for (const auto& [setting, expected] : {std::pair<int, int>{3, 5}, {8, 8}, {0, 5}})
        {
            ApplicationGlobals::numBuffersUsed = setting;
            auto camera = OpenCamera(color);
            QVERIFY(camera->IsOpen());
            QVERIFY(camera->GetDataStream());
            QCOMPARE(int(camera->GetDataStream()->GetNumBuffersAnnouncedMinRequired()), 4);
            QVERIFY(camera->StartAcquisition());
            QCOMPARE(int(camera->GetDataStream()->GetNumBuffersAnnounced()), expected);
            QCOMPARE(camera->GetNumBuffers(), expected);
            QVERIFY(camera->GetPayloadSize() > 0);
            QVERIFY(camera->StopAcquisition());
        }
        ApplicationGlobals::numBuffersUsed = 0;
    }

    void stopWithoutAcquisitionIsQuiet()
    {
        auto camera = OpenCamera(color);
        QVERIFY(camera->IsOpen());
        QSignalSpy stopped(camera.get(), &VisionCamera::Signal_AcquisitionStopped);
        QVERIFY(camera->StopAcquisition());
        QVERIFY(!camera->IsAcquiring());
        QCOMPARE(stopped.count(), 0);
    }

    void startAndStopDeliverBuffers()
    {
        auto camera = OpenCamera(mono);
        QVERIFY(camera->IsOpen());
        QSignalSpy started(camera.get(), &VisionCamera::Signal_AcquisitionStarted);
        QSignalSpy stopped(camera.get(), &VisionCamera::Signal_AcquisitionStopped);
        QVERIFY(camera->StartAcquisition());
        QVERIFY(camera->IsAcquiring());
        QCOMPARE(started.count(), 1);
        QVERIFY(camera->GetCaptureThread()->isRunning());
        int64_t locked = 0;
        QVERIFY(camera->GetIntegerValue("TLParamsLocked", ReadValueType::Value, locked));
        QCOMPARE(locked, int64_t(1));
        QVERIFY(camera->GetImageWidth() > 0 && camera->GetImageHeight() > 0);
        // The width factor is unset until the run's first frame; the stream's opening sized the finished image.
        QCOMPARE(camera->GetImageSizeDestination().width, camera->GetImageWidth());
        if (camera->GetCaptureWorker())
        {
            QTRY_VERIFY_WITH_TIMEOUT(camera->GetFrameCounter() >= 3, 10000);
            QCOMPARE(camera->GetWidthFactor(), 1.0);
        }
        else
        {
            // No capture worker in this build: take the buffers from the stream here.
            auto stream = camera->GetDataStream();
            for (int i = 0; i < 3; ++i)
            {
                auto buffer = stream->WaitForFinishedBuffer(5000);
                QVERIFY(buffer);
                QVERIFY(buffer->GetFilledSize() > 0);
                QCOMPARE(int64_t(buffer->GetWidth()), camera->GetImageWidth());
                stream->QueueBuffer(buffer);
            }
        }
        QVERIFY(camera->StopAcquisition());
        QVERIFY(!camera->IsAcquiring());
        QCOMPARE(stopped.count(), 1);
        QVERIFY(!camera->GetCaptureThread()->isRunning());
        QVERIFY(!camera->GetDataStream()->GetIsGrabbing());
        QVERIFY(camera->GetIntegerValue("TLParamsLocked", ReadValueType::Value, locked));
        QCOMPARE(locked, int64_t(0));
        // A second run works on the same camera.
        QVERIFY(camera->StartAcquisition());
        QVERIFY(camera->StopAcquisition());
        QCOMPARE(stopped.count(), 2);
    }

    void stuckCaptureThreadDoesNotBlockClosing()
    {
        auto camera = OpenCamera(mono);
        QVERIFY(camera->IsOpen());
        QVERIFY(camera->StartAcquisition());
        QPointer<QThread> thread = camera->GetCaptureThread();
        // A frame consumer on the capture thread that ignores every stop request for as long as the test wants.
        std::atomic<bool> release{false};
        std::atomic<bool> blocking{false};
        QVERIFY(camera->GetCaptureWorker());
        camera->GetCaptureWorker()->SetFrameCallback([&](std::shared_ptr<orna::ipl::Image>) {
            blocking = true;
            QElapsedTimer limit;
            limit.start();
            while (!release && limit.elapsed() < 20000)
                QThread::msleep(5);
        });
        QTRY_VERIFY_WITH_TIMEOUT(blocking.load(), 10000);
        QSignalSpy closed(camera.get(), &VisionCamera::Signal_Closed);
        QElapsedTimer timer;
        timer.start();
        camera.reset();
        QVERIFY2(timer.elapsed() < 6000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(closed.count(), 1);
        QVERIFY(thread); // handed over to its own end, still running
        QVERIFY(thread->isRunning());
        release = true;
        QTRY_VERIFY_WITH_TIMEOUT(thread.isNull(), 10000);
    }

    void cameraWithoutDataStreamOpensAndReads()
    {
        auto camera = OpenCamera(service);
        QVERIFY(camera->IsOpen());
        QVERIFY(!camera->GetDataStream());
        QVERIFY(camera->GetRemoteNodeMap());
        std::string firmware;
        QVERIFY(camera->GetStringValue("DeviceFirmwareVersion", firmware));
        QVERIFY(QString::fromStdString(firmware).contains(QStringLiteral("service")));
        QVERIFY(!camera->AllocBuffers());
        QVERIFY(!camera->StartAcquisition());
        QVERIFY(camera->StopAcquisition());
        int incomplete = 0, dropped = 0, lost = 0;
        QVERIFY(!camera->GetDataStreamCounterInfos(incomplete, dropped, lost));
    }

    void asyncOpenEndsItsThreadAndFillsTheNodeModels()
    {
        auto camera = std::make_unique<VisionCamera>(nullptr, nullptr, color, false, false, true);
        if (!camera->GetOpenWorker())
            QSKIP("the open worker is not part of this build");
        // Nothing runs before the caller connected to the results: a fast open could otherwise report first.
        QVERIFY(!camera->GetOpenThread()->isRunning());
        QVERIFY(!camera->IsOpen());
        QSignalSpy opened(camera.get(), &VisionCamera::Signal_Opened);
        QSignalSpy finished(camera->GetOpenThread(), &QThread::finished);
        camera->StartOpen();
        // The open runs on openThread; its result ends the thread.
        QVERIFY(finished.count() == 1 || finished.wait(10000));
        QTRY_COMPARE(opened.count(), 1);
        QVERIFY(camera->IsOpen());
        QVERIFY(camera->GetEventThread()->isRunning());
        // The node maps reach the GUI thread's models by a queued call.
        QTRY_VERIFY(camera->GetNodeMapAccess(XmlModule::RemoteDevice)->GetItemCount() > 50);
        QTRY_VERIFY(camera->GetNodeMapAccess(XmlModule::DataStream)->GetItemCount() > 0);
        QVERIFY(camera->GetNodeMapModel(XmlModule::Device)->rowCount() > 0);
        QSignalSpy closed(camera.get(), &VisionCamera::Signal_Closed);
        camera.reset();
        QCOMPARE(closed.count(), 1);
    }

    void deviceListEventsOfThisCameraArePassedOn()
    {
        auto camera = OpenCamera(mono);
        QVERIFY(camera->IsOpen());
        QSignalSpy disconnected(camera.get(), &VisionCamera::Signal_Disconnected);
        QSignalSpy reconnected(camera.get(), &VisionCamera::Signal_Reconnected);
        camera->OnSignalDeviceLost("another camera");
        camera->OnSignalDeviceDisconnected("another camera");
        camera->OnSignalDeviceReconnected(color, DeviceReconnectInformation());
        QCOMPARE(disconnected.count(), 0);
        QCOMPARE(reconnected.count(), 0);
        camera->OnSignalDeviceLost(mono->GetKey());
        camera->OnSignalDeviceDisconnected(mono->GetKey());
        QCOMPARE(disconnected.count(), 2);
        QCOMPARE(disconnected.at(0).at(0).toBool(), true);
        QCOMPARE(disconnected.at(1).at(0).toBool(), false);
        camera->OnSignalDeviceReconnected(mono, DeviceReconnectInformation());
        QCOMPARE(reconnected.count(), 1);
        QCOMPARE(camera->GetReconnectCounter(), 1);
    }

    void closingReleasesTheDeviceForTheNextOpen()
    {
        {
            auto camera = OpenCamera(color);
            QVERIFY(camera->IsOpen());
            QVERIFY(!OpenCamera(color)->IsOpen()); // held by the first
            camera->ExitCamera();
            QVERIFY(!camera->GetCaptureThread());
        }
        auto again = OpenCamera(color);
        QVERIFY(again->IsOpen());
    }
};

QTEST_MAIN(TestVisionCameraSim)
#include "test_visioncamera_sim.moc"
