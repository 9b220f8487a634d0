// The workspace file without widgets: the writer's layout, the positional reader and its bounds, the old node
// tree layout, and input that is damaged or hostile.
#include "app/workspacefile.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QRegularExpression>

#include <chrono>

using namespace workspace;

namespace {

Element PanelElement(int index, int type, int parent)
{
    Element e;
    e.index = index;
    e.type = type;
    e.x = 10 * index;
    e.y = 20 * index;
    e.width = 300;
    e.height = 200;
    e.parent = parent;
    e.xLast = 1;
    e.yLast = 2;
    e.widthLast = 3;
    e.heightLast = 4;
    e.docked = 1;
    return e;
}

// A file as an older or foreign writer might lay it down: the header, then the given element bodies.
QByteArray FileWith(const QString& version, const QStringList& elementBodies)
{
    Document d;
    d.header.version = version;
    QByteArray bytes = Write(d);
    QString text = QString::fromUtf8(bytes);
    text.replace(QStringLiteral("<version>1.2.0.0</version>"), QStringLiteral("<version>%1</version>").arg(version));
    QString elements;
    for (const QString& body : elementBodies)
        elements += QStringLiteral("<element>") + body + QStringLiteral("</element>\n");
    text.replace(QStringLiteral("</profile>"), elements + QStringLiteral("</profile>"));
    return text.toUtf8();
}

QString Common(int index, int type, int parent = -1)
{
    return QStringLiteral("<index>%1</index><type>%2</type><x>5</x><y>6</y><width>7</width><height>8</height>"
                          "<maximized>0</maximized><x_last>0</x_last><y_last>0</y_last><width_last>0</width_last>"
                          "<height_last>0</height_last><docked>1</docked><tabbed_left>0</tabbed_left>"
                          "<tabbed_right>0</tabbed_right><parent>%3</parent>")
        .arg(index)
        .arg(type)
        .arg(parent);
}

} // namespace

// --- The writer's layout and the round trip

TEST(WorkspaceFile, EveryFieldSurvivesWriteAndRead)
{
    Document d;
    d.header.showGrid = 1;
    d.header.openCameraWithOptimalSettings = 1;
    d.header.logger = {11, 12, 13, 14, 1, 0};
    d.header.settings = {21, 22, 23, 24, 0, 1};
    d.header.cameraManager = {31, 32, 33, 34, 1, 1};
    d.header.cameraManagerValues = {{QStringLiteral("cameramanager_viewmode"), QStringLiteral("1")},
                                    {QStringLiteral("cameramanager_showinfo"), QStringLiteral("0")},
                                    {QStringLiteral("cameramanagerinfo_height"), QStringLiteral("140")}};
    Element camera = PanelElement(0, CameraObjectType, -1);
    camera.camera.opened = 1;
    camera.camera.serialNumber = QStringLiteral("SN 1");
    camera.camera.modelName = QStringLiteral("Model <A&B>");
    camera.camera.producer = QStringLiteral("/opt/producer.cti");
    camera.camera.interfaceName = QStringLiteral("lo");
    camera.camera.acquisition = 1;
    camera.camera.displayScaleMode = 2;
    camera.camera.displayScaleFactor = 1.0 / 3.0;
    camera.camera.paintPenColor = {1, 2, 3};
    camera.camera.paintPenWidth = 4;
    camera.camera.paintSourceValue = 12.75;
    camera.camera.paintDestValue = -3.9;
    camera.camera.paintDestUnit = QStringLiteral("mm");
    camera.camera.crosshairPenColor = {200, 201, 202};
    camera.camera.showControls = 0;
    d.elements.push_back(camera);
    Element tree = PanelElement(1, GenicamTreeType, 0);
    tree.tabbedLeft = 1;
    tree.fields = {{QStringLiteral("filterString"), QStringLiteral("Gain")},
                   {QStringLiteral("nodemap"), QStringLiteral("LOCAL DEVICE")}};
    d.elements.push_back(tree);
    d.elements.push_back(PanelElement(2, 99, 0));

    const QByteArray bytes = Write(d);
    const QString text = QString::fromUtf8(bytes);
    // The factor with six significant digits, the paint values truncated, a missing panel field "-1".
    EXPECT_TRUE(text.contains(QStringLiteral("<displayscalefactor>0.333333</displayscalefactor>")));
    EXPECT_TRUE(text.contains(QStringLiteral("<paintsourcevalue>12</paintsourcevalue>")));
    EXPECT_TRUE(text.contains(QStringLiteral("<paintdestvalue>-3</paintdestvalue>")));
    EXPECT_TRUE(text.contains(QStringLiteral("<infocontrol_visible>-1</infocontrol_visible>")));
    EXPECT_FALSE(text.contains(QStringLiteral("treemode")));
    EXPECT_FALSE(text.mid(text.indexOf(QStringLiteral("<profile>"))).contains(QLatin1Char('='))) << "no attributes";

    const Document r = Read(bytes);
    ASSERT_TRUE(r.validRoot);
    EXPECT_TRUE(r.error.isEmpty()) << r.error.toStdString();
    EXPECT_EQ(r.header.versionMajor, 1);
    EXPECT_EQ(r.header.versionMinor, 2);
    EXPECT_EQ(r.header.showGrid, 1);
    EXPECT_EQ(r.header.openCameraWithOptimalSettings, 1);
    EXPECT_EQ(r.header.settings.width, 23);
    EXPECT_EQ(r.header.settings.docked, 1);
    EXPECT_EQ(r.header.cameraManager.x, 31);
    EXPECT_EQ(r.header.cameraManager.docked, 1);
    EXPECT_EQ(r.header.cameraManagerValues, d.header.cameraManagerValues);
    ASSERT_EQ(r.elements.size(), 3u);
    const CameraFields& c = r.elements[0].camera;
    EXPECT_EQ(c.serialNumber, QStringLiteral("SN 1"));
    EXPECT_EQ(c.modelName, QStringLiteral("Model <A&B>"));
    EXPECT_EQ(c.producer, QStringLiteral("/opt/producer.cti"));
    EXPECT_EQ(c.acquisition, 1);
    EXPECT_EQ(c.displayScaleMode, 2);
    EXPECT_DOUBLE_EQ(c.displayScaleFactor, 0.333333);
    EXPECT_EQ(c.paintPenColor, (Rgb{1, 2, 3}));
    EXPECT_EQ(c.paintPenWidth, 4);
    EXPECT_DOUBLE_EQ(c.paintSourceValue, 12.0);
    EXPECT_DOUBLE_EQ(c.paintDestValue, -3.0);
    EXPECT_EQ(c.paintDestUnit, QStringLiteral("mm"));
    EXPECT_EQ(c.crosshairPenColor, (Rgb{200, 201, 202}));
    EXPECT_EQ(c.showControls, 0);
    EXPECT_EQ(r.elements[1].tabbedLeft, 1);
    EXPECT_EQ(r.elements[1].parent, 0);
    EXPECT_EQ(ValueOf(r.elements[1].fields, QStringLiteral("filterString")), QStringLiteral("Gain"));
    EXPECT_EQ(ValueOf(r.elements[1].fields, QStringLiteral("nodemap")), QStringLiteral("LOCAL DEVICE"));
    EXPECT_EQ(r.elements[2].type, 99);
    EXPECT_EQ(r.elements[2].xLast, 1);
    EXPECT_EQ(r.elements[2].heightLast, 4);
    // What was read writes the same bytes again.
    EXPECT_EQ(Write(r), Write(Read(Write(r))));
}

TEST(WorkspaceFile, CameraWithoutDeviceWritesOnlyOpened)
{
    Document d;
    Element camera = PanelElement(0, CameraObjectType, -1);
    camera.camera.serialNumber = QStringLiteral("gone");
    d.elements.push_back(camera);
    const QString text = QString::fromUtf8(Write(d));
    EXPECT_TRUE(text.contains(QStringLiteral("<opened>0</opened>")));
    EXPECT_FALSE(text.contains(QStringLiteral("serialnumber")));
    // The reader's overlay defaults stand for a window without a camera.
    const Document read = Read(Write(d));
    const CameraFields& c = read.elements.at(0).camera;
    EXPECT_EQ(c.opened, 0);
    EXPECT_EQ(c.paintPenColorBrightness, 100);
    EXPECT_EQ(c.crosshairPenWidth, 2);
    EXPECT_EQ(c.paintDestUnit, QStringLiteral("px"));
    EXPECT_EQ(c.showControls, 1);
}

// --- The positional rule

TEST(WorkspaceFile, ReorderedFieldReadsMinusOneAndDisturbsWhatFollows)
{
    // y before x: x meets <y> and reads -1, y meets the end of <y> and reads -1; the drift goes on to the
    // end of the element, and the next element is read as written.
    QString swapped = Common(0, 5);
    swapped.replace(QStringLiteral("<x>5</x><y>6</y>"), QStringLiteral("<y>6</y><x>5</x>"));
    const Document r = Read(FileWith(QStringLiteral("1.2.0.0"), {swapped, Common(1, 9, 0)}));
    ASSERT_EQ(r.elements.size(), 2u);
    EXPECT_EQ(r.elements[0].index, 0);
    EXPECT_EQ(r.elements[0].type, 5);
    EXPECT_EQ(r.elements[0].x, -1);
    EXPECT_EQ(r.elements[0].y, -1);
    EXPECT_EQ(r.elements[0].width, -1);
    EXPECT_EQ(r.elements[1].index, 1);
    EXPECT_EQ(r.elements[1].type, 9);
    EXPECT_EQ(r.elements[1].x, 5);
    EXPECT_EQ(r.elements[1].parent, 0);
}

TEST(WorkspaceFile, RecordsAreBoundedBothWays)
{
    // Unknown trailing children (even nested ones) end with their element; a short element reads -1 for
    // what it lacks without taking fields of the next one.
    const QString trailing = Common(0, 12) + QStringLiteral("<future><deep>1</deep><index>7</index></future>");
    const QString shortOne = QStringLiteral("<index>1</index><type>13</type><x>9</x>");
    const Document r = Read(FileWith(QStringLiteral("1.2.0.0"), {trailing, shortOne, Common(2, 21, 0)}));
    ASSERT_EQ(r.elements.size(), 3u);
    EXPECT_EQ(r.elements[0].parent, -1);
    EXPECT_EQ(r.elements[1].x, 9);
    EXPECT_EQ(r.elements[1].y, -1);
    EXPECT_EQ(r.elements[1].parent, -1);
    EXPECT_EQ(r.elements[2].index, 2);
    EXPECT_EQ(r.elements[2].type, 21);
    EXPECT_EQ(r.elements[2].parent, 0);
}

TEST(WorkspaceFile, OldNodeTreeLayoutOnlyBelowOnePointTwo)
{
    const QString oldTree =
        Common(0, 4) + QStringLiteral("<filterString>f</filterString><checkedItems>\"A b\"+ \"C\"</checkedItems>"
                                      "<nodemap>LOCAL DEVICE</nodemap><treemode>0</treemode>"
                                      "<widthtreemode>1</widthtreemode><heighttreemode>2</heighttreemode>"
                                      "<infocontrol_visible>1</infocontrol_visible>"
                                      "<infocontrol_height>50</infocontrol_height>");
    const Document old = Read(FileWith(QStringLiteral("1.1.0.0"), {oldTree}));
    EXPECT_EQ(old.header.versionMinor, 1);
    ASSERT_EQ(old.elements.size(), 1u);
    EXPECT_EQ(ValueOf(old.elements[0].fields, QStringLiteral("treemode")), QStringLiteral("0"));
    EXPECT_EQ(ValueOf(old.elements[0].fields, QStringLiteral("infocontrol_height")), QStringLiteral("50"));
    EXPECT_EQ(RebuildCheckedItems(ValueOf(old.elements[0].fields, QStringLiteral("checkedItems"))),
              QStringLiteral("Ab+C"));

    // The same element under the current version is read with today's layout: treemode is never asked for.
    const Document current = Read(FileWith(QStringLiteral("1.2.0.0"), {oldTree}));
    ASSERT_EQ(current.elements.size(), 1u);
    EXPECT_EQ(ValueOf(current.elements[0].fields, QStringLiteral("treemode")), QStringLiteral("-1"));
    EXPECT_EQ(ValueOf(current.elements[0].fields, QStringLiteral("filterString")), QStringLiteral("f"));
    EXPECT_EQ(ValueOf(current.elements[0].fields, QStringLiteral("nodemap")), QStringLiteral("-1"));

    // A version without exactly four parts selects the old layout (the integers stay zero).
    for (const char* version : {"1.2", "1.2.0.0.0", "", "x"})
    {
        const Document r = Read(FileWith(QString::fromLatin1(version), {}));
        EXPECT_EQ(r.header.versionMajor, 0) << version;
        EXPECT_FALSE(IsCurrentFormat(r.header.versionMajor, r.header.versionMinor)) << version;
    }
    EXPECT_TRUE(IsCurrentFormat(2, 0));
    EXPECT_FALSE(IsCurrentFormat(1, 1));
}

// --- Damaged and hostile input

TEST(WorkspaceFile, DamagedInputReadsWhatItCan)
{
    Document d;
    for (int i = 0; i < 4; ++i)
        d.elements.push_back(PanelElement(i, 9, -1));
    const QByteArray whole = Write(d);

    // Truncated in the third element: two whole elements, and the third with what it had.
    const int cut = whole.indexOf("<element>", whole.indexOf("<element>", whole.indexOf("<element>") + 1) + 1) + 40;
    const Document truncated = Read(whole.left(cut));
    EXPECT_TRUE(truncated.validRoot);
    EXPECT_FALSE(truncated.error.isEmpty());
    ASSERT_GE(truncated.elements.size(), 2u);
    EXPECT_EQ(truncated.elements[1].index, 1);

    QByteArray wrongRoot = whole;
    wrongRoot.replace("profile>", "settings>");
    const Document other = Read(wrongRoot);
    EXPECT_FALSE(other.validRoot);
    EXPECT_TRUE(other.elements.empty());

    QByteArray binary(4096, '\0');
    for (int i = 0; i < binary.size(); ++i)
        binary[i] = static_cast<char>((i * 7919) & 0xff);
    EXPECT_TRUE(Read(binary).elements.empty());
    EXPECT_TRUE(Read(QByteArray()).elements.empty());

    // Numbers that are not numbers read as toInt() reads them; a huge size stays a number.
    const Document numbers =
        Read(FileWith(QStringLiteral("1.2.0.0"),
                      {Common(0, 9)
                           .replace(QStringLiteral("<x>5</x>"), QStringLiteral("<x>five</x>"))
                           .replace(QStringLiteral("<width>7</width>"), QStringLiteral("<width>1000000000</width>"))}));
    ASSERT_EQ(numbers.elements.size(), 1u);
    EXPECT_EQ(numbers.elements[0].x, 0);
    EXPECT_EQ(numbers.elements[0].width, 1000000000);
}

TEST(WorkspaceFile, LargeInputsAreBounded)
{
    // 10,000 elements: the first kMaxElements are kept, the rest counted.
    QStringList many;
    for (int i = 0; i < 10000; ++i)
        many << Common(i, 99);
    const Document r = Read(FileWith(QStringLiteral("1.2.0.0"), many));
    EXPECT_EQ(static_cast<int>(r.elements.size()), kMaxElements);
    EXPECT_EQ(r.droppedElements, 10000 - kMaxElements);

    // 20 MB in one field and in a comment.
    QByteArray big = FileWith(QStringLiteral("1.2.0.0"), {Common(0, 9)});
    big.replace("<element>", "<!--" + QByteArray(10 << 20, 'c') + "--><element>");
    big.replace("<x>5</x>", "<x>" + QByteArray(10 << 20, '7') + "</x>");
    QElapsedTimer timer;
    timer.start();
    const Document huge = Read(big);
    EXPECT_LT(timer.elapsed(), 20000);
    ASSERT_EQ(huge.elements.size(), 1u);
    EXPECT_EQ(huge.elements[0].x, 0) << "an overlong number does not parse";
    EXPECT_EQ(huge.elements[0].y, 6);
}

TEST(WorkspaceFile, EntityExpansionIsLimited)
{
    // Each level expands ten times the last: unchecked, the last one would be 10^9 characters.
    QByteArray doc = "<?xml version=\"1.0\"?>\n<!DOCTYPE profile [\n<!ENTITY l0 \"laugh\">\n";
    for (int i = 1; i <= 9; ++i)
    {
        doc += "<!ENTITY l" + QByteArray::number(i) + " \"";
        for (int k = 0; k < 10; ++k)
            doc += "&l" + QByteArray::number(i - 1) + ";";
        doc += "\">\n";
    }
    doc += "]>\n<profile><version>&l9;</version><element>" + Common(0, 9).toUtf8() + "</element></profile>";
    QElapsedTimer timer;
    timer.start();
    const Document r = Read(doc);
    EXPECT_LT(timer.elapsed(), 5000);
    EXPECT_FALSE(r.error.isEmpty());
    EXPECT_LE(r.header.version.size(), kEntityExpansionLimit);
    EXPECT_TRUE(r.elements.empty());
}
