// The desk's arithmetic and texts without widgets: cascade and clamp, grid snap of a centred element, the
// size of a new camera window, the notification row, the link speed rule and its texts, the boot status
// block, the shortcut table and the checks of the automatic image file name and number.
#include "app/desklogic.h"

#include <gtest/gtest.h>

#include <set>

using namespace desk;

TEST(DeskCascade, StartCentresOverTheOwnerAndNeverGoesNegative)
{
    // Owner 0..399 x 0..299, element 200x100: (399 - 200 + 1) / 2 = 100, (299 - 100 + 1) / 2 = 100.
    EXPECT_EQ(CascadeStart(QRect(0, 0, 400, 300), QSize(200, 100), QPoint()), QPoint(100, 100));
    // A docked owner adds the main window's origin.
    EXPECT_EQ(CascadeStart(QRect(0, 0, 400, 300), QSize(200, 100), QPoint(50, 60)), QPoint(150, 160));
    // An element larger than its owner would start left of the screen: clipped to 0.
    EXPECT_EQ(CascadeStart(QRect(0, 0, 100, 100), QSize(400, 300), QPoint()), QPoint(0, 0));
}

TEST(DeskCascade, SecondPanelLands38PixelsLowerAndRight)
{
    const QPoint start(100, 120);
    EXPECT_EQ(CascadePosition(start, {}), start);
    EXPECT_EQ(CascadePosition(start, {start}), QPoint(138, 158));
    EXPECT_EQ(CascadePosition(start, {start, QPoint(138, 158)}), QPoint(176, 196));
    // A gap in the chain is filled first.
    EXPECT_EQ(CascadePosition(start, {start, QPoint(176, 196)}), QPoint(138, 158));
}

TEST(DeskCascade, AllTwentyTakenFallsBackToStartPlus760)
{
    const QPoint start(10, 20);
    std::vector<QPoint> taken;
    for (int i = 0; i < kCascadeTries; ++i)
        taken.push_back(start + QPoint(i * kCascadeStep, i * kCascadeStep));
    EXPECT_EQ(CascadePosition(start, taken), QPoint(770, 780));
}

TEST(DeskCascade, ClampPullsBackByExactlyTheOvershoot)
{
    const QRect screen(0, 0, 1600, 1000);
    EXPECT_EQ(ClampToScreen(QPoint(100, 100), QSize(300, 200), screen), QPoint(100, 100));
    // Right edge 1500 + 300 - 1 = 1799, overshoot 200.
    EXPECT_EQ(ClampToScreen(QPoint(1500, 100), QSize(300, 200), screen), QPoint(1300, 100));
    EXPECT_EQ(ClampToScreen(QPoint(100, 950), QSize(300, 200), screen), QPoint(100, 800));
    // Exactly touching the edge is no overshoot.
    EXPECT_EQ(ClampToScreen(QPoint(1300, 800), QSize(300, 200), screen), QPoint(1300, 800));
    // A second screen to the right keeps its own origin.
    EXPECT_EQ(ClampToScreen(QPoint(3100, 0), QSize(300, 200), QRect(1600, 0, 1600, 1000)), QPoint(2900, 0));
}

TEST(DeskSnap, TiesKeepTheLowerLineAndNothingLeavesTheArea)
{
    EXPECT_EQ(SnapX(10, 0, 20), 0);
    EXPECT_EQ(SnapX(11, 0, 20), 20);
    EXPECT_EQ(SnapX(47, 7, 20), 47);
    EXPECT_EQ(SnapX(-15, 0, 20), 0);
    // y lines sit one pixel above the grid: 39 and 59 around 49, a tie keeps 39.
    EXPECT_EQ(SnapY(49, 0, 20), 39);
    EXPECT_EQ(SnapY(50, 0, 20), 59);
    EXPECT_EQ(SnapY(40, 0, 20), 39);
    EXPECT_EQ(SnapY(3, 0, 20), -1);
}

TEST(DeskSnap, CentredElementSnaps)
{
    // Area 0..999 x 0..799, element 301x201: centre (349, 299) -> x 340, y 299.
    EXPECT_EQ(CenteredSnapped(QRect(0, 0, 1000, 800), QSize(301, 201), 20), QPoint(340, 299));
}

TEST(DeskCameraWindow, FourToThreeAtHeight900GetsTheMinimumWidth)
{
    // int(1.333 * 782) + 51 = 1093 is below 59 * 20, so the window is 1181 wide.
    const QSize size = CameraWindowSize(1600, 1200, QRect(0, 0, 2400, 900), QPoint(0, 0), 20);
    EXPECT_GE(size.width(), 1181);
    EXPECT_EQ(size.width() % 20, 1);
    EXPECT_EQ(size.height(), 881);
}

TEST(DeskCameraWindow, WideImageFollowsItsAspectAndShrinksToTheArea)
{
    // Aspect 4.0, height 1001: 4 * 883 + 51 = 3583 -> 3581 on the grid; the area leaves 2000 - 100 = 1900.
    EXPECT_EQ(CameraWindowSize(4000, 1000, QRect(0, 0, 4000, 1001), QPoint(0, 0), 20), QSize(3581, 1001));
    EXPECT_EQ(CameraWindowSize(4000, 1000, QRect(0, 0, 2000, 1001), QPoint(100, 0), 20), QSize(1881, 1001));
    // A height of 0 counts as aspect 1.
    EXPECT_EQ(CameraWindowSize(640, 0, QRect(0, 0, 4000, 1001), QPoint(0, 0), 20).width(), 1181);
}

TEST(DeskNotification, EachCombinationHasItsText)
{
    EXPECT_EQ(NotificationText(true, true, false), QString());
    EXPECT_EQ(NotificationText(false, false, false),
              QStringLiteral("Automatic camera parameter polling and camera list update disabled!"));
    EXPECT_EQ(NotificationText(true, false, false), QStringLiteral("Automatic camera parameter polling disabled!"));
    EXPECT_EQ(NotificationText(false, true, false), QStringLiteral("Automatic camera list update disabled!"));
    EXPECT_EQ(NotificationText(true, true, true), QStringLiteral("Automatic image saving enabled!"));
    EXPECT_EQ(NotificationText(false, true, true),
              QStringLiteral("Automatic camera list update disabled! Automatic image saving enabled!"));
}

TEST(DeskLinkSpeed, ThresholdsAreInclusiveAndOnlyForTheirTransport)
{
    EXPECT_EQ(CheckLinkSpeed("U3V", "", 100000000), LinkSpeedWarning::None);
    EXPECT_EQ(CheckLinkSpeed("U3V", "", 99999999), LinkSpeedWarning::Usb);
    EXPECT_EQ(CheckLinkSpeed("U3V", "RT-KM", 60000000), LinkSpeedWarning::Usb);
    EXPECT_EQ(CheckLinkSpeed("GEV", "RT-KM", 499999999), LinkSpeedWarning::Ethernet);
    EXPECT_EQ(CheckLinkSpeed("GEV", "RT-KM", 500000000), LinkSpeedWarning::None);
    EXPECT_EQ(CheckLinkSpeed("GEV", "Other", 125000000), LinkSpeedWarning::None);
}

TEST(DeskLinkSpeed, TextsNameTheSerialOnlyWhenAsked)
{
    EXPECT_TRUE(LinkSpeedWarningText(LinkSpeedWarning::None, true, "X").isEmpty());
    EXPECT_EQ(LinkSpeedWarningText(LinkSpeedWarning::Usb, true, "123"),
              QStringLiteral("The camera with the serial number 123 is not running with USB3 speed.\n"
                             "Check the connection and use an appropriate cable."));
    EXPECT_EQ(LinkSpeedWarningText(LinkSpeedWarning::Usb, false, "123"),
              QStringLiteral("The camera is not running with USB3 speed.\n"
                             "Check the connection and use an appropriate cable."));
    EXPECT_EQ(LinkSpeedWarningText(LinkSpeedWarning::Ethernet, true, "9"),
              QStringLiteral("The camera with the serial number 9 is not running with 10 Gigabit Ethernet speed.\n"
                             "Check all components of the connection (router, switch ...) and use an appropriate "
                             "cable."));
    EXPECT_EQ(LinkSpeedWarningText(LinkSpeedWarning::Ethernet, false, "9"),
              QStringLiteral("The camera is not running with 10 Gigabit Ethernet speed.\n"
                             "Check all components of the connection (router, switch ...) and use an appropriate "
                             "cable."));
}

TEST(DeskBootStatus, OkAndServiceCamerasAreNotReported)
{
    EXPECT_FALSE(BootStatusNeedsReport("OK", "cam"));
    EXPECT_FALSE(BootStatusNeedsReport("CRC", "Model SERVICE fw"));
    EXPECT_TRUE(BootStatusNeedsReport("CRC", "Model A"));
}

TEST(DeskBootStatus, BlockWithAndWithoutAddresses)
{
    const QColor text(Qt::white), warn(Qt::red);
    const auto full = BootStatusBlock("2026-01-02: 03:04:05", "CRC", "sensor", "http://d", "http://s", text, warn);
    ASSERT_EQ(full.size(), 9);
    EXPECT_EQ(full[0].text,
              QStringLiteral("2026-01-02: 03:04:05:  The camera has reported the following boot status:\n"));
    EXPECT_EQ(full[1].text, QStringLiteral("\"CRC\": sensor\n"));
    EXPECT_EQ(full[1].color, warn);
    EXPECT_EQ(full[4].text, QStringLiteral("- Download the latest firmware from our website and update the camera:\n"));
    EXPECT_EQ(full[5].text, QStringLiteral("http://d\n"));
    EXPECT_EQ(full[6].text, QStringLiteral("- Test the camera connection by using a certified KVX cable.\n"));
    EXPECT_EQ(full[8].text, QStringLiteral("http://s\n"));
    for (const auto& line : full)
        EXPECT_TRUE(line.text.endsWith('\n'));

    const auto blank = BootStatusBlock("d", "CRC", "", " ", "http://s", text, warn);
    ASSERT_EQ(blank.size(), 6);
    EXPECT_EQ(blank[1].text, QStringLiteral("\"CRC\"\n"));
    EXPECT_EQ(blank[4].text, QStringLiteral("- Download the latest firmware and update the camera.\n"));
    EXPECT_EQ(blank[5].text, QStringLiteral("- Test the camera connection by using a certified cable.\n"));
}

TEST(DeskShortcuts, TenDistinctKeysWithDescriptions)
{
    const auto& list = Shortcuts();
    ASSERT_EQ(list.size(), 10u);
    QStringList keys;
    for (const auto& s : list)
    {
        EXPECT_FALSE(ShortcutDescription(s).isEmpty());
        EXPECT_FALSE(QKeySequence(ShortcutKey(s)).isEmpty()) << s.key;
        keys << ShortcutKey(s);
    }
    keys.removeDuplicates();
    EXPECT_EQ(keys.size(), 10);
    EXPECT_EQ(ShortcutDescription(list[0]), QStringLiteral("About KVX orna Lumivue"));
}

TEST(DeskImageName, FileSystemRefusalsAreCaught)
{
    EXPECT_TRUE(IsValidImageFileName("kvx_image"));
    EXPECT_TRUE(IsValidImageFileName(QString::fromUtf8("bild_größe 2")));
    EXPECT_FALSE(IsValidImageFileName(""));
    EXPECT_FALSE(IsValidImageFileName("."));
    EXPECT_FALSE(IsValidImageFileName(".."));
    EXPECT_FALSE(IsValidImageFileName("a/b"));
    EXPECT_FALSE(IsValidImageFileName("a:b"));
    EXPECT_FALSE(IsValidImageFileName(QString("a") + QChar(0) + "b"));
    EXPECT_FALSE(IsValidImageFileName("tab\there"));
    EXPECT_TRUE(IsValidImageFileName(QString(255, 'x')));
    EXPECT_FALSE(IsValidImageFileName(QString(256, 'x')));
    // 128 two-byte characters are 256 bytes.
    EXPECT_FALSE(IsValidImageFileName(QString(128, QChar(0xE4))));
}

TEST(DeskImageName, MaxNumberTakesOnlyPositiveIntegers)
{
    EXPECT_TRUE(IsValidMaxNumber("1"));
    EXPECT_TRUE(IsValidMaxNumber("100"));
    EXPECT_FALSE(IsValidMaxNumber(""));
    EXPECT_FALSE(IsValidMaxNumber("0"));
    EXPECT_FALSE(IsValidMaxNumber("012"));
    EXPECT_FALSE(IsValidMaxNumber("1a"));
    EXPECT_FALSE(IsValidMaxNumber("-5"));
}

// --- Arranging camera windows

TEST(DeskArrange, EightWindowsTileWithoutOverlapAndKeepTheirAspect)
{
    const QRect area(0, 48, 1600, 900);
    const std::vector<double> aspects = {4.0 / 3, 4.0 / 3, 16.0 / 9, 1.0, 4.0 / 3, 0.5, 4.0 / 3, 0.0};
    const std::vector<QRect> places = ArrangeCameraWindows(area, aspects);
    ASSERT_EQ(places.size(), aspects.size());
    for (size_t i = 0; i < places.size(); ++i)
    {
        EXPECT_TRUE(area.contains(places[i])) << i;
        for (size_t k = 0; k < i; ++k)
            EXPECT_FALSE(places[i].intersects(places[k])) << i << " and " << k;
        // The image inside the frame keeps its aspect to the pixel.
        const double aspect = aspects[i] > 0.0 ? aspects[i] : 1.0;
        const double imageW = places[i].width() - kCameraFrameWidth;
        const double imageH = places[i].height() - kCameraFrameHeight;
        EXPECT_NEAR(imageW, imageH * aspect, aspect + 1.0) << i;
        EXPECT_GT(imageW, 100.0) << i;
    }
    // A grid, not a column or a row: eight windows on a wide desk take more than one row and column.
    std::set<int> xs;
    std::set<int> ys;
    for (const QRect& r : places)
    {
        xs.insert(r.center().x() / 10);
        ys.insert(r.center().y() / 10);
    }
    EXPECT_GT(xs.size(), 1u);
    EXPECT_GT(ys.size(), 1u);
}

TEST(DeskArrange, ColumnsFollowTheShapeOfArea)
{
    // Two 4:3 images side by side on a wide desk, one above the other on a tall one.
    const auto wide = ArrangeCameraWindows(QRect(0, 0, 2000, 600), {4.0 / 3, 4.0 / 3});
    ASSERT_EQ(wide.size(), 2u);
    EXPECT_EQ(wide[0].top(), wide[1].top());
    const auto tall = ArrangeCameraWindows(QRect(0, 0, 600, 2000), {4.0 / 3, 4.0 / 3});
    ASSERT_EQ(tall.size(), 2u);
    EXPECT_EQ(tall[0].left(), tall[1].left());
    // One window takes the whole height its aspect allows.
    const auto one = ArrangeCameraWindows(QRect(10, 20, 1000, 500), {1.0});
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0].height(), 500);
    EXPECT_TRUE(ArrangeCameraWindows(QRect(0, 0, 1000, 500), {}).empty());
    EXPECT_TRUE(ArrangeCameraWindows(QRect(), {1.0}).empty());
}
