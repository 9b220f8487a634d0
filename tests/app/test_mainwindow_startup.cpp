// The main window's start-up and exit against an isolated settings store: defaults from an empty store,
// bad values, a missing language file, the theme toggle and the geometry written at quit.
#include "app/mainwindow.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "orna/core/library.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

class TestMainWindowStartup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("LUMIVUE_TEST_HOME"), "run through ctest");
        QSettings(settings::kOrganisation, settings::kApplication).clear();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
    }

    void emptyStoreGivesDefaultsAndLibrariesComeUp()
    {
        MainWindow window;
        QVERIFY(window.isVisible());
        QCOMPARE(window.windowTitle(), QStringLiteral("KVX orna Lumivue"));
        QVERIFY(window.minimumSize() == QSize(730, 480));
        QCOMPARE(window.width(), 730);
        QVERIFY(orna::Library::IsInitialized());
        QCOMPARE(ApplicationGlobals::fadeInOutTime, 300);
        QCOMPARE(ApplicationGlobals::numBuffersUsed, 0);
        QVERIFY(window.WorkspacePath().endsWith(QStringLiteral("/workspaces")));
        QVERIFY(QDir(window.WorkspacePath()).exists());
        QCOMPARE(ApplicationGlobals::fontNormal.family(), QStringLiteral("Roboto"));
        QCOMPARE(ApplicationGlobals::fontNormal.pointSize(), 9);
        QCOMPARE(ApplicationGlobals::fontSmall.pointSize(), 7);
        QCOMPARE(ApplicationGlobals::fontLarge.pointSize(), 11);
    }

    void robotoIsTheFontInUseWhenTheResourcesAreBuiltIn()
    {
        if (!QFile::exists(QStringLiteral(":/resources/fonts/Roboto-Regular.ttf")))
            QSKIP("resources not linked into this build");
        MainWindow window;
        QVERIFY(QFontDatabase().families().contains(QStringLiteral("Roboto")));
        QCOMPARE(QFontInfo(window.font()).family(), QStringLiteral("Roboto"));
    }

    void badValuesAndMissingLanguageStillOpenTheWindow()
    {
        settings::Write(QStringLiteral("fade_in_out_time"), QStringLiteral("slow"));
        settings::Write(QStringLiteral("language"), QStringLiteral("klingon"));
        settings::Write(QStringLiteral("geometry"), QByteArray("garbage"));
        settings::Write(QStringLiteral("show_all_pixel_formats"), 2);
        settings::Write(QStringLiteral("num_buffers_used"), QStringLiteral("7"));
        MainWindow window;
        QVERIFY(window.isVisible());
        QCOMPARE(ApplicationGlobals::fadeInOutTime, 0);
        QCOMPARE(ApplicationGlobals::language, QStringLiteral("klingon"));
        QCOMPARE(ApplicationGlobals::languagePrevious, QStringLiteral("klingon"));
        QCOMPARE(ApplicationGlobals::showAllPixelFormats, false);
        QCOMPARE(ApplicationGlobals::numBuffersUsed, 7);
        QCOMPARE(window.width(), 730);
    }

    void chosenWorkspaceFolderIsTakenAsItIs()
    {
        settings::Write(QStringLiteral("path_workspace"), QStringLiteral("/nonexistent/place"));
        MainWindow window;
        QCOMPARE(window.WorkspacePath(), QStringLiteral("/nonexistent/place"));
        QVERIFY(!QDir(QStringLiteral("/nonexistent/place")).exists());
    }

    void themeToggleSwitchesAndIsStored()
    {
        MainWindow window;
        QVERIFY(!ApplicationGlobals::isLight);
        QSignalSpy spy(&window, &MainWindow::Signal_ThemeChanged);
        window.OnToggleTheme();
        QCOMPARE(spy.count(), 1);
        QVERIFY(ApplicationGlobals::isLight);
        QCOMPARE(settings::ReadString(QStringLiteral("color_skin")), QStringLiteral("Light"));
        QCOMPARE(ApplicationGlobals::colorBackground, QColor(248, 248, 248));
        window.OnToggleTheme();
        QVERIFY(!ApplicationGlobals::isLight);
        QCOMPARE(settings::ReadString(QStringLiteral("color_skin")), QStringLiteral("Dark"));
    }

    void quitWritesGeometryThatTheNextStartRestores()
    {
        QByteArray saved;
        {
            MainWindow window;
            window.resize(900, 600);
            QVERIFY(QMetaObject::invokeMethod(&window, "OnExitProgram"));
            saved = settings::Read(QStringLiteral("geometry")).toByteArray();
            QVERIFY(!saved.isEmpty());
        }
        MainWindow again;
        QCOMPARE(again.size(), QSize(900, 600));
    }

    void destructorClosesTheLibraries()
    {
        {
            MainWindow window;
            QVERIFY(orna::Library::IsInitialized());
        }
        QVERIFY(!orna::Library::IsInitialized());
    }
};

QTEST_MAIN(TestMainWindowStartup)
#include "test_mainwindow_startup.moc"
