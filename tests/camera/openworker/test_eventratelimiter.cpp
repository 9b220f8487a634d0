// The flood guard of remote device events and the names of event types; the texts of the dialogs after an
// open (links left out when they are the blank " ").
#include "camera/cameraopentexts.h"
#include "camera/eventratelimiter.h"

#include <gtest/gtest.h>

namespace {

using Clock = std::chrono::system_clock;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

TEST(EventRateLimiter, FiftiethEventOfAWindowIsDroppedWithOneWarning)
{
    camera::EventRateLimiter limiter;
    const auto start = Clock::time_point(std::chrono::seconds(1000));
    int accepted = 0;
    int warnings = 0;
    for (int i = 0; i < 80; ++i)
    {
        if (limiter.Accept(start + milliseconds(1) * i / 2))
            ++accepted;
        if (limiter.TakeOverflowWarning())
        {
            ++warnings;
            EXPECT_EQ(i, 49) << "the warning comes with the 50th event";
        }
    }
    EXPECT_EQ(accepted, 49);
    EXPECT_EQ(warnings, 1);
    EXPECT_EQ(limiter.TakeDropped(), 31);
    EXPECT_EQ(limiter.TakeDropped(), 0);

    // Exactly at the window's end the window still holds; just after it a new one opens with a count of 1.
    EXPECT_FALSE(limiter.Accept(start + camera::EventRateLimiter::kWindow));
    EXPECT_TRUE(limiter.Accept(start + camera::EventRateLimiter::kWindow + nanoseconds(1)));
    EXPECT_FALSE(limiter.TakeOverflowWarning());
    int again = 1;
    while (limiter.Accept(start + camera::EventRateLimiter::kWindow + milliseconds(50)))
        ++again;
    EXPECT_EQ(again, 49);
    EXPECT_TRUE(limiter.TakeOverflowWarning()) << "a new window warns again";
}

TEST(EventRateLimiter, SteadyRateBelowTheLimitPassesEverything)
{
    camera::EventRateLimiter limiter;
    const auto start = Clock::time_point(std::chrono::seconds(5));
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(limiter.Accept(start + milliseconds(3) * i)) << i; // about 34 events a window
    EXPECT_FALSE(limiter.TakeOverflowWarning());
    EXPECT_EQ(limiter.TakeDropped(), 0);
}

TEST(EventTypeNames, Table)
{
    EXPECT_EQ(camera::EventTypeName(0), "Error");
    EXPECT_EQ(camera::EventTypeName(1), "Error");
    EXPECT_EQ(camera::EventTypeName(2), "FeatureInvalidate");
    EXPECT_EQ(camera::EventTypeName(3), "FeatureChange");
    EXPECT_EQ(camera::EventTypeName(4), "RemoteDevice");
    EXPECT_EQ(camera::EventTypeName(5), "Module");
    EXPECT_EQ(camera::EventTypeName(1000), "Custom");
    EXPECT_EQ(camera::EventTypeName(4711), "Custom");
    EXPECT_EQ(camera::EventTypeName(6), "");
    EXPECT_EQ(camera::EventTypeName(-1), "");
}

TEST(OpenDialogTexts, BootStatusReport)
{
    const QString text =
        camera::BootStatusDialogText("ConfigurationCrcError", "CRC wrong", "https://dl", "https://sup");
    EXPECT_EQ(text.toStdString(),
              "The camera has reported the following boot status:\n\n\"ConfigurationCrcError: CRC wrong\"\n\n"
              "This message should disappear after the next camera reboot (power off).\n"
              "If the problem persists, try the following steps:\n\n"
              "- Download the latest firmware from our website and update the camera:\n\n  https://dl\n\n"
              "- Test the camera connection by using a certified KVX cable.\n\n"
              "- Contact our support team: https://sup");
    const QString bare = camera::BootStatusDialogText("X", "", " ", " ");
    EXPECT_FALSE(bare.contains("https"));
    EXPECT_TRUE(bare.endsWith("Contact our support team:"));
}

TEST(OpenDialogTexts, ServiceFirmwareNotice)
{
    const QString ok = camera::ServiceFirmwareDialogText("OK", "", "https://dl", "https://sup");
    EXPECT_TRUE(ok.startsWith("The camera is running with service firmware.\n\n"));
    EXPECT_TRUE(ok.contains("It is recommended to download the latest firmware from our website and update the "
                            "camera:\n\n  https://dl"));
    EXPECT_TRUE(ok.contains("In this state, the camera cannot be operated as expected."));
    EXPECT_TRUE(ok.contains("The camera will boot with runtime firmware after the update."));
    EXPECT_TRUE(ok.endsWith("If the problem persists, contact our support team: https://sup"));

    const QString boot = camera::ServiceFirmwareDialogText("Fault", "bad", " ", " ");
    EXPECT_TRUE(boot.startsWith("The camera is running with service firmware and has reported the following boot "
                                "status:\n\"Fault: bad\""));
    EXPECT_TRUE(boot.contains("It is recommended to download the latest firmware and update the camera."));
    EXPECT_FALSE(boot.contains("from our website"));
    EXPECT_FALSE(boot.contains("https"));
}

} // namespace
