// The node model and its filter over the fixture map and over a generated map of 5,000 features: model
// consistency, tree shape, roles and texts, visibility with and without developer view, search.
#include "nodetree_fixtures.h"
#include "tests/orna/core/fixture_xml.h"

#include "common/applicationglobals.h"
#include "nodetree/nodemapaccess.h"
#include "nodetree/nodemapfiltermodel.h"
#include "nodetree/nodemapmodel.h"
#include "nodetree/treeitem.h"
#include "orna/core/library.h"

#include <QAbstractItemModelTester>
#include <QIcon>
#include <QSet>
#include <QtTest>

namespace {

// The core fixture names both a category and its port "Device"; the node engine keeps only one of the two, so
// the category would show as a port without children. The port is renamed here.
std::shared_ptr<orna::core::NodeMap> FixtureMap()
{
    QString xml = QString::fromUtf8(orna::core::test::kFixtureXml);
    xml.replace(QStringLiteral("<pPort>Device</pPort>"), QStringLiteral("<pPort>DevicePort</pPort>"));
    xml.replace(QStringLiteral("<Port Name=\"Device\""), QStringLiteral("<Port Name=\"DevicePort\""));
    return orna::core::detail::CreateLocalNodeMap(orna::core::test::MakeFixtureBank(), xml.toStdString());
}

QModelIndex FindIndex(const QAbstractItemModel& model, const QString& name, const QModelIndex& parent = {})
{
    for (int row = 0; row < model.rowCount(parent); ++row)
    {
        const QModelIndex index = model.index(row, 0, parent);
        if (index.data(NodeMapModel::NameRole).toString() == name)
            return index;
        const QModelIndex found = FindIndex(model, name, index);
        if (found.isValid())
            return found;
    }
    return {};
}

void CollectNames(const QAbstractItemModel& model, const QModelIndex& parent, QSet<QString>& names)
{
    for (int row = 0; row < model.rowCount(parent); ++row)
    {
        const QModelIndex index = model.index(row, 0, parent);
        names.insert(index.data(NodeMapModel::NameRole).toString());
        CollectNames(model, index, names);
    }
}

QSet<QString> Names(const QAbstractItemModel& model)
{
    QSet<QString> names;
    CollectNames(model, {}, names);
    return names;
}

} // namespace

class TestNodeMapModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { orna::Library::Initialize(); }

    void cleanup() { ApplicationGlobals::developerView = false; }

    void fixtureTreeShapeAndModelConsistency()
    {
        NodeMapAccess access(QStringLiteral("remote"));
        access.SetNodeMap(FixtureMap());
        NodeMapModel model(&access);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);

        // Categories are parents in document order; the selected Gain sits under its selector.
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(model.index(0, 0).data(NodeMapModel::NameRole).toString(), QStringLiteral("ImageFormat"));
        const QModelIndex analog = model.index(1, 0);
        QCOMPARE(model.rowCount(analog), 4);
        const QModelIndex selector = model.index(0, 0, analog);
        QCOMPARE(selector.data(NodeMapModel::NameRole).toString(), QStringLiteral("GainSelector"));
        QCOMPARE(model.rowCount(selector), 1);
        QCOMPARE(model.index(0, 0, selector).data(NodeMapModel::NameRole).toString(), QStringLiteral("Gain"));
        QCOMPARE(model.parent(model.index(0, 0, selector)), selector);

        TreeItem* gain = access.FindItem(QStringLiteral("Gain"));
        QVERIFY(gain);
        QCOMPARE(gain->GetSelectorValues().keys(), (QStringList{"All", "Blue", "Red"}));
        QCOMPARE(gain->selectorValueCount, 3);

        // The full walk fills ranges and values while the tester watches the signals.
        access.OnUpdateRequested();
        QTRY_COMPARE(FindIndex(model, "Width").siblingAtColumn(1).data().toString(), QStringLiteral("640"));
    }

    void rolesAndTexts()
    {
        NodeMapAccess access;
        access.SetNodeMap(FixtureMap());
        NodeMapModel model(&access);
        access.OnUpdateRequested();

        const QModelIndex width = FindIndex(model, "Width");
        QVERIFY(width.isValid());
        QCOMPARE(width.data(Qt::DisplayRole).toString(), QStringLiteral("Image Width"));
        QCOMPARE(width.data(NodeMapModel::TypeRole).toString(), QStringLiteral("Integer"));
        QCOMPARE(width.data(NodeMapModel::VisibilityRole).toString(), QStringLiteral("Beginner"));
        QCOMPARE(width.data(NodeMapModel::AccessStatusRole).toString(), QStringLiteral("Read and write"));
        QCOMPARE(width.data(NodeMapModel::MinimumRole).toString(), QStringLiteral("16"));
        QCOMPARE(width.data(NodeMapModel::MaximumRole).toString(), QStringLiteral("4096"));
        QCOMPARE(width.data(NodeMapModel::IncrementRole).toString(), QStringLiteral("16"));
        QCOMPARE(width.data(NodeMapModel::UnitRole).toString(), QStringLiteral("px"));
        QCOMPARE(width.data(NodeMapModel::TooltipRole).toString(), QStringLiteral("Width of the image"));
        QCOMPARE(width.data(NodeMapModel::DescriptionRole).toString(), QStringLiteral("Width of the image in pixels"));
        QVERIFY(model.flags(width.siblingAtColumn(1)) & Qt::ItemIsEditable);
        QVERIFY(!(model.flags(width) & Qt::ItemIsEditable));

        // A hexadecimal integer shows value and range in hexadecimal.
        const QModelIndex hex = FindIndex(model, "TestRegister");
        QCOMPARE(hex.data(NodeMapModel::ValueRole).toString(), QStringLiteral("0xBEEF"));
        QCOMPARE(hex.data(NodeMapModel::RepresentationRole).toString(), QStringLiteral("HexNumber"));
        QVERIFY(hex.data(NodeMapModel::MaximumRole).toString().startsWith(QStringLiteral("0x")));

        // A float without constant increment has no increment: an invalid value, an empty cell.
        const QModelIndex gamma = FindIndex(model, "Gamma");
        QVERIFY(!gamma.data(NodeMapModel::IncrementRole).isValid());
        QCOMPARE(gamma.data(NodeMapModel::MinimumRole).toString(),
                 QString::number(0.25, 'f', gamma.data(NodeMapModel::PrecisionRole).toInt()));
        QCOMPARE(FindIndex(model, "FrameRate").data(NodeMapModel::IncrementRole).toString(),
                 QString::number(0.5, 'f', FindIndex(model, "FrameRate").data(NodeMapModel::PrecisionRole).toInt()));

        QCOMPARE(FindIndex(model, "ReverseX").siblingAtColumn(1).data().toString(), QStringLiteral("False"));
        QCOMPARE(FindIndex(model, "Reset").siblingAtColumn(1).data().toString(), QStringLiteral("Execute"));
        QCOMPARE(FindIndex(model, "WriteOnlyValue").siblingAtColumn(1).data().toString(), QStringLiteral("n.a."));
        QCOMPARE(FindIndex(model, "PixelFormat").siblingAtColumn(1).data().toString(), QStringLiteral("Mono8"));
        // Entries that are not available (pIsAvailable false) are not offered.
        QCOMPARE(FindIndex(model, "PixelFormat").data(NodeMapModel::EntriesRole).toStringList(),
                 (QStringList{"Mono8", "Mono12"}));
        QCOMPARE(FindIndex(model, "LutData").data(NodeMapModel::RegisterLengthRole).toLongLong(), 16LL);
        QCOMPARE(FindIndex(model, "DeviceVendorName").siblingAtColumn(1).data().toString(), QStringLiteral("Orna"));
        QVERIFY(!(model.flags(FindIndex(model, "DeviceVendorName").siblingAtColumn(1)) & Qt::ItemIsEditable));

        // The application lock makes a node read-only for every control and says so.
        access.SetApplicationLock({QStringLiteral("Width")}, true);
        QCOMPARE(width.data(NodeMapModel::AccessStatusRole).toString(),
                 QStringLiteral("Read and write (application lock)"));
        QVERIFY(!(model.flags(width.siblingAtColumn(1)) & Qt::ItemIsEditable));
        QVERIFY(!access.SetValue(access.FindItem("Width"), int64_t(800)));

        const auto names = model.roleNames();
        QCOMPARE(names.value(0x103), QByteArray("accessstatus"));
        QCOMPARE(names.value(0x112), QByteArray("registerdatalength"));
        QCOMPARE(names.value(0x111), QByteArray("entrydescriptions"));
    }

    void editingRequestsAWriteAndShowsWhatCameBack()
    {
        NodeMapAccess access;
        access.SetNodeMap(FixtureMap());
        NodeMapModel model(&access);
        const QModelIndex value = FindIndex(model, "Height").siblingAtColumn(1);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QVERIFY(model.setData(value, 720));
        QTRY_COMPARE(value.data().toString(), QStringLiteral("720"));
        QTRY_VERIFY(!changed.isEmpty());
        // PayloadSize depends on Height: the worker re-reads it after the write.
        QTRY_COMPARE(FindIndex(model, "PayloadSize").siblingAtColumn(1).data().toString(), QString::number(640 * 720));
    }

    // While disconnected the cache is the camera's last state, not its present one: nothing is editable, and
    // the name column shows a state icon; after the reconnection editing and the icons come back.
    void disconnectedItemsAreNotEditable()
    {
        nodetree_test::SelectedDevice device;
        NodeMapAccess access;
        access.SetNodeMap(orna::core::detail::CreateLocalNodeMap(device.bank, nodetree_test::SelectedXml()));
        NodeMapModel model(&access);
        const QModelIndex name = FindIndex(model, QStringLiteral("DecimalValue"));
        QVERIFY(name.isValid());
        const QModelIndex value = name.sibling(name.row(), 1);
        QVERIFY(model.flags(value) & Qt::ItemIsEditable);
        QVERIFY(name.data(Qt::DecorationRole).canConvert<QIcon>());
        const QModelIndex category = FindIndex(model, QStringLiteral("Numbers"));
        QVERIFY(!category.data(Qt::DecorationRole).isValid());

        access.OnDisconnected(true);
        QVERIFY(!(model.flags(value) & Qt::ItemIsEditable));
        QVERIFY(!model.setData(value, QStringLiteral("5"), Qt::EditRole));

        nodetree_test::SelectedDevice again;
        access.OnReconnected(orna::core::detail::CreateLocalNodeMap(again.bank, nodetree_test::SelectedXml()));
        QVERIFY(model.flags(value) & Qt::ItemIsEditable);
    }

    void visibilityFilterWithoutDeveloperView()
    {
        ApplicationGlobals::developerView = false;
        NodeMapAccess access;
        access.SetNodeMap(FixtureMap());
        NodeMapModel model(&access);
        QCOMPARE(model.VisibilityLevels().size(), 3);
        NodeMapFilterModel filter;
        filter.setSourceModel(&model);
        QAbstractItemModelTester tester(&filter, QAbstractItemModelTester::FailureReportingMode::QtTest);

        filter.SetVisibilityLimit(0);
        QSet<QString> names = Names(filter);
        QVERIFY(names.contains("Width"));
        QVERIFY(!names.contains("Gamma"));      // expert
        QVERIFY(!names.contains("SensorInfo")); // guru
        filter.SetVisibilityLimit(1);
        QVERIFY(Names(filter).contains("Gamma"));
        QVERIFY(!Names(filter).contains("SensorInfo"));
        filter.SetVisibilityLimit(2);
        names = Names(filter);
        QVERIFY(names.contains("SensorInfo"));
        QVERIFY(!names.contains("HiddenValue"));
        QVERIFY(!names.contains("Unimplemented"));
        // "All" is a developer level: without developer view the limit stays at guru.
        filter.SetVisibilityLimit(3);
        names = Names(filter);
        QVERIFY(!names.contains("HiddenValue"));
        QVERIFY(!names.contains("Unimplemented"));
        QVERIFY(names.contains("Unavailable")); // not available is still implemented

        // Search: alternatives, a wildcard in the middle, any case; categories stay as parents of matches.
        filter.SetFilterRegExp(QRegExp(QStringLiteral("width|gam.*a"), Qt::CaseInsensitive));
        names = Names(filter);
        QCOMPARE(names, (QSet<QString>{"ImageFormat", "Width", "Analog", "Gamma"}));
        // A selected node that matches keeps its selector visible.
        filter.SetFilterRegExp(QRegExp(QStringLiteral("^gain$"), Qt::CaseInsensitive));
        QCOMPARE(Names(filter), (QSet<QString>{"Analog", "GainSelector", "Gain"}));
        filter.SetFilterRegExp(QRegExp());
        QVERIFY(Names(filter).contains("DeviceUserID"));
    }

    void visibilityFilterWithDeveloperView()
    {
        ApplicationGlobals::developerView = true;
        NodeMapAccess access;
        access.SetNodeMap(FixtureMap());
        NodeMapModel model(&access);
        // The flag is copied at construction: a later change does not affect this model.
        ApplicationGlobals::developerView = false;
        QVERIFY(model.IsDeveloperView());
        QCOMPARE(model.VisibilityLevels().last(), QStringLiteral("All (invisible, not implemented)"));
        NodeMapFilterModel filter;
        filter.setSourceModel(&model);
        filter.SetVisibilityLimit(2);
        QVERIFY(!Names(filter).contains("HiddenValue"));
        QVERIFY(!Names(filter).contains("Unimplemented"));
        filter.SetVisibilityLimit(3);
        const QSet<QString> names = Names(filter);
        QVERIFY(names.contains("HiddenValue"));
        QVERIFY(names.contains("Unimplemented"));
        QVERIFY(names.contains("SensorInfo"));
    }

    void generatedMapOf5000Features()
    {
        const int features = 5000;
        NodeMapAccess access;
        access.SetNodeMap(orna::core::detail::CreateLocalNodeMap(nodetree_test::GeneratedBank(features),
                                                                 nodetree_test::GeneratedXml(features)));
        QCOMPARE(access.GetItemCount(), features + nodetree_test::kGeneratedCategories + 1);
        NodeMapModel model(&access);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(model.rowCount(), nodetree_test::kGeneratedCategories);
        QCOMPARE(model.rowCount(model.index(0, 0)), features / nodetree_test::kGeneratedCategories);

        access.OnUpdateRequested();
        const QModelIndex category = model.index(0, 0);
        QCOMPARE(model.index(0, 1, category).data().toString(), QStringLiteral("0"));       // integer
        QCOMPARE(model.index(2, 1, category).data().toString(), QStringLiteral("F2_E0"));   // enumeration
        QCOMPARE(model.index(3, 1, category).data().toString(), QStringLiteral("False"));   // boolean
        QCOMPARE(model.index(5, 1, category).data().toString(), QStringLiteral("Execute")); // command
        QCOMPARE(model.index(2, 0, category).data(NodeMapModel::EntriesRole).toStringList().size(), 3);

        // (The model tester runs on the filter over the fixture map; over 5,000 rows it would take minutes.)
        NodeMapFilterModel filter;
        filter.SetVisibilityLimit(2);
        filter.setSourceModel(&model);
        QCOMPARE(Names(filter).size(), features + nodetree_test::kGeneratedCategories);
        filter.SetFilterRegExp(QRegExp(QStringLiteral("^F49.9$")));
        QCOMPARE(Names(filter).size(), 10 + 1);
        filter.SetVisibilityLimit(0);
        // F4939 is guru (divisible by 11, not by 7), F4949 expert (divisible by 7), F4909 beginner.
        QVERIFY(!Names(filter).contains("F4939"));
        QVERIFY(!Names(filter).contains("F4949"));
        QVERIFY(Names(filter).contains("F4909"));
        QCOMPARE(Names(filter).size(), 8 + 1);
    }
};

QTEST_MAIN(TestNodeMapModel)
#include "test_nodemapmodel.moc"
