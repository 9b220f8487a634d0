// The three states of a camera's auto function ("Off", "Once", "Continuous") as three radio buttons bound to
// one enumeration feature, and the choice of which side runs an auto function (camera or host).
//
// AutoFeatureGroup does not own its radios (they belong to the panel's layout). A user click writes the
// entry; the feature's value coming back checks the matching radio and tells it by OffSelected, OnceSelected
// or OnSelected, so an auto function that ended after "Once" and went back to "Off" by itself shows "Off".
//
// GUI thread only.
#pragma once

#include "features/featureinterface.h"
#include "widgets/customradio.h"

#include <QList>
#include <QMetaObject>
#include <QPointer>
#include <QWidget>

class AutoFeatureGroup : public QObject
{
    Q_OBJECT

public:
    AutoFeatureGroup(CustomRadio* off, CustomRadio* once, CustomRadio* continuous, QObject* parent = nullptr);
    ~AutoFeatureGroup() override;

    void SetFeature(FeatureInterface* feature);
    EnumerationFeatureInterface* Feature() const { return m_feature; }
    // The entry shown now: "Off", "Once", "Continuous", or empty.
    QString Current() const { return m_current; }

Q_SIGNALS:
    void OffSelected();
    void OnSelected();
    void OnceSelected();

private:
    void Show(const QString& entry);
    void UpdateEnabled();
    void Detach();

    QPointer<CustomRadio> m_off;
    QPointer<CustomRadio> m_once;
    QPointer<CustomRadio> m_continuous;
    QPointer<EnumerationFeatureInterface> m_feature;
    QList<QMetaObject::Connection> m_connections;
    QString m_current;
};

class AutoFeatureRadioWidget : public QWidget
{
    Q_OBJECT

public:
    explicit AutoFeatureRadioWidget(QWidget* parent = nullptr);

    bool IsCameraSelected() const;
    // From code: checks the side and tells it like a click.
    void SelectCamera();
    void SelectHost();
    CustomRadio* CameraRadio() const { return m_camera; }
    CustomRadio* HostRadio() const { return m_host; }

Q_SIGNALS:
    void CameraSelected();
    void HostSelected();

private:
    CustomRadio* m_camera = nullptr;
    CustomRadio* m_host = nullptr;
};
