#include "camera/cameraopentexts.h"

#include <QCoreApplication>

namespace camera {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("MainWindow", text);
}

QString Quoted(const QString& bootStatus, const QString& description)
{
    return QStringLiteral("\"") + bootStatus + QStringLiteral(": ") + description + QStringLiteral("\"");
}

} // namespace

bool IsLinkConfigured(const QString& url)
{
    return url != QLatin1String(" ");
}

QString BootStatusDialogText(const QString& bootStatus, const QString& description, const QString& downloadUrl,
                             const QString& supportUrl)
{
    QString text = tr("The camera has reported the following boot status:") + QStringLiteral("\n\n") +
                   Quoted(bootStatus, description) + QStringLiteral("\n\n");
    text += tr("This message should disappear after the next camera reboot (power off).") + QStringLiteral("\n");
    text += tr("If the problem persists, try the following steps:") + QStringLiteral("\n\n");
    text += QStringLiteral("- ") + tr("Download the latest firmware from our website and update the camera:") +
            QStringLiteral("\n\n");
    if (IsLinkConfigured(downloadUrl))
        text += QStringLiteral("  ") + downloadUrl + QStringLiteral("\n\n");
    text += QStringLiteral("- ") +
            tr("Test the camera connection by using a certified %1 cable.").arg(QStringLiteral("KVX")) +
            QStringLiteral("\n\n");
    text += QStringLiteral("- ") + tr("Contact our support team:");
    if (IsLinkConfigured(supportUrl))
        text += QStringLiteral(" ") + supportUrl;
    return text;
}

QString ServiceFirmwareDialogText(const QString& bootStatus, const QString& description, const QString& downloadUrl,
                                  const QString& supportUrl)
{
    QString text;
    if (bootStatus != QLatin1String("OK"))
        text = tr("The camera is running with service firmware and has reported the following boot status:") +
               QStringLiteral("\n") + Quoted(bootStatus, description);
    else
        text = tr("The camera is running with service firmware.");
    text += QStringLiteral("\n\n") + tr("In this state, the camera cannot be operated as expected.");
    const bool download = IsLinkConfigured(downloadUrl);
    text += QStringLiteral("\n\n") +
            (download ? tr("It is recommended to download the latest firmware from our website and update the camera:")
                      : tr("It is recommended to download the latest firmware and update the camera."));
    if (download)
        text += QStringLiteral("\n\n  ") + downloadUrl;
    text += QStringLiteral("\n\n") + tr("The camera will boot with runtime firmware after the update.");
    text += QStringLiteral("\n\n") + tr("If the problem persists, contact our support team:");
    if (IsLinkConfigured(supportUrl))
        text += QStringLiteral(" ") + supportUrl;
    return text;
}

} // namespace camera
