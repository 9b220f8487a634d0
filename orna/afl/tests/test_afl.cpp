// The C interface without a camera: handles, errors, lists, modes, callbacks and their removal, the busy
// status, format refusal, and the statistics the laws measure.
#include "orna/afl/aflengine.h"
#include "orna/afl/autofeatures.h"
#include "orna/afl/orna_afl.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <future>
#include <mutex>
#include <string>

namespace {

using orna::afl::detail::MeasureChannelMeans;
using orna::afl::detail::MeasurePercentile;

std::string LastError()
{
    orna_afl_status code = 0;
    size_t size = 0;
    EXPECT_EQ(orna_afl_GetLastError(&code, nullptr, &size), ORNA_AFL_STATUS_SUCCESS);
    std::string text(size, '\0');
    EXPECT_EQ(orna_afl_GetLastError(&code, text.data(), &size), ORNA_AFL_STATUS_SUCCESS);
    text.resize(size - 1);
    return text;
}

// Any non-null address stands for the node map: these cases never reach a node.
int g_fakeMap = 0;

TEST(AflApi, HandlesAndArgumentsAreChecked)
{
    orna_afl_manager_handle manager = nullptr;
    orna_afl_status status = -1;
    EXPECT_EQ(orna_afl_AutoFeatureManager_Create(&manager, nullptr, &status), ORNA_AFL_STATUS_INVALID_ARGUMENT);
    EXPECT_EQ(status, ORNA_AFL_STATUS_INVALID_ARGUMENT);
    EXPECT_EQ(LastError(), "Invalid node map handle!");
    EXPECT_THROW(orna::afl::Manager(nullptr), orna::afl::error::Exception);

    orna_afl_controller_handle controller = nullptr;
    EXPECT_EQ(orna_afl_AutoController_Create(&controller, 3), ORNA_AFL_STATUS_NOT_SUPPORTED);
    ASSERT_EQ(orna_afl_AutoController_Create(&controller, ORNA_AFL_CONTROLLER_BRIGHTNESS), ORNA_AFL_STATUS_SUCCESS);
    int mode = -1;
    EXPECT_EQ(orna_afl_AutoController_Mode_Get(controller, &mode), ORNA_AFL_STATUS_SUCCESS);
    EXPECT_EQ(mode, ORNA_AFL_MODE_OFF);
    EXPECT_EQ(orna_afl_AutoController_Mode_Set(controller, 7), ORNA_AFL_STATUS_OUT_OF_RANGE);
    EXPECT_EQ(orna_afl_AutoController_Mode_Get(controller, nullptr), ORNA_AFL_STATUS_INVALID_ARGUMENT);
    // Not added to a manager: no node map, so no component is supported.
    int supported = -1;
    EXPECT_EQ(orna_afl_AutoController_BrightnessComponent_Mode_IsSupported(controller, 1, &supported), 0);
    EXPECT_EQ(supported, 0);
    EXPECT_EQ(orna_afl_AutoController_AutoTarget_Set(controller, 300.0), ORNA_AFL_STATUS_OUT_OF_RANGE);
    double minimum = 0, maximum = 0, increment = 0;
    EXPECT_EQ(orna_afl_AutoController_AutoTarget_GetRange(controller, &minimum, &maximum, &increment), 0);
    EXPECT_LT(minimum, maximum);
    EXPECT_EQ(orna_afl_AutoController_Destroy(controller), ORNA_AFL_STATUS_SUCCESS);
    // A destroyed handle is refused, not used.
    EXPECT_EQ(orna_afl_AutoController_Mode_Get(controller, &mode), ORNA_AFL_STATUS_INVALID_HANDLE);
    EXPECT_EQ(orna_afl_AutoController_Destroy(controller), ORNA_AFL_STATUS_INVALID_HANDLE);

    // White balance has no brightness parameters.
    ASSERT_EQ(orna_afl_AutoController_Create(&controller, ORNA_AFL_CONTROLLER_WHITE_BALANCE), 0);
    EXPECT_EQ(orna_afl_AutoController_AutoTarget_IsSupported(controller, &supported), 0);
    EXPECT_EQ(supported, 0);
    EXPECT_EQ(orna_afl_AutoController_AutoTarget_Get(controller, &minimum), ORNA_AFL_STATUS_NOT_SUPPORTED);
    EXPECT_EQ(orna_afl_AutoController_BrightnessComponent_Mode_Set(controller, 1, 1), ORNA_AFL_STATUS_NOT_SUPPORTED);
    orna_afl_AutoController_Destroy(controller);
}

TEST(AflApi, LastErrorIsPerThreadAndReadCountThenBuffer)
{
    orna_afl_controller_handle bogus = reinterpret_cast<orna_afl_controller_handle>(&g_fakeMap);
    int mode = 0;
    EXPECT_EQ(orna_afl_AutoController_Mode_Get(bogus, &mode), ORNA_AFL_STATUS_INVALID_HANDLE);
    EXPECT_EQ(LastError(), "Invalid handle!");
    std::async(std::launch::async, [] {
        orna_afl_controller_handle c = nullptr;
        orna_afl_AutoController_Create(&c, 99);
    }).wait();
    EXPECT_EQ(LastError(), "Invalid handle!");
    orna_afl_status code = 0;
    size_t size = 3;
    char small[3];
    EXPECT_EQ(orna_afl_GetLastError(&code, small, &size), ORNA_AFL_STATUS_BUFFER_TOO_SMALL);
    EXPECT_EQ(size, std::strlen("Invalid handle!") + 1);
    EXPECT_EQ(code, ORNA_AFL_STATUS_INVALID_HANDLE);
}

TEST(AflApi, ModesOfTheBrightnessComponentsAndTheController)
{
    orna::afl::Controller c(ORNA_AFL_CONTROLLER_BRIGHTNESS);
    ASSERT_EQ(orna_afl_AutoController_BrightnessComponent_Mode_Set(c.GetHandle(), 2, ORNA_AFL_MODE_ONCE), 0);
    int mode = -1;
    orna_afl_AutoController_Mode_Get(c.GetHandle(), &mode);
    EXPECT_EQ(mode, ORNA_AFL_MODE_ONCE);
    orna_afl_AutoController_BrightnessComponent_Mode_Set(c.GetHandle(), 1, ORNA_AFL_MODE_CONTINUOUS);
    orna_afl_AutoController_Mode_Get(c.GetHandle(), &mode);
    EXPECT_EQ(mode, ORNA_AFL_MODE_CONTINUOUS);
    orna_afl_AutoController_Mode_Set(c.GetHandle(), ORNA_AFL_MODE_OFF);
    for (int component : {1, 2})
    {
        orna_afl_AutoController_BrightnessComponent_Mode_Get(c.GetHandle(), component, &mode);
        EXPECT_EQ(mode, ORNA_AFL_MODE_OFF);
    }
    EXPECT_EQ(orna_afl_AutoController_BrightnessComponent_Mode_Set(c.GetHandle(), 3, 1), ORNA_AFL_STATUS_OUT_OF_RANGE);
}

// Fills a mono image with `value`; with `bright` pixels at 250 on every second row.
orna::ipl::Image Flat(uint32_t format, uint32_t w, uint32_t h, uint16_t value)
{
    orna::ipl::Image image = orna::ipl::Image::Construct(format, w, h);
    const bool wide = orna::ipl::PixelFormat::GetNumStorageBitsPerPixel(format) > 8;
    for (size_t i = 0; i < size_t(w) * h; ++i)
    {
        if (wide)
            reinterpret_cast<uint16_t*>(image.GetData())[i] = value;
        else
            image.GetData()[i] = uint8_t(value);
    }
    return image;
}

TEST(AflStatistics, PercentileOnTheEightBitScaleAndClampedRois)
{
    orna::ipl::Image image = Flat(orna::ipl::Mono8, 100, 100, 40);
    // The bottom quarter of the rows is bright.
    for (uint32_t y = 75; y < 100; ++y)
        std::memset(image.GetData() + y * 100, 200, 100);
    EXPECT_EQ(MeasurePercentile(image, {0, 0, 0, 0}, 50), 40);
    EXPECT_EQ(MeasurePercentile(image, {0, 0, 0, 0}, 80), 200);
    EXPECT_EQ(MeasurePercentile(image, {0, 80, 100, 10}, 10), 200);
    // A ROI beyond the image is clamped into it; a one-pixel ROI is one sample.
    EXPECT_EQ(MeasurePercentile(image, {90, 90, 500, 500}, 50), 200);
    EXPECT_EQ(MeasurePercentile(image, {5000, 5000, 1, 1}, 50), 200);
    EXPECT_EQ(MeasurePercentile(image, {3, 3, 1, 1}, 50), 40);
    // 12-bit data lands on the same scale.
    orna::ipl::Image deep = Flat(orna::ipl::Mono12, 64, 64, 40 * 16);
    EXPECT_EQ(MeasurePercentile(deep, {0, 0, 0, 0}, 50), 40);
    // A black image measures 0 without trouble.
    orna::ipl::Image black = Flat(orna::ipl::Mono8, 8, 8, 0);
    EXPECT_EQ(MeasurePercentile(black, {0, 0, 0, 0}, 50), 0);
}

TEST(AflStatistics, ChannelMeansPerBayerSiteAndPerChannel)
{
    // RG pattern: R at (0,0), G at (1,0) and (0,1), B at (1,1).
    orna::ipl::Image bayer = orna::ipl::Image::Construct(orna::ipl::BayerRG8, 8, 8);
    for (uint32_t y = 0; y < 8; ++y)
        for (uint32_t x = 0; x < 8; ++x)
            bayer.GetData()[y * 8 + x] = (y & 1) ? ((x & 1) ? 30 : 100) : ((x & 1) ? 100 : 200);
    double mean[3];
    MeasureChannelMeans(bayer, {0, 0, 0, 0}, mean);
    EXPECT_DOUBLE_EQ(mean[0], 200);
    EXPECT_DOUBLE_EQ(mean[1], 100);
    EXPECT_DOUBLE_EQ(mean[2], 30);
    // An odd ROI start keeps each site's colour.
    MeasureChannelMeans(bayer, {1, 1, 4, 4}, mean);
    EXPECT_DOUBLE_EQ(mean[0], 200);
    EXPECT_DOUBLE_EQ(mean[2], 30);
    orna::ipl::Image bgr = orna::ipl::Image::Construct(orna::ipl::BGR8, 4, 4);
    for (size_t i = 0; i < 16; ++i)
    {
        bgr.GetData()[3 * i] = 10;
        bgr.GetData()[3 * i + 1] = 20;
        bgr.GetData()[3 * i + 2] = 30;
    }
    MeasureChannelMeans(bgr, {0, 0, 0, 0}, mean);
    EXPECT_DOUBLE_EQ(mean[0], 30);
    EXPECT_DOUBLE_EQ(mean[2], 10);
}

TEST(AflProcess, PackedFormatsAreRefusedOncePerFormat)
{
    orna_afl_manager_handle manager = nullptr;
    ASSERT_EQ(orna_afl_AutoFeatureManager_Create(&manager, &g_fakeMap, nullptr), 0);
    orna::ipl::Image packed = orna::ipl::Image::Construct(orna::ipl::Mono12p, 16, 4);
    EXPECT_EQ(orna_afl_AutoFeatureManager_Process(manager, &packed), ORNA_AFL_STATUS_FORMAT_NOT_SUPPORTED);
    EXPECT_NE(LastError().find("Mono12p"), std::string::npos);
    EXPECT_EQ(orna_afl_AutoFeatureManager_Process(manager, &packed), ORNA_AFL_STATUS_SUCCESS);
    orna::ipl::Image other = orna::ipl::Image::Construct(orna::ipl::BayerRG10p, 16, 4);
    EXPECT_EQ(orna_afl_AutoFeatureManager_Process(manager, &other), ORNA_AFL_STATUS_FORMAT_NOT_SUPPORTED);
    orna::ipl::Image empty;
    EXPECT_EQ(orna_afl_AutoFeatureManager_Process(manager, &empty), ORNA_AFL_STATUS_INVALID_ARGUMENT);
    orna_afl_AutoFeatureManager_Destroy(manager);
}

// A white balance run whose finished callback blocks until released: meanwhile the manager reads busy, a
// second Process is refused, and removing the callback waits for the one under way.
TEST(AflProcess, BusyWhileProcessingAndCallbacksOutliveNoRemoval)
{
    orna::afl::Manager manager(std::shared_ptr<orna::core::NodeMap>(reinterpret_cast<orna::core::NodeMap*>(&g_fakeMap),
                                                                    [](orna::core::NodeMap*) {}));
    auto balance = std::make_shared<orna::afl::Controller>(ORNA_AFL_CONTROLLER_WHITE_BALANCE);
    manager.AddController(balance);
    std::mutex mutex;
    std::condition_variable cv;
    bool entered = false, release = false;
    int calls = 0;
    auto callback = balance->RegisterFinishedCallback([&] {
        std::unique_lock<std::mutex> lock(mutex);
        ++calls;
        entered = true;
        cv.notify_all();
        cv.wait(lock, [&] { return release; });
    });
    // A neutral grey image: white balance converges at once and "Once" ends with its callback.
    orna::ipl::Image grey = Flat(orna::ipl::BayerRG8, 16, 16, 100);
    ASSERT_EQ(orna_afl_AutoController_Mode_Set(balance->GetHandle(), ORNA_AFL_MODE_ONCE), 0);
    auto running = std::async(std::launch::async, [&] { manager.Process(grey); });
    {
        std::unique_lock<std::mutex> lock(mutex);
        cv.wait(lock, [&] { return entered; });
    }
    EXPECT_TRUE(manager.IsBusy());
    EXPECT_EQ(orna_afl_AutoFeatureManager_Process(manager.GetHandle(), &grey), ORNA_AFL_STATUS_BUSY);
    auto removal = std::async(std::launch::async, [&] { callback.reset(); });
    EXPECT_EQ(removal.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout)
        << "the callback object went while its function ran";
    {
        std::lock_guard<std::mutex> lock(mutex);
        release = true;
    }
    cv.notify_all();
    running.get();
    removal.get();
    EXPECT_FALSE(manager.IsBusy());
    EXPECT_EQ(calls, 1);
    // Removed: a second "Once" ends without calling anything.
    ASSERT_EQ(orna_afl_AutoController_Mode_Set(balance->GetHandle(), ORNA_AFL_MODE_ONCE), 0);
    manager.Process(grey);
    int mode = -1;
    orna_afl_AutoController_Mode_Get(balance->GetHandle(), &mode);
    EXPECT_EQ(mode, ORNA_AFL_MODE_OFF);
    EXPECT_EQ(calls, 1);
}

} // namespace
