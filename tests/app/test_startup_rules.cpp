// Pure start-up rules: the command-line word, the version table, the settings' boolean rule, the skin choice.
#include "app/commandline.h"
#include "app/versioncheck.h"
#include "common/applicationglobals.h"
#include "common/settings.h"

#include <QSettings>

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(CommandLine, DigitFormIsThreeDigitsPerByte)
{
    EXPECT_EQ(commandline::DigitForm("abc"), "097098099");
    EXPECT_EQ(commandline::DigitForm(""), "");
    EXPECT_EQ(commandline::DigitForm("\xff"), "255");
}

TEST(CommandLine, OnlyTheWholeWordMatches)
{
    EXPECT_TRUE(commandline::IsDeveloperWord("devviewer"));
    EXPECT_FALSE(commandline::IsDeveloperWord("devviewe"));   // a prefix of the word
    EXPECT_FALSE(commandline::IsDeveloperWord("devviewerx")); // the word as a prefix
    EXPECT_FALSE(commandline::IsDeveloperWord("xdevviewer"));
    EXPECT_FALSE(commandline::IsDeveloperWord("DEVVIEWER"));
    EXPECT_FALSE(commandline::IsDeveloperWord(nullptr));
}

TEST(CommandLine, WordAnywhereSwitchesOnAndArgumentsStay)
{
    ApplicationGlobals::developerView = false;
    std::vector<std::string> storage = {"lumivue", "-platform", "offscreen", "devviewer", "last"};
    std::vector<char*> argv;
    for (auto& s : storage)
        argv.push_back(s.data());
    commandline::Scan(static_cast<int>(argv.size()), argv.data());
    EXPECT_TRUE(ApplicationGlobals::developerView);
    EXPECT_STREQ(argv[3], "devviewer");
    EXPECT_EQ(argv.size(), 5u);

    ApplicationGlobals::developerView = false;
    char program[] = "devviewer"; // the program name itself is never compared
    char* onlyProgram[] = {program};
    commandline::Scan(1, onlyProgram);
    EXPECT_FALSE(ApplicationGlobals::developerView);

    char other[] = "devviewerdevviewer";
    char* twoArgs[] = {program, other};
    commandline::Scan(2, twoArgs);
    EXPECT_FALSE(ApplicationGlobals::developerView);
}

TEST(VersionCheck, TableOfTheMinimumVersion)
{
    using versioncheck::IsDeviceLibraryVersionAccepted;
    EXPECT_FALSE(IsDeviceLibraryVersionAccepted(0, 9, 9));
    EXPECT_FALSE(IsDeviceLibraryVersionAccepted(0, 99, 99));
    EXPECT_FALSE(IsDeviceLibraryVersionAccepted(1, 0, 7));
    EXPECT_FALSE(IsDeviceLibraryVersionAccepted(1, 1, 99));
    EXPECT_FALSE(IsDeviceLibraryVersionAccepted(1, 2, 0));
    EXPECT_TRUE(IsDeviceLibraryVersionAccepted(1, 2, 1));
    EXPECT_TRUE(IsDeviceLibraryVersionAccepted(1, 2, 9));
    EXPECT_TRUE(IsDeviceLibraryVersionAccepted(1, 3, 0));
    EXPECT_TRUE(IsDeviceLibraryVersionAccepted(2, 0, 0));
}

class SettingsStore : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // ctest gives every test its own XDG_CONFIG_HOME; make sure we never run against a real home.
        ASSERT_NE(qgetenv("LUMIVUE_TEST_HOME"), QByteArray()) << "run through ctest";
        QSettings(settings::kOrganisation, settings::kApplication).clear();
    }
};

TEST_F(SettingsStore, BooleansCountOnlyWhenTheStoredValueIsOne)
{
    EXPECT_TRUE(settings::ReadBool("show_grid_absent", 1));
    EXPECT_FALSE(settings::ReadBool("show_grid_absent", 0));
    settings::Write("show_grid", 2);
    EXPECT_FALSE(settings::ReadBool("show_grid", 0));
    settings::Write("show_grid", "1");
    EXPECT_TRUE(settings::ReadBool("show_grid", 0));
    settings::Write("show_grid", "yes");
    EXPECT_FALSE(settings::ReadBool("show_grid", 1));
    settings::Write("show_grid", true); // a QVariant bool converts to 1, as the old store did
    EXPECT_TRUE(settings::ReadBool("show_grid", 0));
    settings::WriteBool("show_grid", false);
    EXPECT_EQ(settings::Read("show_grid").toInt(), 0);
}

TEST_F(SettingsStore, WrongTypesConvertByQVariantRules)
{
    settings::Write("fade_in_out_time", "not a number");
    EXPECT_EQ(settings::ReadInt("fade_in_out_time", 300), 0);
    EXPECT_EQ(settings::ReadInt("auto_image_save_acquisition_max_number", "10"), 10);
}

TEST_F(SettingsStore, SkinChoice)
{
    using Skin = ApplicationGlobals::Skin;
    EXPECT_EQ(ApplicationGlobals::SkinFromSetting("Light"), Skin::Light);
    EXPECT_EQ(ApplicationGlobals::SkinFromSetting("Dark"), Skin::Dark);
    EXPECT_EQ(ApplicationGlobals::SkinFromSetting(""), Skin::Dark);
    EXPECT_EQ(ApplicationGlobals::SkinFromSetting("light"), Skin::Dark);
    EXPECT_EQ(ApplicationGlobals::SkinFromSetting("Purple"), Skin::Dark);

    settings::Write("color_skin", "Light");
    ApplicationGlobals::LoadSkinFromSettings();
    EXPECT_TRUE(ApplicationGlobals::isLight);
    EXPECT_EQ(ApplicationGlobals::colorBackground, QColor(248, 248, 248));
    EXPECT_EQ(ApplicationGlobals::colorRedLog, QColor(196, 15, 0));
    EXPECT_TRUE(ApplicationGlobals::Icon24("camera.png").startsWith(":/resources/icon_24x24/light/"));

    settings::Write("color_skin", "Grey");
    ApplicationGlobals::LoadSkinFromSettings();
    EXPECT_FALSE(ApplicationGlobals::isLight);
    EXPECT_EQ(ApplicationGlobals::colorBackground, QColor(44, 44, 44));
    EXPECT_EQ(ApplicationGlobals::colorAccent, QColor(0, 138, 150));
    EXPECT_EQ(ApplicationGlobals::colorOverlayFill.alpha(), 0);
    EXPECT_EQ(ApplicationGlobals::colorFixed, QColor(Qt::red));
}

} // namespace
