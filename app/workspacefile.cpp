// Writing and reading the workspace file.
//
// Reading walks the document once, with a depth count kept beside QXmlStreamReader so that each record
// (`profile`'s header, one `element`) is bounded: a field helper that meets the end of its record reads -1
// from then on, and the end of a record skips whatever trailing children a later version may have added.
#include "app/workspacefile.h"

#include <QBuffer>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cmath>

namespace workspace {

namespace {

const QString kMissing = QStringLiteral("-1");

// --- Writing

void WriteInt(QXmlStreamWriter& w, const char* name, int value)
{
    w.writeTextElement(QLatin1String(name), QString::number(value));
}

void WriteText(QXmlStreamWriter& w, const char* name, const QString& value)
{
    w.writeTextElement(QLatin1String(name), value);
}

void WriteFixed(QXmlStreamWriter& w, const QString& prefix, const FixedFields& f, bool withState)
{
    w.writeTextElement(prefix + QStringLiteral("_x"), QString::number(f.x));
    w.writeTextElement(prefix + QStringLiteral("_y"), QString::number(f.y));
    w.writeTextElement(prefix + QStringLiteral("_width"), QString::number(f.width));
    w.writeTextElement(prefix + QStringLiteral("_height"), QString::number(f.height));
    if (withState)
    {
        w.writeTextElement(prefix + QStringLiteral("_visible"), QString::number(f.visible));
        w.writeTextElement(prefix + QStringLiteral("_docked"), QString::number(f.docked));
    }
}

// Truncation toward zero, as the format asks; values outside int stay "-1" rather than overflow.
QString Truncated(double value)
{
    if (!std::isfinite(value) || std::fabs(value) > 2147483647.0)
        return kMissing;
    return QString::number(static_cast<int>(value));
}

void WriteCamera(QXmlStreamWriter& w, const CameraFields& c)
{
    if (c.opened != 1)
    {
        WriteInt(w, "opened", 0);
        return;
    }
    WriteInt(w, "opened", 1);
    WriteText(w, "serialnumber", c.serialNumber);
    WriteText(w, "modelname", c.modelName);
    WriteText(w, "producer", c.producer);
    WriteText(w, "interface", c.interfaceName);
    WriteInt(w, "acquisition", c.acquisition == 1 ? 1 : 0);
    WriteInt(w, "displayscalemode", c.displayScaleMode);
    WriteText(w, "displayscalefactor", QString::number(c.displayScaleFactor, 'g', 6));
    WriteInt(w, "paintpencolorred", c.paintPenColor.red);
    WriteInt(w, "paintpencolorgreen", c.paintPenColor.green);
    WriteInt(w, "paintpencolorblue", c.paintPenColor.blue);
    WriteInt(w, "paintpencolorbrightness", c.paintPenColorBrightness);
    WriteInt(w, "paintpenwidth", c.paintPenWidth);
    WriteInt(w, "paintpenstyle", c.paintPenStyle);
    WriteText(w, "paintsourcevalue", Truncated(c.paintSourceValue));
    WriteText(w, "paintdestvalue", Truncated(c.paintDestValue));
    WriteText(w, "paintdestunit", c.paintDestUnit);
    WriteInt(w, "crosshairpencolorred", c.crosshairPenColor.red);
    WriteInt(w, "crosshairpencolorgreen", c.crosshairPenColor.green);
    WriteInt(w, "crosshairpencolorblue", c.crosshairPenColor.blue);
    WriteInt(w, "crosshairpenwidth", c.crosshairPenWidth);
    WriteInt(w, "crosshairpenstyle", c.crosshairPenStyle);
    WriteInt(w, "showcontrols", c.showControls == 1 ? 1 : 0);
}

// --- Reading

// QXmlStreamReader with the depth it stands at, counted by every token it reads. Depth 1 is inside the
// root, 2 inside one of its children, and so on.
class Cursor
{
public:
    explicit Cursor(QXmlStreamReader& reader) : r(reader) {}

    int Depth() const { return depth; }
    QXmlStreamReader& Reader() { return r; }

    QXmlStreamReader::TokenType Next()
    {
        const QXmlStreamReader::TokenType token = r.readNext();
        if (token == QXmlStreamReader::StartElement)
            ++depth;
        else if (token == QXmlStreamReader::EndElement)
            --depth;
        return token;
    }

    bool Good() const { return !r.atEnd() && !r.hasError(); }

    // readNextStartElement(): true on a start element, false on an end element or the end of input. Never
    // leaves the record that encloses depth `floor`: once its end has been read, it reads nothing more.
    bool NextStart(int floor)
    {
        while (Good() && depth >= floor)
        {
            const QXmlStreamReader::TokenType token = Next();
            if (token == QXmlStreamReader::StartElement)
                return true;
            if (token == QXmlStreamReader::EndElement)
                return false;
        }
        return false;
    }

    // readElementText() of the element just entered: its text, an error on a child element.
    QString Text()
    {
        const int own = depth;
        QString text;
        while (Good())
        {
            const QXmlStreamReader::TokenType token = Next();
            if (token == QXmlStreamReader::Characters || token == QXmlStreamReader::EntityReference)
                text += r.text();
            else if (token == QXmlStreamReader::EndElement && depth < own)
                break;
            else if (token == QXmlStreamReader::StartElement)
            {
                r.raiseError(QStringLiteral("Expected character data."));
                break;
            }
        }
        return text;
    }

    // Reads until the record entered at depth `level` has ended.
    void SkipTo(int level)
    {
        while (Good() && depth >= level)
            Next();
    }

private:
    QXmlStreamReader& r;
    int depth = 0;
};

// The two field helpers of the positional rule, bounded to one record.
class Fields
{
public:
    Fields(Cursor& cursor, int level) : c(cursor), floor(level) {}

    QString String(const char* name)
    {
        if (!c.NextStart(floor) || c.Reader().name() != QLatin1String(name))
            return kMissing;
        return c.Text();
    }
    int Int(const char* name)
    {
        if (!c.NextStart(floor) || c.Reader().name() != QLatin1String(name))
            return -1;
        return c.Text().toInt();
    }
    // The positional rule with a double: a mismatch keeps the given default.
    double Double(const char* name, double fallback)
    {
        const QString text = String(name);
        bool ok = false;
        const double value = text.toDouble(&ok);
        return ok && std::isfinite(value) ? value : fallback;
    }
    void Fixed(const QString& prefix, FixedFields* f, bool withState)
    {
        f->x = Int(qPrintable(prefix + QStringLiteral("_x")));
        f->y = Int(qPrintable(prefix + QStringLiteral("_y")));
        f->width = Int(qPrintable(prefix + QStringLiteral("_width")));
        f->height = Int(qPrintable(prefix + QStringLiteral("_height")));
        if (withState)
        {
            f->visible = Int(qPrintable(prefix + QStringLiteral("_visible")));
            f->docked = Int(qPrintable(prefix + QStringLiteral("_docked")));
        }
    }

private:
    Cursor& c;
    int floor;
};

void ParseVersion(Header* header)
{
    const QStringList parts = header->version.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    if (parts.size() != 4)
        return;
    header->versionMajor = parts[0].toInt();
    header->versionMinor = parts[1].toInt();
    header->versionPatch = parts[2].toInt();
    header->versionBuild = parts[3].toInt();
}

void ReadHeader(Cursor& c, Header* h)
{
    // The header's fields are children of the root (depth 2); the record is the root itself.
    Fields f(c, 1);
    h->version = f.String("version");
    ParseVersion(h);
    h->showGrid = f.Int("showgrid");
    h->showConnections = f.Int("showconnections");
    h->openCameraWithAcquisition = f.Int("opencamerawithacquisition");
    h->openCameraWithOptimalSettings = f.Int("opencamerawithoptimalsettings");
    FixedFields retired;
    f.Fixed(QStringLiteral("iplpostprocessor"), &retired, false);
    f.Fixed(QStringLiteral("iplpostprocessordisplay"), &retired, false);
    f.Fixed(QStringLiteral("loggerwindow"), &h->logger, true);
    f.Fixed(QStringLiteral("applicationsettings"), &h->settings, true);
    f.Fixed(QStringLiteral("cameramanager"), &h->cameraManager, false);
    h->cameraManagerValues.clear();
    for (const QString& key : CameraManagerKeys())
        h->cameraManagerValues.append({key, f.String(qPrintable(key))});
    h->cameraManager.visible = f.Int("cameramanager_visible");
    h->cameraManager.docked = f.Int("cameramanager_docked");
}

void ReadCamera(Fields& f, CameraFields* cam)
{
    cam->opened = f.Int("opened");
    if (cam->opened != 1)
        return;
    cam->serialNumber = f.String("serialnumber");
    cam->modelName = f.String("modelname");
    cam->producer = f.String("producer");
    cam->interfaceName = f.String("interface");
    cam->acquisition = f.Int("acquisition");
    cam->displayScaleMode = f.Int("displayscalemode");
    cam->displayScaleFactor = f.Double("displayscalefactor", -1.0);
    const int red = f.Int("paintpencolorred");
    const int green = f.Int("paintpencolorgreen");
    const int blue = f.Int("paintpencolorblue");
    cam->paintPenColor = {qBound(0, red, 255), qBound(0, green, 255), qBound(0, blue, 255)};
    cam->paintPenColorBrightness = f.Int("paintpencolorbrightness");
    cam->paintPenWidth = f.Int("paintpenwidth");
    cam->paintPenStyle = f.Int("paintpenstyle");
    cam->paintSourceValue = f.Double("paintsourcevalue", cam->paintSourceValue);
    cam->paintDestValue = f.Double("paintdestvalue", cam->paintDestValue);
    cam->paintDestUnit = f.String("paintdestunit");
    const int cRed = f.Int("crosshairpencolorred");
    const int cGreen = f.Int("crosshairpencolorgreen");
    const int cBlue = f.Int("crosshairpencolorblue");
    cam->crosshairPenColor = {qBound(0, cRed, 255), qBound(0, cGreen, 255), qBound(0, cBlue, 255)};
    cam->crosshairPenWidth = f.Int("crosshairpenwidth");
    cam->crosshairPenStyle = f.Int("crosshairpenstyle");
    cam->showControls = f.Int("showcontrols");
}

// The reader stands on the start of an `element` at depth 2.
Element ReadElement(Cursor& c, bool currentFormat)
{
    Element e;
    Fields f(c, 2);
    e.index = f.Int("index");
    e.type = f.Int("type");
    e.x = f.Int("x");
    e.y = f.Int("y");
    e.width = f.Int("width");
    e.height = f.Int("height");
    e.maximized = f.Int("maximized");
    e.xLast = f.Int("x_last");
    e.yLast = f.Int("y_last");
    e.widthLast = f.Int("width_last");
    e.heightLast = f.Int("height_last");
    e.docked = f.Int("docked");
    e.tabbedLeft = f.Int("tabbed_left");
    e.tabbedRight = f.Int("tabbed_right");
    e.parent = f.Int("parent");
    if (e.type == CameraObjectType)
        ReadCamera(f, &e.camera);
    else
        for (const QString& key : FieldKeys(e.type, currentFormat))
            e.fields.append({key, f.String(qPrintable(key))});
    // Trailing children that this version does not know end with the element.
    c.SkipTo(2);
    return e;
}

} // namespace

QStringList FieldKeys(int type, bool currentFormat)
{
    switch (type)
    {
    case BrightnessType:
        return {QStringLiteral("histogrammode")};
    case GenicamTreeType:
        if (currentFormat)
            return {QStringLiteral("filterString"), QStringLiteral("nodemap"), QStringLiteral("infocontrol_visible"),
                    QStringLiteral("infocontrol_height"), QStringLiteral("columnwidthleft")};
        return {QStringLiteral("filterString"),
                QStringLiteral("checkedItems"),
                QStringLiteral("nodemap"),
                QStringLiteral("treemode"),
                QStringLiteral("widthtreemode"),
                QStringLiteral("heighttreemode"),
                QStringLiteral("infocontrol_visible"),
                QStringLiteral("infocontrol_height")};
    case UserDialogType:
        return {QStringLiteral("checkedItems"), QStringLiteral("nodemap"), QStringLiteral("columnwidthleft")};
    case EventsType:
        return {QStringLiteral("controlwindow_height"), QStringLiteral("messagewindow_height")};
    case InferenceType:
        return {QStringLiteral("inference_showLabels"), QStringLiteral("inference_labelsFontSize")};
    case I2cDialogType:
        return {QStringLiteral("i2c_show_advanced")};
    default:
        return {};
    }
}

QStringList CameraManagerKeys()
{
    return {QStringLiteral("cameramanager_viewmode"), QStringLiteral("cameramanager_showinfo"),
            QStringLiteral("cameramanagerinfo_height")};
}

bool IsCurrentFormat(int major, int minor)
{
    return major > 1 || (major == 1 && minor >= 2);
}

QString RebuildCheckedItems(const QString& checkedItems)
{
    QStringList parts = checkedItems.split(QLatin1Char('+'));
    for (QString& part : parts)
    {
        part.remove(QLatin1Char('"'));
        part.remove(QLatin1Char(' '));
    }
    return parts.join(QLatin1Char('+'));
}

QString ValueOf(const KeyValues& values, const QString& key)
{
    for (const auto& pair : values)
        if (pair.first == key)
            return pair.second;
    return kMissing;
}

QByteArray Write(const Document& document)
{
    QByteArray bytes;
    QXmlStreamWriter w(&bytes);
    w.setAutoFormatting(true);
    w.writeStartDocument();
    w.writeStartElement(QStringLiteral("profile"));
    const Header& h = document.header;
    WriteText(w, "version", QString::fromLatin1(kVersion));
    WriteInt(w, "showgrid", h.showGrid);
    WriteInt(w, "showconnections", h.showConnections);
    WriteInt(w, "opencamerawithacquisition", h.openCameraWithAcquisition);
    WriteInt(w, "opencamerawithoptimalsettings", h.openCameraWithOptimalSettings);
    WriteFixed(w, QStringLiteral("iplpostprocessor"), FixedFields{}, false);
    WriteFixed(w, QStringLiteral("iplpostprocessordisplay"), FixedFields{}, false);
    WriteFixed(w, QStringLiteral("loggerwindow"), h.logger, true);
    WriteFixed(w, QStringLiteral("applicationsettings"), h.settings, true);
    WriteFixed(w, QStringLiteral("cameramanager"), h.cameraManager, false);
    for (const QString& key : CameraManagerKeys())
        w.writeTextElement(key, ValueOf(h.cameraManagerValues, key));
    WriteInt(w, "cameramanager_visible", h.cameraManager.visible);
    WriteInt(w, "cameramanager_docked", h.cameraManager.docked);

    for (const Element& e : document.elements)
    {
        w.writeStartElement(QStringLiteral("element"));
        WriteInt(w, "index", e.index);
        WriteInt(w, "type", e.type);
        WriteInt(w, "x", e.x);
        WriteInt(w, "y", e.y);
        WriteInt(w, "width", e.width);
        WriteInt(w, "height", e.height);
        WriteInt(w, "maximized", e.maximized == 1 ? 1 : 0);
        WriteInt(w, "x_last", e.xLast);
        WriteInt(w, "y_last", e.yLast);
        WriteInt(w, "width_last", e.widthLast);
        WriteInt(w, "height_last", e.heightLast);
        WriteInt(w, "docked", e.docked == 1 ? 1 : 0);
        WriteInt(w, "tabbed_left", e.tabbedLeft == 1 ? 1 : 0);
        WriteInt(w, "tabbed_right", e.tabbedRight == 1 ? 1 : 0);
        WriteInt(w, "parent", e.parent);
        if (e.type == CameraObjectType)
            WriteCamera(w, e.camera);
        else if (e.type == BrightnessType)
            WriteInt(w, "histogrammode", 1);
        else
            for (const QString& key : FieldKeys(e.type, true))
                w.writeTextElement(key, ValueOf(e.fields, key));
        w.writeEndElement();
    }
    w.writeEndElement();
    w.writeEndDocument();
    return bytes;
}

Document Read(QIODevice* device)
{
    Document document;
    if (device == nullptr || !device->isReadable())
        return document;
    QXmlStreamReader reader(device);
    // A DTD may declare entities that expand into each other; the expansion of each is bounded.
    reader.setEntityExpansionLimit(kEntityExpansionLimit);
    Cursor c(reader);
    // The root.
    while (c.Good() && c.Next() != QXmlStreamReader::StartElement)
    {
    }
    if (c.Depth() != 1 || reader.name() != QLatin1String("profile"))
    {
        document.error = reader.hasError() ? reader.errorString() : QStringLiteral("The root is not 'profile'.");
        return document;
    }
    document.validRoot = true;
    ReadHeader(c, &document.header);
    const bool currentFormat = IsCurrentFormat(document.header.versionMajor, document.header.versionMinor);
    // Every `element` child of the root, wherever the header's reading left the reader; other names are walked
    // through.
    while (c.Good())
    {
        if (c.Next() != QXmlStreamReader::StartElement || c.Depth() != 2 || reader.name() != QLatin1String("element"))
            continue;
        if (static_cast<int>(document.elements.size()) >= kMaxElements)
        {
            ++document.droppedElements;
            c.SkipTo(2);
            continue;
        }
        document.elements.push_back(ReadElement(c, currentFormat));
    }
    if (reader.hasError())
        document.error = reader.errorString();
    return document;
}

Document Read(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return Read(&buffer);
}

} // namespace workspace
