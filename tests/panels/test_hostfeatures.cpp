// The "Host features" panel on a simulated colour camera: destination items follow the tables (disabled ones,
// the warning and its reasons), "Classic" falls back once, a raw destination follows a rotation, a format change
// while acquiring stops and restarts it, and the transformation buttons drive the status text.
#include "tests/camera/capture/capturefixture.h"

#include "common/applicationglobals.h"
#include "orna/ipl/pixelformat.h"
#include "panels/hostfeatures.h"
#include "processing/ipltransformationfeatureprovider.h"
#include "widgets/customcombobox.h"
#include "widgets/iconbutton.h"

#include <QLabel>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QtTest>

using namespace capturetest;

namespace {

bool ItemEnabled(QComboBox* combo, const QString& text)
{
    const int index = combo->findText(text);
    if (index < 0)
        return false;
    auto* model = qobject_cast<QStandardItemModel*>(combo->model());
    return model && model->item(index)->isEnabled();
}

// Picks an item as the user does: the combo's activation is what the panel listens to.
void Choose(QComboBox* combo, const QString& text)
{
    const int index = combo->findText(text);
    QVERIFY2(index >= 0, qPrintable(text));
    combo->setCurrentIndex(index);
    emit combo->activated(index);
}

} // namespace

class TestHostFeatures : public QObject
{
    Q_OBJECT

private:
    SimSetup sim;
    std::unique_ptr<VisionCamera> camera;
    HostFeatures* panel = nullptr;
    bool wideBefore = false;

private Q_SLOTS:
    void initTestCase()
    {
        if (!sim.Open("color"))
            QSKIP("the sim: producer is not available");
        wideBefore = ApplicationGlobals::showAllPixelFormats;
    }
    void init()
    {
        ApplicationGlobals::showAllPixelFormats = true;
        camera = OpenCamera(sim.Find("LVSC00001"));
        QVERIFY(camera);
        QVERIFY(camera->SetPixelFormatSourceOverString("BayerRG8"));
        panel = new HostFeatures(nullptr);
        panel->SetCamera(camera.get());
        panel->UpdateControls();
    }
    void cleanup()
    {
        delete panel;
        panel = nullptr;
        if (camera)
        {
            camera->StopAcquisition();
            camera->GetIplTransformationFeatureProvider()->Reset();
            camera->SetConversionMode(1);
            camera->SetPixelFormatSourceOverString("BayerRG8");
        }
        camera.reset();
        ApplicationGlobals::showAllPixelFormats = wideBefore;
    }
    void cleanupTestCase() { sim.Close(); }

    void destinationItemsFollowTheTables()
    {
        QVERIFY(ItemEnabled(panel->DestinationCombo(), QStringLiteral("BGR8")));
        QVERIFY(ItemEnabled(panel->DestinationCombo(), QStringLiteral("BayerRG8")));
        QVERIFY(!ItemEnabled(panel->DestinationCombo(), QStringLiteral("BayerGB8")));
        QVERIFY(panel->DestinationWarning()->isHidden());
        // The wide list belongs to the RG order alone.
        Choose(panel->SourceCombo(), QStringLiteral("BayerGB8"));
        QVERIFY(!ItemEnabled(panel->DestinationCombo(), QStringLiteral("BGR8")));
        QVERIFY(ItemEnabled(panel->DestinationCombo(), QStringLiteral("BGRa8")));
        QVERIFY(ItemEnabled(panel->DestinationCombo(), QStringLiteral("BayerGB8")));

        // A camera format without a table entry: nothing to choose, and the warning names both formats.
        const uint32_t destination = camera->GetPixelFormatDestination();
        Choose(panel->SourceCombo(), QStringLiteral("BGRa8"));
        for (int i = 0; i < panel->DestinationCombo()->count(); ++i)
            QVERIFY2(!ItemEnabled(panel->DestinationCombo(), panel->DestinationCombo()->itemText(i)),
                     qPrintable(panel->DestinationCombo()->itemText(i)));
        QVERIFY(!panel->DestinationWarning()->isHidden());
        const QString tip = panel->DestinationWarning()->toolTip();
        QVERIFY2(tip.contains(QLatin1String("BGRa8")) &&
                     tip.contains(QString::fromStdString(orna::ipl::PixelFormat::ToName(destination))),
                 qPrintable(tip));
    }

    void classicFallsBackToFastOnce()
    {
        Choose(panel->ConversionModeCombo(), QStringLiteral("Classic"));
        QCOMPARE(camera->GetConversionMode(), 3);
        QVERIFY(panel->Messages().isEmpty());
        Choose(panel->SourceCombo(), QStringLiteral("BayerGB8"));
        QCOMPARE(camera->GetPixelFormatSource(), uint32_t(orna::ipl::BayerGB8));
        QCOMPARE(camera->GetConversionMode(), 1);
        QCOMPARE(panel->ConversionModeCombo()->currentText(), QStringLiteral("Fast"));
        QCOMPARE(panel->Messages().size(), 1);
        QVERIFY(panel->Messages().first().contains(QLatin1String("\"Classic\"")));
    }

    void aRawDestinationFollowsARotation()
    {
        Choose(panel->DestinationCombo(), QStringLiteral("BayerRG8"));
        QCOMPARE(camera->GetPixelFormatDestination(), uint32_t(orna::ipl::BayerRG8));
        QTest::mouseClick(panel->TransformationButton(2), Qt::LeftButton);
        QCOMPARE(camera->GetPixelFormatDestination(), uint32_t(orna::ipl::BayerGB8));
        QCOMPARE(panel->DestinationCombo()->currentText(), QStringLiteral("BayerGB8"));
        QVERIFY(ItemEnabled(panel->DestinationCombo(), QStringLiteral("BayerGB8")));
        QVERIFY(!ItemEnabled(panel->DestinationCombo(), QStringLiteral("BayerRG8")));
    }

    void destinationChangeWhileAcquiringStopsAndRestarts()
    {
        QSignalSpy stopped(camera.get(), &VisionCamera::Signal_AcquisitionStopped);
        QSignalSpy started(camera.get(), &VisionCamera::Signal_AcquisitionStarted);
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(camera->GetFrameCounter() >= 2);
        started.clear();
        Choose(panel->DestinationCombo(), QStringLiteral("Mono8"));
        QTRY_COMPARE(stopped.count(), 1);
        QTRY_COMPARE(started.count(), 1);
        QVERIFY(camera->IsAcquiring());
        QCOMPARE(camera->GetPixelFormatDestination(), uint32_t(orna::ipl::Mono8));
        const int from = camera->GetFrameCounter();
        QTRY_VERIFY(camera->GetFrameCounter() > from + 2);
        QCOMPARE(camera->GetImageBufferManager()->GetLastImage()->GetPixelFormat(), uint32_t(orna::ipl::Mono8));
    }

    void transformationButtonsDriveTheStatus()
    {
        QTest::mouseClick(panel->TransformationButton(0), Qt::LeftButton);
        QCOMPARE(panel->StatusLabel()->text(), QStringLiteral("Active: mirror horizontal"));
        QTest::mouseClick(panel->TransformationButton(1), Qt::LeftButton);
        QCOMPARE(panel->StatusLabel()->text(), QStringLiteral("Active: mirror horizontal, mirror vertical"));
        QTest::mouseClick(panel->TransformationButton(4), Qt::LeftButton);
        QCOMPARE(panel->StatusLabel()->text(), QStringLiteral("Active: No transformation active"));
        QTest::mouseClick(panel->TransformationButton(2), Qt::LeftButton);
        QCOMPARE(panel->StatusLabel()->text(), QStringLiteral("Active: rotation 90°"));

        // A packed source: no transformation, the buttons say why.
        Choose(panel->SourceCombo(), QStringLiteral("BayerRG12p"));
        QVERIFY(!panel->TransformationButton(0)->isEnabled());
        QCOMPARE(panel->TransformationButton(0)->toolTip(),
                 QStringLiteral("Mirror and rotation is not supported for the current source pixel format."));
        QCOMPARE(panel->StatusLabel()->text(), QStringLiteral("Active: No transformation active"));
    }

    // A packed source is refused while host binning or decimation reduces the image, binning asked first; an
    // unpacked one, or factors of 1, pass.
    void packedSourcesAreRefusedWithHostBinningOrDecimation()
    {
        const QString binning = QStringLiteral("Packed source pixel formats are not supported with host binning.");
        const QString decimation =
            QStringLiteral("Packed source pixel formats are not supported with host decimation.");
        QCOMPARE(HostFeatures::PackedSourceRefusal(true, 2, 1, 1, 1), binning);
        QCOMPARE(HostFeatures::PackedSourceRefusal(true, 1, 4, 1, 1), binning);
        QCOMPARE(HostFeatures::PackedSourceRefusal(true, 2, 2, 2, 2), binning);
        QCOMPARE(HostFeatures::PackedSourceRefusal(true, 1, 1, 2, 1), decimation);
        QCOMPARE(HostFeatures::PackedSourceRefusal(true, 1, 1, 1, 3), decimation);
        QVERIFY(HostFeatures::PackedSourceRefusal(true, 1, 1, 1, 1).isEmpty());
        QVERIFY(HostFeatures::PackedSourceRefusal(false, 4, 4, 4, 4).isEmpty());
        // With factors of 1 the panel takes a packed source.
        Choose(panel->SourceCombo(), QStringLiteral("BayerRG12p"));
        QCOMPARE(camera->GetPixelFormatSource(), uint32_t(orna::ipl::BayerRG12p));
        QVERIFY(panel->Messages().isEmpty());
    }

    // Changes made elsewhere (a workspace load writes the features and the destination, a script the source)
    // reach the panel without anyone calling it.
    void thePanelFollowsChangesMadeElsewhere()
    {
        camera->SetPixelFormatDestination(orna::ipl::RGB8);
        QTRY_COMPARE(panel->DestinationCombo()->currentText(), QStringLiteral("RGB8"));

        camera->GetIplTransformationFeatureProvider()->GetMirrorYFeature()->SetBoolValue(true);
        QTRY_COMPARE(panel->StatusLabel()->text(), QStringLiteral("Active: mirror vertical"));
        camera->GetIplTransformationFeatureProvider()->GetRotationFeature()->SetIntValue(270);
        QTRY_COMPARE(panel->StatusLabel()->text(), QStringLiteral("Active: mirror vertical, rotation 270°"));

        QVERIFY(camera->SetPixelFormatSourceOverString("BayerRG12p"));
        QTRY_VERIFY(!panel->TransformationButton(0)->isEnabled());
        QCOMPARE(panel->SourceCombo()->currentText(), QStringLiteral("BayerRG12p"));
        QVERIFY(camera->SetPixelFormatSourceOverString("BayerRG8"));
        QTRY_VERIFY(panel->TransformationButton(0)->isEnabled());

        // A panel moved to no camera lets go of the old one's signals.
        panel->SetCamera(nullptr);
        panel->UpdateControls();
        camera->SetPixelFormatDestination(orna::ipl::Mono8);
        QCoreApplication::processEvents();
        QCOMPARE(panel->DestinationCombo()->currentText(), QStringLiteral("RGB8"));
    }
};

QTEST_MAIN(TestHostFeatures)
#include "test_hostfeatures.moc"
