// The options and information elements on their own: every control writes its key the moment it changes
// (booleans as 1 and 0), a refresh never writes, the file name and number checks keep the last good value,
// the lists (languages, skins, workspaces) and the version texts of the information element.
#include "app/applicationinfo.h"
#include "app/applicationsettings.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "orna/core/library.h"
#include "widgets/customcombobox.h"
#include "widgets/customedit.h"
#include "widgets/customintslider.h"
#include "widgets/customswitch.h"
#include "widgets/customtabwidget.h"

#include <QLabel>
#include <QSettings>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QtTest>

namespace {
int Stored(const char* key)
{
    return settings::Read(QString::fromLatin1(key)).toInt();
}
bool Has(const char* key)
{
    return QSettings(settings::kOrganisation, settings::kApplication).contains(QString::fromLatin1(key));
}
} // namespace

class TestApplicationSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("LUMIVUE_TEST_HOME"), "run through ctest");
        QSettings(settings::kOrganisation, settings::kApplication).clear();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
        ApplicationGlobals::language.clear();
        ApplicationGlobals::languagePrevious.clear();
        ApplicationGlobals::fadeInOutTime = 300;
    }

    void buildingAndRefreshingWritesNothing()
    {
        ApplicationSettings options;
        options.UpdateControls();
        options.UpdateStyleSheet();
        QVERIFY(QSettings(settings::kOrganisation, settings::kApplication).allKeys().isEmpty());
        // Defaults of an empty store.
        QVERIFY(options.SwitchStartLive()->Value());
        QVERIFY(options.SwitchShowConnections()->Value());
        QVERIFY(!options.SwitchShowGrid()->Value());
        QVERIFY(options.SwitchAutoImageSaveMaxNumber()->Value());
        QCOMPARE(options.EditAutoImageSaveName()->text(), QStringLiteral("kvx_image"));
        QCOMPARE(options.EditAutoImageSaveMaxNumber()->text(), QStringLiteral("10"));
        QCOMPARE(options.ComboAutoImageSaveType()->currentText(), QStringLiteral("bmp"));
        QCOMPARE(options.SliderAnimationDuration()->Value(), int64_t(300));
        QCOMPARE(options.Tabs()->count(), 4);
        QCOMPARE(options.Tabs()->tabText(3), QStringLiteral("Shortcuts"));
    }

    void switchesWriteOneAndZeroAtOnce()
    {
        ApplicationSettings options;
        options.show();
        QVERIFY(QTest::qWaitForWindowExposed(&options));
        QSignalSpy grid(&options, &ApplicationSettings::Signal_ShowGridChanged);
        QTest::mouseClick(options.SwitchShowGrid(), Qt::LeftButton);
        QCOMPARE(Stored("show_grid"), 1);
        QCOMPARE(grid.count(), 1);
        QCOMPARE(grid.at(0).at(0).toBool(), true);
        QTRY_VERIFY(!options.SwitchShowGrid()->IsAnimating());
        QTest::mouseClick(options.SwitchShowGrid(), Qt::LeftButton);
        QCOMPARE(Stored("show_grid"), 0);

        QTest::mouseClick(options.SwitchStartLive(), Qt::LeftButton);
        QCOMPARE(Stored("open_camera_with_acquisition"), 0);
        QTest::mouseClick(options.SwitchShowConnections(), Qt::LeftButton);
        QCOMPARE(Stored("show_connections"), 0);
        QSignalSpy reset(&options, &ApplicationSettings::Signal_ResetDeviceList);
        QTest::mouseClick(options.SwitchOnlyKernelTLs(), Qt::LeftButton);
        QCOMPARE(Stored("only_kvx_kernel_tls"), 1);
        QCOMPARE(reset.count(), 1);

        options.Tabs()->setCurrentIndex(1);
        QTest::mouseClick(options.SwitchAutoImageSaveIndex(), Qt::LeftButton);
        QCOMPARE(Stored("auto_image_save_index"), 1);
        QTest::mouseClick(options.SwitchAutoImageSaveDate(), Qt::LeftButton);
        QCOMPARE(Stored("auto_image_save_date"), 1);
        QTest::mouseClick(options.SwitchAutoImageSaveTime(), Qt::LeftButton);
        QCOMPARE(Stored("auto_image_save_time"), 1);
        QTest::mouseClick(options.SwitchAutoImageSaveMaxNumber(), Qt::LeftButton);
        QCOMPARE(Stored("auto_image_save_acquisition_max_number_enable"), 0);
        QTest::mouseClick(options.SwitchAutoImageSaveNameCreation(), Qt::LeftButton);
        QCOMPARE(Stored("auto_image_save_name_creation"), 1);

        options.Tabs()->setCurrentIndex(2);
        QTest::mouseClick(options.SwitchEnableAutoUpdate(), Qt::LeftButton);
        QCOMPARE(Stored("camera_list_auto_update_enable"), 0);
    }

    void storedTwoReadsAsOff()
    {
        settings::Write("show_grid", 2);
        ApplicationSettings options;
        QVERIFY(!options.SwitchShowGrid()->Value());
    }

    void invalidImageNameIsRefusedAndTheKeyKeepsItsValue()
    {
        ApplicationSettings options;
        CustomEdit* edit = options.EditAutoImageSaveName();
        QVERIFY(options.LabelInvalidFileName()->isHidden());
        edit->setText(QStringLiteral("shot"));
        QCOMPARE(settings::ReadString("auto_image_save_image_name"), QStringLiteral("shot"));
        edit->setText(QStringLiteral("shot/one"));
        QVERIFY(!options.LabelInvalidFileName()->isHidden());
        QCOMPARE(options.LabelInvalidFileName()->text(), QStringLiteral("Invalid filename"));
        QCOMPARE(settings::ReadString("auto_image_save_image_name"), QStringLiteral("shot"));
        edit->setText(QString());
        QCOMPARE(settings::ReadString("auto_image_save_image_name"), QStringLiteral("shot"));
        edit->setText(QStringLiteral("shot_2"));
        QVERIFY(options.LabelInvalidFileName()->isHidden());
        QCOMPARE(settings::ReadString("auto_image_save_image_name"), QStringLiteral("shot_2"));
    }

    void maxNumberTakesPositiveIntegersOnly()
    {
        ApplicationSettings options;
        options.show();
        options.Tabs()->setCurrentIndex(1);
        CustomEdit* edit = options.EditAutoImageSaveMaxNumber();
        edit->setFocus();
        edit->clear();
        QTest::keyClicks(edit, QStringLiteral("0"));
        // The validator refuses a leading zero: the edit stays empty and nothing is stored.
        QCOMPARE(edit->text(), QString());
        QVERIFY(!Has("auto_image_save_acquisition_max_number"));
        QTest::keyClicks(edit, QStringLiteral("25"));
        QCOMPARE(edit->text(), QStringLiteral("25"));
        QCOMPARE(Stored("auto_image_save_acquisition_max_number"), 25);
        QTest::keyClicks(edit, QStringLiteral("x"));
        QCOMPARE(edit->text(), QStringLiteral("25"));
    }

    void typeSliderAndComboWriteTheirValues()
    {
        ApplicationSettings options;
        QSignalSpy changed(&options, &ApplicationSettings::Signal_AutoImageSaveChanged);
        options.ComboAutoImageSaveType()->setCurrentIndex(1);
        Q_EMIT options.ComboAutoImageSaveType()->activated(1);
        QCOMPARE(settings::ReadString("auto_image_save_image_type"), QStringLiteral("png"));
        QCOMPARE(changed.count(), 1);

        // From code nothing is stored; a user step is.
        options.SliderAnimationDuration()->SetValue(450);
        QVERIFY(!Has("fade_in_out_time"));
        QVERIFY(options.SliderAnimationDuration()->StepUp());
        QCOMPARE(Stored("fade_in_out_time"), 500);
        QCOMPARE(ApplicationGlobals::fadeInOutTime, 500);
    }

    void languageListHasFlagsAndWritesTheKey()
    {
        ApplicationSettings options;
        CustomComboBox* combo = options.ComboLanguage();
        QCOMPARE(combo->count(), 2);
        QCOMPARE(combo->itemText(0), QStringLiteral("English"));
        QCOMPARE(combo->itemData(1).toString(), QStringLiteral("german"));
        if (QFile::exists(QStringLiteral(":/resources/languages/german.png")))
            QVERIFY(!combo->itemIcon(1).isNull());
        QSignalSpy changed(&options, &ApplicationSettings::Signal_LanguageChanged);
        combo->setCurrentIndex(1);
        Q_EMIT combo->activated(1);
        QCOMPARE(settings::ReadString("language"), QStringLiteral("german"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(ApplicationGlobals::languagePrevious, QStringLiteral("german"));

        // The toggle goes back to the default and then to the last chosen one again.
        options.ToggleApplicationLanguage();
        QCOMPARE(settings::ReadString("language"), QString());
        QCOMPARE(combo->currentIndex(), 0);
        options.ToggleApplicationLanguage();
        QCOMPARE(settings::ReadString("language"), QStringLiteral("german"));
        QCOMPARE(combo->currentIndex(), 1);
    }

    void themeComboOffersOnlyLoadableSkinsAndToggles()
    {
        // A folder with an "*.ias" skin of older versions: it is not offered, since choosing it could only say
        // that loading such files is deprecated.
        QTemporaryDir dir;
        QFile(dir.filePath("Ocean.ias")).open(QIODevice::WriteOnly);
        ApplicationSettings options;
        options.SetSkinPath(dir.path());
        CustomComboBox* combo = options.ComboTheme();
        QCOMPARE(combo->count(), 2);
        QCOMPARE(combo->itemData(0).toString(), QStringLiteral("Dark"));
        QCOMPARE(combo->itemData(1).toString(), QStringLiteral("Light"));
        QSignalSpy theme(&options, &ApplicationSettings::Signal_ThemeChanged);
        combo->setCurrentIndex(1);
        Q_EMIT combo->activated(1);
        QCOMPARE(theme.count(), 1);
        QVERIFY(ApplicationGlobals::isLight);
        QCOMPARE(settings::ReadString("color_skin"), QStringLiteral("Light"));
        options.ToggleApplicationTheme();
        QVERIFY(!ApplicationGlobals::isLight);
        QCOMPARE(settings::ReadString("color_skin"), QStringLiteral("Dark"));
    }

    void defaultWorkspaceListAndPaths()
    {
        QTemporaryDir dir;
        QFile(dir.filePath("b_desk.xml")).open(QIODevice::WriteOnly);
        QFile(dir.filePath("a_desk.xml")).open(QIODevice::WriteOnly);
        ApplicationSettings options;
        options.SetWorkspacePath(dir.path());
        CustomComboBox* combo = options.ComboDefaultWorkspace();
        QCOMPARE(combo->count(), 3);
        QCOMPARE(combo->itemData(0).toString(), QStringLiteral("None"));
        QCOMPARE(combo->itemText(0), QStringLiteral("No workspace"));
        QCOMPARE(combo->itemText(1), QStringLiteral("a_desk"));
        combo->setCurrentIndex(2);
        Q_EMIT combo->activated(2);
        QCOMPARE(settings::ReadString("default_workspace"), QStringLiteral("b_desk"));

        QSignalSpy paths(&options, &ApplicationSettings::Signal_PathChanged);
        for (const char* key : {"path_workspace", "path_auto_image_save", "path_video_recording", "path_inference"})
        {
            CustomEdit* edit = options.PathEdit(QString::fromLatin1(key));
            QVERIFY2(edit != nullptr, key);
            edit->setText(QStringLiteral("/data/%1").arg(key));
            Q_EMIT edit->editingFinished();
            QCOMPARE(settings::ReadString(key), QStringLiteral("/data/%1").arg(key));
        }
        QCOMPARE(paths.count(), 4);
    }

    void informationNamesTheVersionsAndLicences()
    {
        ApplicationInfo info;
        QCOMPARE(info.Title(), QStringLiteral("About KVX orna Lumivue"));
        const QString text = info.InfoLabel()->text();
        QVERIFY(text.contains(ApplicationInfo::ProgramVersion()));
        QVERIFY(!ApplicationInfo::ProgramVersion().isEmpty());
        QVERIFY(text.contains(QString::fromLatin1(qVersion())));
        QVERIFY(QRegularExpression("^\\d+\\.\\d+\\.\\d+").match(ApplicationInfo::OpenCvVersion()).hasMatch());
        QVERIFY(text.contains("OpenCV " + ApplicationInfo::OpenCvVersion()));
        QCOMPARE(ApplicationInfo::AravisVersion(), QString::fromStdString(orna::Library::GetAravisVersion()));
        QVERIFY(text.contains("Aravis " + ApplicationInfo::AravisVersion()));
        const QString licences = ApplicationInfo::LicenceText();
        for (const char* part : {"Qt", "LGPLv3", "Aravis", "LGPLv2+", "OpenCV", "Roboto", "Apache 2.0",
                                 "Material Design Icons", "SIL OFL 1.1"})
            QVERIFY2(licences.contains(QString::fromLatin1(part)), part);
    }
};

QTEST_MAIN(TestApplicationSettings)
#include "test_applicationsettings.moc"
