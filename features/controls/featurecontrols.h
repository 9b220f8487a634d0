// Controls of the Custom widget family bound to one feature each. After SetFeature they need no code in a
// panel: they take range, value and enabled state from the feature, write to it and follow its signals.
// The feature is not owned; a control must be given a null feature (or be destroyed) before its feature is.
//
// Sliders have two write modes:
//   async (default)  every value of a drag and the final value go to the feature's ...Async setter. A camera
//                    feature keeps at most one write in flight and writes the latest dropped value when that
//                    one ends, so a drag over a slow link ends on its last value and the GUI never waits.
//   sync             only the final value is written, by the plain setter, on the GUI thread.
// While the user holds a slider, the feature's value signal is disconnected from it, so read-backs of the
// drag's own writes don't pull the handle away; the release shows the read-back.
//
// GUI thread only.
#pragma once

#include "features/featureinterface.h"
#include "widgets/customcombobox.h"
#include "widgets/customdoubleslider.h"
#include "widgets/customedit.h"
#include "widgets/customintslider.h"
#include "widgets/custompushbutton.h"
#include "widgets/customspinbox.h"
#include "widgets/customswitch.h"

#include <QList>
#include <QMetaObject>
#include <QPointer>

namespace FeatureControls {

class IntSlider : public CustomIntSlider
{
    Q_OBJECT

public:
    explicit IntSlider(QWidget* parent = nullptr);
    ~IntSlider() override;

    void SetFeature(FeatureInterface* feature);
    IntegerFeatureInterface* Feature() const { return m_feature; }
    void SetWriteAsync(bool async);
    bool IsWriteAsync() const { return m_writeAsync; }

public Q_SLOTS:
    void UpdateRange(int64_t min, int64_t max, int64_t inc);

protected:
    void OnSliderPressed() override;
    void OnSliderReleased() override;

private Q_SLOTS:
    void UpdateValue();

private:
    void ConnectWrites();
    void Detach();

    QPointer<IntegerFeatureInterface> m_feature;
    QList<QMetaObject::Connection> m_connections;
    QList<QMetaObject::Connection> m_writeConnections;
    QMetaObject::Connection m_valueConnection;
    bool m_writeAsync = true;
};

class DoubleSlider : public CustomDoubleSlider
{
    Q_OBJECT

public:
    explicit DoubleSlider(QWidget* parent = nullptr);
    ~DoubleSlider() override;

    void SetFeature(FeatureInterface* feature);
    DoubleFeatureInterface* Feature() const { return m_feature; }
    void SetWriteAsync(bool async);
    bool IsWriteAsync() const { return m_writeAsync; }

public Q_SLOTS:
    void UpdateRange(double min, double max, double inc);

protected:
    void OnSliderPressed() override;
    void OnSliderReleased() override;

private Q_SLOTS:
    void UpdateValue();

private:
    void ConnectWrites();
    void Detach();

    QPointer<DoubleFeatureInterface> m_feature;
    QList<QMetaObject::Connection> m_connections;
    QList<QMetaObject::Connection> m_writeConnections;
    QMetaObject::Connection m_valueConnection;
    bool m_writeAsync = true;
};

class ComboBox : public CustomComboBox
{
    Q_OBJECT

public:
    explicit ComboBox(QWidget* parent = nullptr);
    ~ComboBox() override;

    void SetFeature(FeatureInterface* feature);
    EnumerationFeatureInterface* Feature() const { return m_feature; }

Q_SIGNALS:
    void WriteableChanged(bool available);

private:
    void UpdateEntries(const QStringList& entries);
    void UpdateValue(const QString& value);
    void Detach();

    QPointer<EnumerationFeatureInterface> m_feature;
    QList<QMetaObject::Connection> m_connections;
};

// A boolean feature, or the two-way form of an auto function's mode: an enumeration with the entries "Off"
// and "Once", where on writes "Once" and the switch goes off by itself when the function returns to "Off".
// The two-way form is enabled only while the feature is writeable and lists both entries.
class Switch : public CustomSwitch
{
    Q_OBJECT

public:
    static constexpr const char* kOff = "Off";
    static constexpr const char* kOnce = "Once";

    explicit Switch(QWidget* parent = nullptr);
    ~Switch() override;

    void SetFeature(FeatureInterface* feature);
    BooleanFeatureInterface* Feature() const { return m_feature; }
    EnumerationFeatureInterface* ModeFeature() const { return m_mode; }

private:
    void Detach();
    void UpdateModeState();

    QPointer<BooleanFeatureInterface> m_feature;
    QPointer<EnumerationFeatureInterface> m_mode;
    QList<QMetaObject::Connection> m_connections;
};

class Button : public CustomPushButton
{
    Q_OBJECT

public:
    explicit Button(const QString& text = QString(), QWidget* parent = nullptr);
    ~Button() override;

    void SetFeature(FeatureInterface* feature);
    CommandFeatureInterface* Feature() const { return m_feature; }

private:
    void Detach();

    QPointer<CommandFeatureInterface> m_feature;
    QList<QMetaObject::Connection> m_connections;
};

// An integer feature as one entry per value of its range (at most kMaxEntries of them).
class IntComboBox : public CustomComboBox
{
    Q_OBJECT

public:
    static constexpr int64_t kMaxEntries = 1000;

    explicit IntComboBox(QWidget* parent = nullptr);
    ~IntComboBox() override;

    void SetFeature(FeatureInterface* feature);
    IntegerFeatureInterface* Feature() const { return m_feature; }

Q_SIGNALS:
    void WriteableChanged(bool available);

private:
    void UpdateRange(int64_t min, int64_t max, int64_t inc);
    void UpdateValue();
    void Detach();

    QPointer<IntegerFeatureInterface> m_feature;
    QList<QMetaObject::Connection> m_connections;
};

// An integer feature as text, by its representation (hexadecimal, address ...); typed input is decimal,
// "0x" hexadecimal, or the IPv4 or MAC form the edit shows, clamped onto the feature's grid before it is
// written. Bad input is logged, writes nothing and shows the value again; unchanged text writes nothing.
class IntEdit : public CustomEdit
{
    Q_OBJECT

public:
    explicit IntEdit(QWidget* parent = nullptr);
    ~IntEdit() override;

    void SetFeature(FeatureInterface* feature);
    IntegerFeatureInterface* Feature() const { return m_feature; }

private:
    void OnEdited(const QString& text);
    void UpdateValue();
    void Detach();

    QPointer<IntegerFeatureInterface> m_feature;
    QList<QMetaObject::Connection> m_connections;
};

// A register as hexadecimal pairs in a monospace font, one "HH " mask group per byte; a commit writes all
// bytes. Input that does not fill every byte shows the register again.
class RegisterEdit : public CustomEdit
{
    Q_OBJECT

public:
    explicit RegisterEdit(QWidget* parent = nullptr);
    ~RegisterEdit() override;

    void SetFeature(FeatureInterface* feature);
    RegisterFeatureInterface* Feature() const { return m_feature; }

private:
    void OnEdited(const QString& text);
    void UpdateValue();
    void Detach();

    QPointer<RegisterFeatureInterface> m_feature;
    QList<QMetaObject::Connection> m_connections;
};

class SpinBox : public CustomSpinbox
{
    Q_OBJECT

public:
    explicit SpinBox(QWidget* parent = nullptr);
    ~SpinBox() override;

    void SetFeature(FeatureInterface* feature);
    IntegerFeatureInterface* Feature() const { return m_feature; }

private:
    void UpdateRange(int64_t min, int64_t max, int64_t inc);
    void UpdateValue();
    void Detach();

    QPointer<IntegerFeatureInterface> m_feature;
    QList<QMetaObject::Connection> m_connections;
};

} // namespace FeatureControls
