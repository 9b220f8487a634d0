// Entry point: High-DPI attributes, the command-line scan, the application object, the main window.
#include "app/commandline.h"
#include "app/mainwindow.h"

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
        // The window makes the camera list at start-up and deletes it in its teardown, after the last camera
        // window and before the libraries go down.
        MainWindow window(nullptr, MainWindow::CameraListSource::Own);
        window.show();
        result = QApplication::exec();
    }
    return result;
}
