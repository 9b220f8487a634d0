// Entry point: High-DPI attributes, the command-line scan, the application object, the main window.
#include "app/commandline.h"
#include "app/mainwindow.h"
#include "discovery/cameralistmodel.h"

#include <QApplication>
#include <QIcon>

int main(int argc, char** argv)
{
    // Both attributes must be set before the application object exists.
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, true);

    commandline::Scan(argc, argv);

    QApplication application(argc, argv);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/resources/orna_lumivue.ico")));

    int result = 0;
    {
        MainWindow window;
        // The camera list goes before the window, which releases the device manager after it.
        CameraListModel cameraList;
        window.SetCameraList(&cameraList);
        window.show();
        result = QApplication::exec();
        window.SetCameraList(nullptr);
    }
    return result;
}
