// The auto feature laws on the simulated camera: brightness "Once" from a fifth of the target, "Continuous"
// after a fourfold change of light, white balance from a colour cast, and the bad inputs (black and saturated
// scenes, a one-pixel ROI, refused writes).
#include "aflsimfixture.h"

#include "orna/afl/aflconstants.h"
#include "orna/afl/aflengine.h"
#include "orna/ipl/gain.h"

#include <atomic>
#include <cmath>

using namespace afltest;
namespace k = orna::afl::constants;

namespace {

int Mode(const orna::afl::Controller& c, int component)
{
    int mode = -1;
    orna::afl::error::CheckStatus(
        orna_afl_AutoController_BrightnessComponent_Mode_Get(c.GetHandle(), component, &mode));
    return mode;
}

int OwnMode(const orna::afl::Controller& c)
{
    int mode = -1;
    orna::afl::error::CheckStatus(orna_afl_AutoController_Mode_Get(c.GetHandle(), &mode));
    return mode;
}

double Level(orna::ipl::Image& image)
{
    return orna::afl::detail::MeasurePercentile(image, orna_afl_roi{0, 0, 0, 0}, k::kPercentileDefault);
}

class AflSim : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv(orna::core::sim::kSimCamerasEnvironmentVariable, "color,mono", 1);
        orna::Library::Initialize();
        orna_afl_Init();
    }
    static void TearDownTestSuite()
    {
        orna_afl_Exit();
        orna::Library::Close();
    }

    void Start(const char* serial, const char* format)
    {
        ASSERT_TRUE(cam.Open(serial, format)) << "the sim: producer is not available";
        manager = std::make_unique<orna::afl::Manager>(cam.map);
    }
    void TearDown() override
    {
        callbacks.clear();
        brightness.reset();
        balance.reset();
        manager.reset();
        cam.Close();
    }

    // Brightness controller with counters on its three callbacks.
    void AddBrightness()
    {
        brightness = std::make_shared<orna::afl::Controller>(ORNA_AFL_CONTROLLER_BRIGHTNESS);
        manager->AddController(brightness);
        callbacks.push_back(brightness->RegisterFinishedCallback([this] { ++finished; }));
        callbacks.push_back(
            brightness->RegisterComponentCallback(ORNA_AFL_COMPONENT_EXPOSURE, [this] { ++exposureDone; }));
        callbacks.push_back(brightness->RegisterComponentCallback(ORNA_AFL_COMPONENT_GAIN, [this] { ++gainDone; }));
    }

    // Exposure at which the default statistic reads about `level`, found from one frame (the scene is linear).
    void ExposeFor(double level)
    {
        // From the camera's start value: an earlier case may have left another.
        cam.SetExposure(10000);
        double measured = 0;
        for (int i = 0; i < 3; ++i)
            cam.Frame([&](orna::ipl::Image& image) { measured = Level(image); });
        ASSERT_GT(measured, 5.0);
        cam.SetExposure(std::round(cam.Exposure() * level / measured));
        for (int i = 0; i < 3; ++i)
            cam.Frame([&](orna::ipl::Image& image) { measured = Level(image); });
        ASSERT_NEAR(measured, level, level * 0.25);
    }

    // Feeds frames until `done` or `limit` frames; returns the frames fed.
    int Run(int limit, const std::function<bool()>& done, orna::ipl::Gain* gain = nullptr)
    {
        int frames = 0;
        while (frames < limit && !done())
        {
            cam.Frame([&](orna::ipl::Image& image) {
                if (gain && !gain->IsNeutral())
                    gain->ProcessInPlace(image);
                const orna_afl_status status = orna_afl_AutoFeatureManager_Process(manager->GetHandle(), &image);
                if (status != ORNA_AFL_STATUS_SUCCESS)
                    ++failures;
            });
            ++frames;
        }
        return frames;
    }

    double SettledLevel()
    {
        double level = 0;
        for (int i = 0; i < 4; ++i)
            cam.Frame([&](orna::ipl::Image& image) { level = Level(image); });
        return level;
    }

    SimStream cam;
    std::unique_ptr<orna::afl::Manager> manager;
    std::shared_ptr<orna::afl::Controller> brightness, balance;
    std::vector<std::unique_ptr<orna::afl::Controller::FunctionCallback>> callbacks;
    std::atomic<int> finished{0}, exposureDone{0}, gainDone{0};
    int failures = 0;
};

TEST_F(AflSim, BrightnessOnceFromAFifthOfTheTargetConvergesAndEndsOff)
{
    for (const char* serial : {"LVSM00001", "LVSC00001"})
    {
        SCOPED_TRACE(serial);
        Start(serial, serial[3] == 'M' ? "Mono8" : "BayerRG8");
        ExposeFor(k::kTargetDefault / 5);
        AddBrightness();
        finished = exposureDone = gainDone = 0;
        orna::afl::error::CheckStatus(orna_afl_AutoController_Mode_Set(brightness->GetHandle(), ORNA_AFL_MODE_ONCE));
        const int frames =
            Run(k::kBrightnessOnceFrameBudget, [&] { return OwnMode(*brightness) == ORNA_AFL_MODE_OFF; });
        EXPECT_EQ(OwnMode(*brightness), ORNA_AFL_MODE_OFF) << "not converged within " << frames << " frames";
        EXPECT_LE(frames, k::kBrightnessOnceFrameBudget);
        EXPECT_EQ(finished.load(), 1);
        EXPECT_EQ(exposureDone.load(), 1);
        EXPECT_EQ(gainDone.load(), 1);
        EXPECT_EQ(failures, 0);
        EXPECT_NEAR(SettledLevel(), k::kTargetDefault, k::kToleranceDefault + 2);
        // Off stays off: more frames call nothing back.
        Run(10, [] { return false; });
        EXPECT_EQ(finished.load(), 1);
        TearDown();
    }
}

TEST_F(AflSim, BrightnessContinuousFollowsAFourfoldChangeOfLight)
{
    Start("LVSC00001", "BayerRG8");
    AddBrightness();
    orna::afl::error::CheckStatus(orna_afl_AutoController_Mode_Set(brightness->GetHandle(), ORNA_AFL_MODE_CONTINUOUS));
    Run(60, [] { return false; });
    EXPECT_NEAR(SettledLevel(), k::kTargetDefault, k::kToleranceDefault + 3);
    const double exposureBefore = cam.Exposure();
    for (double light : {0.25, 1.0})
    {
        SCOPED_TRACE(light);
        cam.sim->SetSceneLight(light, light, light);
        Run(60, [] { return false; });
        EXPECT_NEAR(SettledLevel(), k::kTargetDefault, k::kToleranceDefault + 3);
        EXPECT_EQ(OwnMode(*brightness), ORNA_AFL_MODE_CONTINUOUS);
    }
    // The dark phase needed four times the light: exposure (and gain) went up and came back.
    EXPECT_NEAR(cam.Exposure(), exposureBefore, exposureBefore * 0.25);
    EXPECT_EQ(finished.load(), 0);
    EXPECT_EQ(failures, 0);
}

TEST_F(AflSim, OnlyTheComponentsThatAreOnMove)
{
    Start("LVSM00001", "Mono8");
    ExposeFor(k::kTargetDefault / 5);
    AddBrightness();
    const double gainBefore = cam.GainDb();
    orna::afl::error::CheckStatus(orna_afl_AutoController_BrightnessComponent_Mode_Set(
        brightness->GetHandle(), ORNA_AFL_COMPONENT_EXPOSURE, ORNA_AFL_MODE_ONCE));
    Run(k::kBrightnessOnceFrameBudget, [&] { return Mode(*brightness, ORNA_AFL_COMPONENT_EXPOSURE) == 0; });
    EXPECT_EQ(Mode(*brightness, ORNA_AFL_COMPONENT_EXPOSURE), ORNA_AFL_MODE_OFF);
    EXPECT_EQ(cam.GainDb(), gainBefore);
    EXPECT_EQ(exposureDone.load(), 1);
    EXPECT_EQ(gainDone.load(), 0);
    EXPECT_EQ(finished.load(), 1);
}

TEST_F(AflSim, BlackAndSaturatedScenesStepByTheBoundedMaximum)
{
    Start("LVSM00001", "Mono8");
    AddBrightness();
    orna::afl::error::CheckStatus(orna_afl_AutoController_SkipFrames_Set(brightness->GetHandle(), 0));
    cam.sim->SetSceneLight(0.0, 0.0, 0.0);
    cam.SetExposure(1000);
    orna::afl::error::CheckStatus(orna_afl_AutoController_BrightnessComponent_Mode_Set(
        brightness->GetHandle(), ORNA_AFL_COMPONENT_EXPOSURE, ORNA_AFL_MODE_CONTINUOUS));
    // Frames made before the change pass first.
    Run(2, [] { return false; });
    cam.SetExposure(1000);
    double dark = -1;
    cam.Frame([&](orna::ipl::Image& image) { dark = Level(image); });
    EXPECT_EQ(dark, 0.0);
    double before = cam.Exposure();
    for (int i = 0; i < 4; ++i)
    {
        Run(1, [] { return false; });
        const double after = cam.Exposure();
        EXPECT_GT(after, before);
        EXPECT_LE(after, before * k::kMaxStep + 1.0);
        before = after;
    }
    EXPECT_EQ(failures, 0);
    // Saturated: bright light and a long exposure.
    cam.sim->SetSceneLight(50.0, 50.0, 50.0);
    cam.SetExposure(50000);
    Run(3, [] { return false; }); // frames of the old exposure pass
    before = cam.Exposure();
    Run(1, [] { return false; });
    EXPECT_LT(cam.Exposure(), before);
    EXPECT_GE(cam.Exposure(), before / k::kMaxStep - 1.0);
    // A one-pixel ROI measures one pixel and divides by nothing.
    const orna_afl_roi pixel{10, 10, 1, 1};
    orna::afl::error::CheckStatus(orna_afl_AutoController_ROI_Set(brightness->GetHandle(), &pixel));
    Run(3, [] { return false; });
    EXPECT_EQ(failures, 0);
}

// The grey patch of the chart (row 4, column 3) in normalised coordinates, inside its borders.
orna_afl_roi GreyPatch(const orna::ipl::Image& image)
{
    const int64_t w = image.GetWidth(), h = image.GetHeight();
    return {int64_t(0.235 * w) & ~1, int64_t(0.465 * h) & ~1, int64_t(0.04 * w) & ~1, int64_t(0.06 * h) & ~1};
}

TEST_F(AflSim, WhiteBalanceOnceRemovesAColourCast)
{
    Start("LVSC00001", "BayerRG8");
    orna::ipl::Gain gain;
    manager->SetGainIPL(&gain);
    balance = std::make_shared<orna::afl::Controller>(ORNA_AFL_CONTROLLER_WHITE_BALANCE);
    manager->AddController(balance);
    callbacks.push_back(balance->RegisterFinishedCallback([this] { ++finished; }));
    cam.sim->SetSceneLight(1.4, 1.0, 0.6);
    orna_afl_roi roi{};
    double before[3];
    for (int i = 0; i < 3; ++i)
        cam.Frame([&](orna::ipl::Image& image) {
            roi = GreyPatch(image);
            orna::afl::detail::MeasureChannelMeans(image, roi, before);
        });
    ASSERT_GT(before[0] / before[1], 1.2);
    ASSERT_LT(before[2] / before[1], 0.8);
    orna::afl::error::CheckStatus(orna_afl_AutoController_ROI_Set(balance->GetHandle(), &roi));
    orna::afl::error::CheckStatus(orna_afl_AutoController_Mode_Set(balance->GetHandle(), ORNA_AFL_MODE_ONCE));
    const int frames = Run(
        k::kWhiteBalanceOnceFrameBudget, [&] { return OwnMode(*balance) == ORNA_AFL_MODE_OFF; }, &gain);
    EXPECT_EQ(OwnMode(*balance), ORNA_AFL_MODE_OFF) << frames << " frames";
    EXPECT_EQ(finished.load(), 1);
    EXPECT_LT(gain.GetRedGainValue(), 0.85f);
    EXPECT_GT(gain.GetBlueGainValue(), 1.4f);
    EXPECT_EQ(gain.GetGreenGainValue(), 1.0f);
    double after[3];
    cam.Frame([&](orna::ipl::Image& image) {
        gain.ProcessInPlace(image);
        orna::afl::detail::MeasureChannelMeans(image, roi, after);
    });
    EXPECT_NEAR(after[0] / after[1], 1.0, 0.02);
    EXPECT_NEAR(after[2] / after[1], 1.0, 0.02);
}

// Last: the camera comes back only after the test.
TEST_F(AflSim, ARefusedWriteIsReportedOnceAndEndsOnce)
{
    Start("LVSM00001", "Mono8");
    ExposeFor(k::kTargetDefault / 5);
    AddBrightness();
    orna::afl::error::CheckStatus(orna_afl_AutoController_SkipFrames_Set(brightness->GetHandle(), 0));
    orna::afl::error::CheckStatus(orna_afl_AutoController_BrightnessComponent_Mode_Set(
        brightness->GetHandle(), ORNA_AFL_COMPONENT_EXPOSURE, ORNA_AFL_MODE_CONTINUOUS));
    // The link goes: every node write fails. Continuous reports it once, then keeps quiet.
    cam.Frame([&](orna::ipl::Image& image) {
        cam.sim->DisconnectNow();
        EXPECT_EQ(orna_afl_AutoFeatureManager_Process(manager->GetHandle(), &image), ORNA_AFL_STATUS_NODE_ACCESS);
        EXPECT_EQ(orna_afl_AutoFeatureManager_Process(manager->GetHandle(), &image), ORNA_AFL_STATUS_SUCCESS);
        // A new run reports again; "Once" ends "Off" with its callbacks instead of trying for ever.
        orna::afl::error::CheckStatus(orna_afl_AutoController_BrightnessComponent_Mode_Set(
            brightness->GetHandle(), ORNA_AFL_COMPONENT_EXPOSURE, ORNA_AFL_MODE_ONCE));
        EXPECT_EQ(orna_afl_AutoFeatureManager_Process(manager->GetHandle(), &image), ORNA_AFL_STATUS_NODE_ACCESS);
    });
    EXPECT_EQ(Mode(*brightness, ORNA_AFL_COMPONENT_EXPOSURE), ORNA_AFL_MODE_OFF);
    EXPECT_EQ(exposureDone.load(), 1);
    EXPECT_EQ(finished.load(), 1);
    cam.sim->ReconnectAfter(std::chrono::milliseconds(0));
}

} // namespace
