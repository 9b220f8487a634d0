// Software features that belong to a host provider: the accessors that ask AflManager or IflFeatureProvider for
// availability (and what that does to a bound control), AflAutoMode against a library stand-in, and the slots
// of the auto features that providers connect by name.
#include "common/logmessagesender.h"
#include "features/aflautomode.h"
#include "features/controls/featurecontrols.h"
#include "features/providerfeatureaccessors.h"
#include "features/roifeaturegroup.h"
#include "processing/aflmanager.h"
#include "processing/iflfeatureprovider.h"

#include <QSignalSpy>
#include <QtTest>

#include <memory>
#include <stdexcept>

class TestFeaturesProviders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aflAccessorAsksItsProvider()
    {
        auto* manager = new AflManager(nullptr);
        AflAutoMode mode(QStringLiteral("ExposureAuto"), AutoModeFeatureTarget::Exposure);
        auto accessor = std::make_unique<AflFeatureAccessorInterface>(QStringLiteral("ExposureAuto"),
                                                                      FeatureType::Enumeration, manager);
        AflFeatureAccessorInterface* afl = accessor.get();
        mode.SetAccessor(std::move(accessor));
        QCOMPARE(mode.GetAccessor(), static_cast<FeatureAccessorInterface*>(afl));
        QCOMPARE(afl->GetProvider(), manager);
        QCOMPARE(mode.GetAccess(), FeatureAccess::ReadWrite);

        FeatureControls::ComboBox combo;
        combo.SetFeature(&mode);
        QVERIFY(combo.isEnabled());
        QCOMPARE(combo.count(), 3);

        // The provider says no (its library has no controller): access 1, the control off, no value.
        bool hasController = false;
        int asked = 0;
        afl->SetProviderQuestion([&](const AflManager& asking) {
            ++asked;
            return &asking == manager && hasController;
        });
        QSignalSpy writeable(&mode, &FeatureInterface::WriteableChanged);
        mode.UpdateAccess();
        QVERIFY(asked > 0);
        QCOMPARE(mode.GetAccess(), FeatureAccess::NotAvailable);
        QCOMPARE(int(mode.GetAccess()), 1);
        QVERIFY(!mode.IsWriteable());
        QVERIFY(!combo.isEnabled());
        QCOMPARE(mode.GetStringValue(false), QString());
        mode.SetIntValue(AflAutoMode::Continuous); // refused while unavailable

        hasController = true;
        mode.UpdateAccess();
        QVERIFY(combo.isEnabled());
        QCOMPARE(mode.GetIntValue(false), AflAutoMode::Off);
        QCOMPARE(writeable.size(), 2);

        // The owner's own condition still applies on top of the provider's answer.
        bool ownerAllows = false;
        mode.SetAvailableFunction([&ownerAllows] { return ownerAllows; });
        QVERIFY(!combo.isEnabled());
        ownerAllows = true;
        mode.UpdateAccess();
        QVERIFY(combo.isEnabled());

        // The provider gone (camera closed) makes the feature unavailable, without touching freed memory.
        delete manager;
        mode.UpdateAccess();
        QCOMPARE(afl->GetProvider(), static_cast<AflManager*>(nullptr));
        QCOMPARE(mode.GetAccess(), FeatureAccess::NotAvailable);
        QVERIFY(!combo.isEnabled());

        // No provider at all: never available.
        AflFeatureAccessorInterface orphan(QStringLiteral("X"), FeatureType::Integer, nullptr);
        QVERIFY(!orphan.IsAvailable());
        QCOMPARE(orphan.GetAccess(), FeatureAccess::NotAvailable);
    }

    void iflAccessorNeedsProviderAndModel()
    {
        IflFeatureProvider provider(nullptr);
        BooleanSoftwareFeature enable(QStringLiteral("IflEnable"), false);
        auto accessor =
            std::make_unique<IflFeatureAccessorInterface>(QStringLiteral("IflEnable"), FeatureType::Boolean, &provider);
        IflFeatureAccessorInterface* ifl = accessor.get();
        enable.SetAccessor(std::move(accessor));

        FeatureControls::Switch toggle;
        toggle.SetFeature(&enable);
        QCOMPARE(enable.GetAccess(), FeatureAccess::NotAvailable);
        QVERIFY(!toggle.isEnabled());

        ifl->SetModelHandle(0x5a17);
        enable.UpdateAccess();
        QCOMPARE(ifl->GetModelHandle(), quintptr(0x5a17));
        QCOMPARE(enable.GetAccess(), FeatureAccess::ReadWrite);
        QVERIFY(toggle.isEnabled());

        ifl->SetProviderQuestion([](const IflFeatureProvider& asking) { return asking.HasEnabledModel(); });
        enable.UpdateAccess();
        QVERIFY(!toggle.isEnabled()); // the provider in its off state has no enabled model

        // A read-only inference feature is readable but not writeable.
        IflFeatureAccessorInterface readOnly(QStringLiteral("R"), FeatureType::Integer, &provider, 1, true);
        QCOMPARE(readOnly.GetAccess(), FeatureAccess::ReadOnly);
        QVERIFY(readOnly.IsReadable());
        QVERIFY(!readOnly.IsWriteable());
    }

    void autoModeTellsEachChangeOnceAndKeepsTheLibrarysValue()
    {
        int64_t library = AflAutoMode::Off;
        int writes = 0;
        bool failing = false;
        AflAutoMode mode(QStringLiteral("BalanceWhiteAuto"), AutoModeFeatureTarget::Controller);
        QCOMPARE(mode.GetTarget(), AutoModeFeatureTarget::Controller);
        mode.SetModeFunctions(
            [&] {
                if (failing)
                    throw std::runtime_error("controller gone");
                return library;
            },
            [&](int64_t value) {
                if (failing)
                    throw std::runtime_error("controller gone");
                ++writes;
                library = value;
            });

        QSignalSpy told(&mode, &FeatureInterface::ValueChanged);
        QSignalSpy texts(&mode, &EnumerationFeatureInterface::StringValueChanged);
        mode.SetIntValue(AflAutoMode::Continuous);
        mode.SetIntValue(AflAutoMode::Continuous);
        QCOMPARE(told.size(), 1);
        QCOMPARE(writes, 1);
        QCOMPARE(library, AflAutoMode::Continuous);
        QCOMPARE(texts.last().at(0).toString(), QStringLiteral("Continuous"));
        mode.SetStringValue(QStringLiteral("Once"));
        QCOMPARE(library, AflAutoMode::Once);
        mode.SetIntValue(7); // not a mode
        QCOMPARE(writes, 2);

        // "Once" ended in the library: UpdateValue reads it back and tells it; the same reading again tells
        // nothing. A mode outside the three reads as "Invalid".
        told.clear();
        library = AflAutoMode::Off;
        mode.UpdateValue();
        mode.UpdateValue();
        QCOMPARE(told.size(), 1);
        QCOMPARE(mode.GetStringValue(false), QStringLiteral("Off"));
        library = 9;
        mode.UpdateValue();
        QCOMPARE(mode.GetIntValue(false), AflAutoMode::Invalid);
        QCOMPARE(mode.GetStringValue(false), QStringLiteral("Invalid"));

        // A failing library call is logged and the last value stays.
        QSignalSpy logged(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError);
        failing = true;
        told.clear();
        mode.SetIntValue(AflAutoMode::Continuous);
        mode.UpdateValue();
        QCOMPARE(told.size(), 0);
        QCOMPARE(mode.GetIntValue(false), AflAutoMode::Invalid);
        QCOMPARE(logged.size(), 2);
        QVERIFY(logged.at(0).at(2).toString().startsWith(QStringLiteral("Failed to set AFL Auto mode. ")));
        QVERIFY(logged.at(1).at(2).toString().startsWith(QStringLiteral("Failed to get AFL Auto mode. ")));
        failing = false;

        // Saved across a disconnection and written back; a write with signals blocked tells nothing.
        mode.SetIntValue(AflAutoMode::Continuous);
        mode.SaveMode();
        told.clear();
        mode.SetModeWithoutSignals(AflAutoMode::Off);
        QCOMPARE(told.size(), 0);
        QCOMPARE(library, AflAutoMode::Off);
        mode.RestoreMode();
        QCOMPARE(library, AflAutoMode::Continuous);
        QCOMPARE(told.size(), 1);
    }

    // Providers connect these by name (queued across their threads), so they must be slots.
    void autoFeatureSlotsAreInvokable()
    {
        AflAutoMode mode(QStringLiteral("GainAuto"), AutoModeFeatureTarget::Gain);
        QVERIFY(QMetaObject::invokeMethod(&mode, "SetIntValue", Q_ARG(int64_t, AflAutoMode::Once)));
        QCOMPARE(mode.GetIntValue(false), AflAutoMode::Once);
        QVERIFY(QMetaObject::invokeMethod(&mode, "SetStringValue", Q_ARG(QString, QStringLiteral("Off"))));
        QCOMPARE(mode.GetIntValue(false), AflAutoMode::Off);
        QVERIFY(QMetaObject::invokeMethod(&mode, "UpdateValue"));

        RoiFeatureGroup group;
        group.SetImageSize(640, 480);
        QVERIFY(QMetaObject::invokeMethod(group.Follow(), "SetBoolValue", Q_ARG(bool, false)));
        QVERIFY(!group.Follow()->GetBoolValue(false));
        AflAutoRoiValue* width = group.Width();
        QVERIFY(
            QMetaObject::invokeMethod(width, "SetRange", Q_ARG(int64_t, 16), Q_ARG(int64_t, 320), Q_ARG(int64_t, 16)));
        QCOMPARE(width->GetMaximum(false), int64_t(320));
        QVERIFY(QMetaObject::invokeMethod(width, "SetMax", Q_ARG(int64_t, 256)));
        QVERIFY(QMetaObject::invokeMethod(width, "SetMin", Q_ARG(int64_t, 32)));
        QVERIFY(QMetaObject::invokeMethod(width, "SetInc", Q_ARG(int64_t, 8)));
        QCOMPARE(width->GetMinimum(false), int64_t(32));
        QCOMPARE(width->GetIncrement(false), int64_t(8));
        QSignalSpy changed(width, &FeatureInterface::ValueChanged);
        QVERIFY(QMetaObject::invokeMethod(width, "SetIntValue", Q_ARG(int64_t, 128)));
        QVERIFY(QMetaObject::invokeMethod(width, "SetIntValue", Q_ARG(int64_t, 128)));
        QCOMPARE(width->GetIntValue(false), int64_t(128));
        QCOMPARE(changed.size(), 1);
    }
};

QTEST_MAIN(TestFeaturesProviders)
#include "test_features_providers.moc"
