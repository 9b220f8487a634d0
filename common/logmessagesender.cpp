#include "common/logmessagesender.h"

#include <QMetaType>

namespace {
// Constructed during static initialisation so that any thread may report from the first instruction of
// main() on. QObject construction needs no QCoreApplication.
[[maybe_unused]] LogMessageSender& g_instance = LogMessageSender::Instance();
} // namespace

LogMessageSender::LogMessageSender()
{
    qRegisterMetaType<QColor>("QColor");
}

LogMessageSender& LogMessageSender::Instance()
{
    static LogMessageSender instance;
    return instance;
}

void LogMessageSender::Error(const QString& serialNumber, const QString& thread, const QString& message)
{
    Q_EMIT Instance().Signal_LogOrnaError(serialNumber, thread, message, 0);
}
