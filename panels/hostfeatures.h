// HostFeatures: the "Host features" panel of a camera: conversion mode, source and destination pixel format
// (unsupported destinations shown disabled, with a warning icon and its reason), and the mirror and rotation
// buttons with the transformation's status. Rows for hot pixels, gamma and edge enhancement come with their
// stages.
//
// Threads: GUI thread only. Handlers that change a format or the transformation stop a running acquisition
// first and start it again afterwards, so the chain never sees a change within a run.
#pragma once

#include "controlelement/controlelement.h"

#include <QMetaObject>
#include <QPointer>

#include <vector>

class CustomComboBox;
class IconButton;
class QLabel;
class VisionCamera;

class HostFeatures : public ControlElement
{
    Q_OBJECT

public:
    // The camera window's button type of this panel.
    static constexpr int kType = 3;
    explicit HostFeatures(QWidget* parent);
    ~HostFeatures() override;

    void ConnectControls() override;
    void DisconnectControls() override;
    void UpdateControls() override;
    void OnCameraChanged() override;

    // For the camera window and tests: what the panel shows.
    CustomComboBox* ConversionModeCombo() const { return comboConversionMode; }
    CustomComboBox* SourceCombo() const { return comboPixelFormatSource; }
    CustomComboBox* DestinationCombo() const { return comboPixelFormatDestination; }
    QLabel* ConversionModeWarning() const { return warningConversionMode; }
    QLabel* DestinationWarning() const { return warningDestination; }
    QLabel* StatusLabel() const { return labelTransformationStatus; }
    IconButton* TransformationButton(int index) const { return transformationButtons[index]; }
    // The information messages this panel showed, newest last (each one also opens a dialog).
    QStringList Messages() const { return messages; }
    // Why a source format cannot be chosen with the host binning and decimation factors given (binning is asked
    // first); empty when it can.
    static QString PackedSourceRefusal(bool packed, int binningHorizontal, int binningVertical,
                                       int decimationHorizontal, int decimationVertical);

public Q_SLOTS:
    void OnComboConversionMode();
    void OnComboPixelFormatSource();
    void OnComboPixelFormatDestination();
    void OnMirrorHorizontal();
    void OnMirrorVertical();
    void OnRotateLeft();
    void OnRotateRight();
    void OnResetTransformation();

private:
    void Inform(const QString& text);
    // Stops a running acquisition; true when it ran.
    bool StopIfAcquiring();
    void RestartIf(bool wasAcquiring);
    // The common body of the four transformation buttons.
    void RunTransformationEvent(void (*event)(class IplTransformationFeatureProvider*), const QString& refused);
    void EnableTransformationButtons(bool available, const QString& unavailableTooltip);
    static QString ClassicMessage();
    // Follows the camera's destination and its transformation's availability and state, whoever changes them
    // (a workspace load, a script, the tables' fallback): each change refreshes the panel once the event loop
    // comes back, so a change made inside one of this panel's own handlers does not refill its combos under it.
    void FollowCamera(VisionCamera* camera);

    CustomComboBox* comboConversionMode;
    CustomComboBox* comboPixelFormatSource;
    CustomComboBox* comboPixelFormatDestination;
    QLabel* warningConversionMode;
    QLabel* warningDestination;
    QLabel* labelTransformationStatus;
    IconButton* transformationButtons[5];
    QStringList messages;
    QPointer<VisionCamera> followedCamera;
    std::vector<QMetaObject::Connection> cameraConnections;
};
