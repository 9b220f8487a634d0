#include "app/desklogic.h"

#include <QCoreApplication>
#include <QEvent>
#include <QKeyEvent>

#include <algorithm>

namespace desk {

namespace {
// Floor division and modulo, so that positions left of or above the area snap like the others.
int FloorDiv(int a, int b)
{
    int q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0)))
        --q;
    return q;
}
int FloorMod(int a, int b)
{
    return a - FloorDiv(a, b) * b;
}
int Nearer(int value, int lower, int upper)
{
    return (value - lower) <= (upper - value) ? lower : upper;
}
// Rounds a length down to the grid, plus the shared line.
int DownToGrid(int v, int grid)
{
    return FloorDiv(v - 1, grid) * grid + 1;
}
} // namespace

// --- Panel placement

QPoint CascadeStart(const QRect& owner, const QSize& elementSize, const QPoint& originOffset)
{
    int x = owner.left() + (owner.right() - (owner.left() + elementSize.width()) + 1) / 2;
    int y = owner.top() + (owner.bottom() - (owner.top() + elementSize.height()) + 1) / 2;
    x += originOffset.x();
    y += originOffset.y();
    return QPoint(std::max(0, x), std::max(0, y));
}

QPoint CascadePosition(const QPoint& start, const std::vector<QPoint>& occupied)
{
    QPoint candidate = start;
    for (int i = 0; i < kCascadeTries; ++i)
    {
        if (std::find(occupied.begin(), occupied.end(), candidate) == occupied.end())
            return candidate;
        candidate += QPoint(kCascadeStep, kCascadeStep);
    }
    return start + QPoint(kCascadeTries * kCascadeStep, kCascadeTries * kCascadeStep);
}

QPoint ClampToScreen(const QPoint& pos, const QSize& size, const QRect& screen)
{
    QPoint result = pos;
    const int right = pos.x() + size.width() - 1;
    const int bottom = pos.y() + size.height() - 1;
    if (right > screen.right())
        result.rx() -= right - screen.right();
    if (bottom > screen.bottom())
        result.ry() -= bottom - screen.bottom();
    return result;
}

int SnapX(int x, int ax, int grid)
{
    const int lower = ax + FloorDiv(x - ax, grid) * grid;
    return std::max(ax, Nearer(x, lower, lower + grid));
}

int SnapY(int y, int ay, int grid)
{
    const int lower = y - FloorMod(y - ay, grid) - 1;
    const int result = Nearer(y, lower, lower + grid);
    return result < ay ? ay - 1 : result;
}

QPoint CenteredSnapped(const QRect& area, const QSize& size, int grid)
{
    const int x = area.left() + (area.width() - size.width()) / 2;
    const int y = area.top() + (area.height() - size.height()) / 2;
    return QPoint(SnapX(x, area.left(), grid), SnapY(y, area.top(), grid));
}

QSize CameraWindowSize(int imageWidth, int imageHeight, const QRect& area, const QPoint& topLeft, int grid)
{
    const double aspect = imageHeight == 0 ? 1.0 : static_cast<double>(imageWidth) / imageHeight;
    const int h = area.height();
    int width = static_cast<int>(aspect * (h - 118)) + 51;
    // Below this the camera window's own rows of buttons no longer fit.
    if (width <= 59 * grid)
        width = 59 * grid + 1;
    width = DownToGrid(width, grid);
    int height = DownToGrid(h, grid);
    const int roomRight = area.right() - topLeft.x() + 1;
    const int roomBelow = area.bottom() - topLeft.y() + 1;
    if (width > roomRight)
        width = DownToGrid(roomRight, grid);
    if (height > roomBelow)
        height = DownToGrid(roomBelow, grid);
    return QSize(width, height);
}

// --- Arranging camera windows

std::vector<QRect> ArrangeCameraWindows(const QRect& area, const std::vector<double>& aspects)
{
    const int n = static_cast<int>(aspects.size());
    if (n == 0 || area.width() <= 0 || area.height() <= 0)
        return {};
    // The image of one window in a cell of cellW x cellH.
    auto imageIn = [](int cellW, int cellH, double aspect) {
        const double maxW = std::max(1, cellW - kCameraFrameWidth);
        const double maxH = std::max(1, cellH - kCameraFrameHeight);
        const double w = std::min(maxW, maxH * aspect);
        return QSizeF(w, w / aspect);
    };
    int bestColumns = 1;
    double bestArea = -1.0;
    for (int columns = 1; columns <= n; ++columns)
    {
        const int rows = (n + columns - 1) / columns;
        const int cellW = area.width() / columns;
        const int cellH = area.height() / rows;
        double total = 0.0;
        for (double aspect : aspects)
        {
            const QSizeF image = imageIn(cellW, cellH, aspect > 0.0 ? aspect : 1.0);
            total += image.width() * image.height();
        }
        if (total > bestArea)
        {
            bestArea = total;
            bestColumns = columns;
        }
    }
    const int rows = (n + bestColumns - 1) / bestColumns;
    const int cellW = area.width() / bestColumns;
    const int cellH = area.height() / rows;
    std::vector<QRect> result;
    result.reserve(aspects.size());
    for (int i = 0; i < n; ++i)
    {
        const double aspect = aspects[i] > 0.0 ? aspects[i] : 1.0;
        const QSizeF image = imageIn(cellW, cellH, aspect);
        const int w = std::min(cellW, static_cast<int>(image.width()) + kCameraFrameWidth);
        const int h = std::min(cellH, static_cast<int>(image.height()) + kCameraFrameHeight);
        const int cellX = area.left() + (i % bestColumns) * cellW;
        const int cellY = area.top() + (i / bestColumns) * cellH;
        result.emplace_back(cellX + (cellW - w) / 2, cellY + (cellH - h) / 2, w, h);
    }
    return result;
}

// --- Notification row

QString NotificationText(bool listUpdateRunning, bool pollingRunning, bool autoImageSaveAcquisition)
{
    QString text;
    if (!listUpdateRunning && !pollingRunning)
        text = QCoreApplication::translate("MainWindow",
                                           "Automatic camera parameter polling and camera list update disabled!");
    else if (!pollingRunning)
        text = QCoreApplication::translate("MainWindow", "Automatic camera parameter polling disabled!");
    else if (!listUpdateRunning)
        text = QCoreApplication::translate("MainWindow", "Automatic camera list update disabled!");
    if (autoImageSaveAcquisition)
    {
        if (!text.isEmpty())
            text += QLatin1Char(' ');
        text += QCoreApplication::translate("MainWindow", "Automatic image saving enabled!");
    }
    return text;
}

// --- Link speed

LinkSpeedWarning CheckLinkSpeed(const QString& transportType, const QString& familyName, qint64 bytesPerSecond)
{
    if (transportType == QLatin1String("U3V"))
        return bytesPerSecond <= 99999999 ? LinkSpeedWarning::Usb : LinkSpeedWarning::None;
    if (familyName == QLatin1String("RT-KM"))
        return bytesPerSecond <= 499999999 ? LinkSpeedWarning::Ethernet : LinkSpeedWarning::None;
    return LinkSpeedWarning::None;
}

QString LinkSpeedWarningText(LinkSpeedWarning warning, bool withSerialNumber, const QString& serialNumber)
{
    QString sentence;
    QString advice;
    switch (warning)
    {
    case LinkSpeedWarning::None:
        return {};
    case LinkSpeedWarning::Usb:
        sentence = withSerialNumber
                       ? QCoreApplication::translate(
                             "MainWindow", "The camera with the serial number %1 is not running with USB3 speed.")
                             .arg(serialNumber)
                       : QCoreApplication::translate("MainWindow", "The camera is not running with USB3 speed.");
        advice = QCoreApplication::translate("MainWindow", "Check the connection and use an appropriate cable.");
        break;
    case LinkSpeedWarning::Ethernet:
        sentence = withSerialNumber
                       ? QCoreApplication::translate("MainWindow", "The camera with the serial number %1 is not "
                                                                   "running with 10 Gigabit Ethernet speed.")
                             .arg(serialNumber)
                       : QCoreApplication::translate("MainWindow",
                                                     "The camera is not running with 10 Gigabit Ethernet speed.");
        advice = QCoreApplication::translate(
            "MainWindow", "Check all components of the connection (router, switch ...) and use an appropriate cable.");
        break;
    }
    return sentence + QLatin1Char('\n') + advice;
}

// --- Boot status

bool BootStatusNeedsReport(const QString& bootStatus, const QString& cameraName)
{
    if (bootStatus == QLatin1String("OK"))
        return false;
    return !cameraName.toLower().contains(QLatin1String("service"));
}

QVector<LogLine> BootStatusBlock(const QString& dateTime, const QString& bootStatus, const QString& detail,
                                 const QString& downloadUrl, const QString& supportUrl, const QColor& textColor,
                                 const QColor& warnColor)
{
    auto tr = [](const char* text) { return QCoreApplication::translate("MainWindow", text); };
    const QString nl = QStringLiteral("\n");
    QVector<LogLine> lines;
    lines.append(
        {dateTime + QStringLiteral(":  ") + tr("The camera has reported the following boot status:") + nl, textColor});
    QString status = QLatin1Char('"') + bootStatus + QLatin1Char('"');
    if (!detail.isEmpty())
        status += QStringLiteral(": ") + detail;
    lines.append({status + nl, warnColor});
    lines.append({tr("This message should disappear after the next camera reboot (power off).") + nl, textColor});
    lines.append({tr("If the problem persists, try the following steps:") + nl, textColor});
    const QString step = QStringLiteral("- ");
    if (!downloadUrl.isEmpty() && downloadUrl != QLatin1String(" "))
    {
        lines.append(
            {step + tr("Download the latest firmware from our website and update the camera:") + nl, textColor});
        lines.append({downloadUrl + nl, warnColor});
        lines.append(
            {step + tr("Test the camera connection by using a certified %1 cable.").arg(QStringLiteral("KVX")) + nl,
             textColor});
        lines.append({step + tr("Contact our support team:") + nl, textColor});
        lines.append({supportUrl + nl, warnColor});
    }
    else
    {
        lines.append({step + tr("Download the latest firmware and update the camera.") + nl, textColor});
        lines.append({step + tr("Test the camera connection by using a certified cable.") + nl, textColor});
    }
    return lines;
}

QString DownloadUrl()
{
    return QCoreApplication::translate("MainWindow", "https://www.kvx-imaging.example/downloads");
}

QString SupportUrl()
{
    return QCoreApplication::translate("MainWindow", "https://www.kvx-imaging.example/support");
}

// --- Keys

bool IsCtrlTab(const QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto* key = static_cast<const QKeyEvent*>(event);
    return key->modifiers() == Qt::ControlModifier && key->key() == Qt::Key_Tab;
}

const std::vector<Shortcut>& Shortcuts()
{
    static const std::vector<Shortcut> list = {
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+I"), QT_TRANSLATE_NOOP("MainWindow", "About %1"),
         SLOT(OnButtonApplicationInfo())},
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+O"), QT_TRANSLATE_NOOP("MainWindow", "Application options"),
         SLOT(OnButtonApplicationSettings())},
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+L"), QT_TRANSLATE_NOOP("MainWindow", "Open logger"),
         SLOT(OnButtonLoggerWindow())},
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+M"), QT_TRANSLATE_NOOP("MainWindow", "Open camera manager"),
         SLOT(OnButtonCameraManager())},
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+N"), QT_TRANSLATE_NOOP("MainWindow", "Open first available camera"),
         SLOT(OnOpenNewCameraInNewWindow())},
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+ALT+G"), QT_TRANSLATE_NOOP("MainWindow", "Show grid"),
         SLOT(OnToggleGridVisible())},
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+ALT+T"), QT_TRANSLATE_NOOP("MainWindow", "Switch theme"),
         SLOT(OnToggleTheme())},
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+ALT+L"),
         QT_TRANSLATE_NOOP("MainWindow", "Switch between last selected language and default language"),
         SLOT(OnToggleLanguage())},
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+ALT+F"),
         QT_TRANSLATE_NOOP("MainWindow", "Switch between windowed mode and full screen mode"), SLOT(OnFullscreen())},
        {QT_TRANSLATE_NOOP("MainWindow", "CTRL+ALT+A"), QT_TRANSLATE_NOOP("MainWindow", "Arrange camera windows"),
         SLOT(ArrangeCameraWindows())},
    };
    return list;
}

QString ShortcutKey(const Shortcut& shortcut)
{
    return QCoreApplication::translate("MainWindow", shortcut.key);
}

QString ShortcutDescription(const Shortcut& shortcut)
{
    QString text = QCoreApplication::translate("MainWindow", shortcut.description);
    if (text.contains(QLatin1String("%1")))
        text = text.arg(ProgramName());
    return text;
}

// --- Automatic image saving

bool IsValidImageFileName(const QString& name)
{
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        return false;
    if (name.toUtf8().size() > 255)
        return false;
    for (const QChar c : name)
    {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return false;
        if (QStringLiteral("/\\:*?\"<>|").contains(c))
            return false;
    }
    return true;
}

bool IsValidMaxNumber(const QString& text)
{
    if (text.isEmpty() || text.at(0) < QLatin1Char('1') || text.at(0) > QLatin1Char('9'))
        return false;
    for (const QChar c : text)
        if (!c.isDigit() || c.unicode() > 0x7f)
            return false;
    return true;
}

QString ProgramName()
{
    return QStringLiteral("KVX orna Lumivue");
}

} // namespace desk
