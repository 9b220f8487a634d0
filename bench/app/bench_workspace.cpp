// workspace_load: a desk of three simulated cameras (one acquiring) and twelve panels, restored from its
// workspace file by MainWindow::LoadWorkspace (ours) against the same desk built through the API in the same
// run (baseline: the same synchronous opens, AddControlElement for the panels, the same acquisition start).
// Both start from an empty desk with every camera closed; the median of the rounds counts. ratio =
// baseline / ours, so the file's own cost (reading, two passes, the bar) shows as a ratio below 1.
#include "app/mainwindow.h"
#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "controlelement/controlelement.h"
#include "discovery/cameralistmodel.h"
#include "view/cameraobject.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kCameras = 3;
constexpr int kRounds = 7;
const int kPanelTypes[] = {9, 10, 21, 23};

class Panel : public ControlElement
{
public:
    explicit Panel(QWidget* parent) : ControlElement(parent, false) {}
    void ConnectControls() override {}
    void DisconnectControls() override {}
    void UpdateControls() override {}
};

void WaitPass(CameraListModel& list)
{
    QEventLoop loop;
    QObject::connect(&list, &CameraListModel::UpdateFinished, &loop, &QEventLoop::quit);
    QTimer::singleShot(20000, &loop, &QEventLoop::quit);
    list.RunUpdate();
    loop.exec();
}

void Settle(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

// The desk through the API: each camera opened synchronously in its window, four panels each.
void BuildDesk(MainWindow& window, CameraListModel& list)
{
    const auto devices = list.Devices();
    for (int i = 0; i < kCameras && i < static_cast<int>(devices.size()); ++i)
    {
        auto* cameraObject = new CameraObject(&window);
        cameraObject->OpenDevice(&window, devices[i], false, false, false);
        cameraObject->SetOpenInProgress(false);
        cameraObject->setGeometry(40 + 300 * i, 60, 400, 300);
        window.AppendElement(cameraObject);
        if (i == 0 && cameraObject->Camera() != nullptr)
            cameraObject->Camera()->StartAcquisition();
        for (int type : kPanelTypes)
            window.AddControlElement(cameraObject, type);
    }
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    QTemporaryDir home;
    ::setenv("XDG_CONFIG_HOME", qPrintable(home.path() + "/config"), 1);
    ::setenv("XDG_DATA_HOME", qPrintable(home.path() + "/data"), 1);
    ::setenv("ORNA_TRANSPORTS", "sim", 1);
    ::setenv("ORNA_SIM_CAMERAS", "3", 1);
    QApplication app(argc, argv);
    QSettings(settings::kOrganisation, settings::kApplication).clear();
    settings::Write(QStringLiteral("path_workspace"), home.path());
    settings::WriteBool(QStringLiteral("open_camera_with_optimal_settings"), false);
    for (int type : kPanelTypes)
        MainWindow::RegisterElementType(type, [](QWidget* parent) { return new Panel(parent); });

    int status = 0;
    {
        MainWindow window;
        ApplicationGlobals::fadeInOutTime = 0;
        CameraListModel list;
        window.SetCameraList(&list);
        // Two passes: the lock probes of the first end with the second.
        WaitPass(list);
        WaitPass(list);
        if (static_cast<int>(list.Devices().size()) < kCameras)
        {
            std::fprintf(stderr, "bench_workspace: %zu simulated cameras listed, %d needed\n", list.Devices().size(),
                         kCameras);
            status = 1;
        }
        else
        {
            BuildDesk(window, list);
            Settle(200);
            window.SaveWorkspace(QStringLiteral("bench"), false);
            std::vector<double> ours;
            std::vector<double> baseline;
            for (int round = 0; round < kRounds; ++round)
            {
                window.ClearDesk(false);
                Settle(100);
                QElapsedTimer timer;
                timer.start();
                BuildDesk(window, list);
                baseline.push_back(timer.nsecsElapsed() / 1e6);
                Settle(100);

                window.ClearDesk(false);
                Settle(100);
                timer.restart();
                window.LoadWorkspace(QStringLiteral("bench"));
                ours.push_back(timer.nsecsElapsed() / 1e6);
                Settle(100);
                if (window.Elements().size() != size_t(kCameras * 5))
                {
                    std::fprintf(stderr, "bench_workspace: the load gave %zu elements\n", window.Elements().size());
                    status = 1;
                }
            }
            const double o = Median(ours);
            const double b = Median(baseline);
            std::printf("BENCH workspace_load ours=%.1f baseline=%.1f ratio=%.2f unit=ms\n", o, b, o > 0 ? b / o : 0.0);
            std::fflush(stdout);
            window.ClearDesk(false);
        }
        window.SetCameraList(nullptr);
    }
    return status;
}
