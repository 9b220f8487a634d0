// The texts of the dialogs that follow a camera open: the boot status report and the service firmware notice.
// Links are the maker's pages; a link that is the single blank " " counts as not configured and is left out.
//
// Threads: GUI thread (translations).
#pragma once

#include <QString>

namespace camera {

// Shown when a camera opened with a boot status other than "OK".
QString BootStatusDialogText(const QString& bootStatus, const QString& description, const QString& downloadUrl,
                             const QString& supportUrl);
// Shown when a camera runs its service firmware; the boot status is told when it is not "OK".
QString ServiceFirmwareDialogText(const QString& bootStatus, const QString& description, const QString& downloadUrl,
                                  const QString& supportUrl);
bool IsLinkConfigured(const QString& url);

} // namespace camera
