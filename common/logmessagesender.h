// The one sender of log messages.
//
// Any code on any thread reports through LogMessageSender::Instance(); the LoggerWindow connects to the
// signals with automatic connections, so a message from a worker thread is queued to the GUI thread with
// its strings copied. The instance has static storage and exists before main() runs, so code that reports
// before QApplication exists is safe (its messages simply reach no window).
//
// Field conventions: serialNumber is the camera's serial number or "-"; thread is the full signature of the
// reporting function ("void MainWindow::InitLibraries()"); message is most often an exception's what();
// type is 0 for errors, and for events 1 selects the error colour, others the event colour.
#pragma once

#include <QColor>
#include <QObject>
#include <QString>
#include <QStringList>

class LogMessageSender : public QObject
{
    Q_OBJECT

public:
    static LogMessageSender& Instance();

    // Convenience for the common error report: origin, context, message, type 0.
    static void Error(const QString& serialNumber, const QString& thread, const QString& message);

Q_SIGNALS:
    void Signal_LogOrnaError(QString serialNumber, QString thread, QString message, int type);
    void Signal_LogEvent(QString serialNumber, QString thread, QString message, int type);
    void Signal_LogEventList(QString serialNumber, QString thread, QStringList message, int type);
    void Signal_LogAnyMessage(QString message, QColor col, QString thread);

private:
    LogMessageSender();
};
