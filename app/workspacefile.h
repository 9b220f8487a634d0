// The workspace file: a named snapshot of the desk as XML (root `profile`, no attributes, every field a child
// element whose text is the value). This layer only turns a Document into bytes and bytes into a Document; the
// main window builds the Document from its desk and applies what it reads (app/mainwindowworkspace.cpp).
//
// The reader is positional: the field helpers enter the next child element and take its text only when the
// name matches; a mismatch reads -1 (or "-1") and skips nothing, so a reordered field disturbs what follows
// it. The order of the fields is therefore the format. Unlike a bare QXmlStreamReader walk, a field helper
// never reads past the end of its record: a short element cannot swallow the next one.
//
// Input is untrusted: entity expansion is limited, the number of elements is capped, and every malformed
// document still yields a Document (possibly empty). Only Qt Core is used, so the fuzz target links it alone.
//
// Plain functions and values without state: any thread may call them (the GUI thread does).
#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include <vector>

class QIODevice;

namespace workspace {

using KeyValues = QList<QPair<QString, QString>>;

// A pen colour as the file stores it (0..255 each); a plain value so that this layer needs Qt Core only.
struct Rgb
{
    int red = 0;
    int green = 0;
    int blue = 0;
    bool operator==(const Rgb& o) const { return red == o.red && green == o.green && blue == o.blue; }
};

// The version this program writes.
inline constexpr char kVersion[] = "1.2.0.0";
// Elements read beyond this many are counted, not kept (every element becomes a widget). A desk has a camera
// window and at most one panel of each type per camera, so this bound is over 40 cameras with every panel open:
// no real desk reaches it. The main window refuses a file beyond it rather than load it cut short.
inline constexpr int kMaxElements = 1024;
// Characters one entity may expand into.
inline constexpr int kEntityExpansionLimit = 1024;

// --- Element types: the numbers are the file format and never move.
enum ElementType
{
    CameraObjectType = 0,
    BrightnessType = 1,
    ColorSettingsType = 2,
    HostFeaturesType = 3,
    GenicamTreeType = 4,
    HistogramControlType = 5,
    PaintSettingsType = 8,
    ImageSizeType = 9,
    AcquisitionParametersType = 10,
    FlashType = 12,
    GpiosType = 13,
    CameraSettingsType = 17,
    CameraMemoryType = 18,
    ChunksType = 21,
    PerformanceMonitorType = 23,
    FocusType = 24,
    UserDialogType = 25,
    VideoSequenceType = 26,
    EventsType = 27,
    DeveloperToolsType = 28,
    InferenceType = 29,
    I2cDialogType = 30,
};

// The own fields of a panel type, in file order; empty for a type without own fields. currentFormat selects
// the node tree's layout (files below 1.2 store more fields, among them `treemode`).
QStringList FieldKeys(int type, bool currentFormat);
// The camera manager's own keys in the header, in file order.
QStringList CameraManagerKeys();
// Major above 1, or major 1 and minor at least 2.
bool IsCurrentFormat(int major, int minor);
// The check list of an old node tree: split at "+", every double quote and blank removed, joined with "+".
QString RebuildCheckedItems(const QString& checkedItems);
// The value of key in values, or "-1".
QString ValueOf(const KeyValues& values, const QString& key);

// Geometry and state of one fixed element (logger, options, camera manager).
struct FixedFields
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int visible = 0;
    int docked = 0;
};

struct Header
{
    QString version = QString::fromLatin1(kVersion);
    // Parsed from version only when it has exactly four parts; zero otherwise.
    int versionMajor = 0;
    int versionMinor = 0;
    int versionPatch = 0;
    int versionBuild = 0;
    int showGrid = 0;
    int showConnections = 0;
    int openCameraWithAcquisition = 0;
    int openCameraWithOptimalSettings = 0;
    FixedFields logger;
    FixedFields settings;
    FixedFields cameraManager;
    // The camera manager's own keys (CameraManagerKeys) with their values.
    KeyValues cameraManagerValues;
};

// The camera window's own fields. Defaults are the overlay defaults the reader starts from.
struct CameraFields
{
    int opened = 0;
    QString serialNumber = QStringLiteral("-1");
    QString modelName = QStringLiteral("-1");
    QString producer = QStringLiteral("-1");
    QString interfaceName = QStringLiteral("-1");
    int acquisition = 0;
    int displayScaleMode = -1;
    double displayScaleFactor = -1.0;
    Rgb paintPenColor{0, 0, 0};
    int paintPenColorBrightness = 100;
    int paintPenWidth = 1;
    int paintPenStyle = 1; // Qt::SolidLine
    double paintSourceValue = 1000.0;
    double paintDestValue = 1000.0;
    QString paintDestUnit = QStringLiteral("px");
    Rgb crosshairPenColor{255, 255, 255};
    int crosshairPenWidth = 2;
    int crosshairPenStyle = 1;
    int showControls = 1;
};

struct Element
{
    int index = -1;
    int type = -1;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int maximized = 0;
    int xLast = 0;
    int yLast = 0;
    int widthLast = 0;
    int heightLast = 0;
    int docked = 0;
    int tabbedLeft = 0;
    int tabbedRight = 0;
    int parent = -1;
    // Type 0 only.
    CameraFields camera;
    // Every other type: its own fields (FieldKeys) with their values, "-1" where missing.
    KeyValues fields;
};

struct Document
{
    // The root was `profile`; otherwise header and elements are left at their defaults.
    bool validRoot = false;
    Header header;
    std::vector<Element> elements;
    // Elements that were in the file beyond kMaxElements.
    int droppedElements = 0;
    // The reader's error text, empty for a well-formed document.
    QString error;
};

// The whole document, auto-formatted, as the writer lays it down.
QByteArray Write(const Document& document);
// Reads what it can; never throws, never fails.
Document Read(QIODevice* device);
Document Read(const QByteArray& bytes);

} // namespace workspace
