// The arithmetic and texts of the main window's desk, kept free of widgets so they can be tested alone:
// where a new panel lands (the 38-pixel cascade and the clamp to the screen), where a centred element
// snaps, how large a new camera window becomes, what the notification row says, when a camera's link is
// too slow and what the warning says, the boot status block, the Ctrl+Tab test, the shortcut table, and
// the check of an automatic image file name.
//
// Plain functions without state: any thread may call them, though only the GUI thread does.
#pragma once

#include <QColor>
#include <QKeySequence>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QVector>

#include <vector>

class QEvent;

namespace desk {

// --- Panel placement

// Distance between two cascaded panels, in both directions.
constexpr int kCascadeStep = 38;
// Places tried before the cascade gives up.
constexpr int kCascadeTries = 20;

// The position that centres an element of elementSize over the owner's rectangle (both in the owner's
// coordinate system), with originOffset added (the main window's origin when the owner is docked).
// Negative coordinates become 0.
QPoint CascadeStart(const QRect& owner, const QSize& elementSize, const QPoint& originOffset);

// The first of up to kCascadeTries positions, start + n * kCascadeStep in both directions, that no entry of
// occupied has. When all are taken: start + kCascadeTries * kCascadeStep.
QPoint CascadePosition(const QPoint& start, const std::vector<QPoint>& occupied);

// Pulls a rectangle at pos with size back onto the screen: a right or bottom edge beyond the screen moves
// the position back by exactly the overshoot. The left and top are not pushed.
QPoint ClampToScreen(const QPoint& pos, const QSize& size, const QRect& screen);

// The grid line for x: the lower one or the one a pitch above, whichever is nearer, the lower at a tie,
// never left of the area's left (ax).
int SnapX(int x, int ax, int grid);
// The grid line for y: lines lie one pixel above the grid (y - ((y - ay) mod g) - 1 and a pitch above);
// the nearer wins, the lower at a tie; a result above the area becomes ay - 1.
int SnapY(int y, int ay, int grid);

// The position that centres size in area, with rounding towards zero, snapped as above.
QPoint CenteredSnapped(const QRect& area, const QSize& size, int grid);

// Size of a camera window whose image has the aspect width/height (imageHeight 0 counts as aspect 1.0) in a
// docking area of areaSize placed at left/top within it: height fills the area, width follows the image
// plus the frame, with a floor of 59 grid pitches + 1; both are snapped to n * grid + 1 and shrunk to fit
// what is left right of and below topLeft.
QSize CameraWindowSize(int imageWidth, int imageHeight, const QRect& area, const QPoint& topLeft, int grid);

// --- Arranging camera windows

// Width and height that a camera window adds around its image (frame, toolbars, status line).
constexpr int kCameraFrameWidth = 51;
constexpr int kCameraFrameHeight = 118;

// Tiles camera windows over area in a grid of equal cells, one window a cell in the order given, row by row.
// Each window keeps the aspect (width / height, 0 or less counting as 1) of its image inside its frame and is
// centred in its cell; the number of columns is the one that leaves the images the most area together (the
// fewer columns at a tie). Rectangles are in area's coordinate system; an empty area or list gives none.
std::vector<QRect> ArrangeCameraWindows(const QRect& area, const std::vector<double>& aspects);

// --- Notification row

// The text of the notification row, empty when there is nothing to say.
QString NotificationText(bool listUpdateRunning, bool pollingRunning, bool autoImageSaveAcquisition);

// --- Link speed

enum class LinkSpeedWarning
{
    None,
    Usb,
    Ethernet
};
// "U3V" warns at or below 99,999,999 bytes/s; other transports only for the "RT-KM" family, at or below
// 499,999,999 bytes/s.
LinkSpeedWarning CheckLinkSpeed(const QString& transportType, const QString& familyName, qint64 bytesPerSecond);
// The warning text (sentence, line break, advice); empty for None.
QString LinkSpeedWarningText(LinkSpeedWarning warning, bool withSerialNumber, const QString& serialNumber);

// --- Boot status

struct LogLine
{
    QString text;
    QColor color;
};
// True when the camera's boot status calls for the block: neither "OK" nor a camera named "...service...".
bool BootStatusNeedsReport(const QString& bootStatus, const QString& cameraName);
// The lines of the boot status block, each ending in "\n", for the log's free-text signal. dateTime is the
// moment of the report; downloadUrl and supportUrl are the maker's addresses (a blank one switches to the
// short advice).
QVector<LogLine> BootStatusBlock(const QString& dateTime, const QString& bootStatus, const QString& detail,
                                 const QString& downloadUrl, const QString& supportUrl, const QColor& textColor,
                                 const QColor& warnColor);

// The maker's addresses, translatable so a translation may point elsewhere.
QString DownloadUrl();
QString SupportUrl();

// --- Keys

// Ctrl+Tab with exactly the control modifier, as a key press.
bool IsCtrlTab(const QEvent* event);

// One shortcut of the main window: its key text and description are translated in the context
// "MainWindow" (QT_TRANSLATE_NOOP), slot is the main window's slot signature for QShortcut.
struct Shortcut
{
    const char* key;
    const char* description;
    const char* slot;
};
const std::vector<Shortcut>& Shortcuts();
// Translated key text and description of one entry; "%1" in a description is the program's name.
QString ShortcutKey(const Shortcut& shortcut);
QString ShortcutDescription(const Shortcut& shortcut);

// --- Automatic image saving

// Whether the file system would take name as a file name of its own (no folder part): not empty, not "."
// or "..", no '/', no NUL or other control character, at most 255 bytes in UTF-8. Characters that other
// systems refuse (\ : * ? " < > |) are refused as well, so names stay portable.
bool IsValidImageFileName(const QString& name);
// The maximum number edit's rule: digits without a leading zero, so neither "0" nor "" pass.
bool IsValidMaxNumber(const QString& text);

QString ProgramName();

} // namespace desk
