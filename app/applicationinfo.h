// The "About" element: the program's name, version, years and maker, the versions of the libraries it runs
// on (Qt, Aravis, OpenCV) and the licences of what the program ships, plus Qt's own about box.
//
// The texts come from build constants (LUMIVUE_VERSION) and the libraries themselves at the moment of the
// refresh, so a wrong version can not be typed in by hand. GUI thread only.
#pragma once

#include "controlelement/controlelement.h"

class CustomLabel;
class CustomPushButton;
class QLabel;

class ApplicationInfo : public ControlElement
{
    Q_OBJECT

public:
    explicit ApplicationInfo(QWidget* parent = nullptr);

    // The pieces of the text, for the view and for tests.
    static QString ProgramVersion();
    static QString QtVersion();
    static QString AravisVersion();
    static QString OpenCvVersion();
    // The rich text shown in the element.
    static QString InfoText();
    static QString LicenceText();

    QLabel* InfoLabel() const { return infoLabel; }

public Q_SLOTS:
    void ConnectControls() override;
    void DisconnectControls() override;
    void UpdateControls() override;
    void UpdateTexts() override;
    void UpdateStyleSheetWithoutDestroy() override;
    // Re-reads every version and re-sets the texts; the main window calls it each time the element opens.
    void Refresh();

private Q_SLOTS:
    void OnButtonAboutQt();

private:
    QLabel* logoLabel = nullptr;
    QLabel* infoLabel = nullptr;
    QLabel* licenceLabel = nullptr;
    CustomPushButton* buttonAboutQt = nullptr;
};
