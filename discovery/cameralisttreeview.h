// The tree of the camera manager: CameraListModel drawn with the theme's colours and the skin's arrows, a
// double click on a device asking for its open.
//
// GUI thread only.
#pragma once

#include <QTreeView>

class CameraListTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit CameraListTreeView(QWidget* parent = nullptr);

public Q_SLOTS:
    // Colours and the branch arrows of the current skin.
    void UpdateStyleSheet();

Q_SIGNALS:
    // A device row was double-clicked.
    void Signal_OpenRequested(const QModelIndex& index);

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
};
