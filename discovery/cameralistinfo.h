// The information pane of the camera manager: the roles of the current item of the camera tree, by kind,
// under the labels the tree's roles carry.
//
// GUI thread only.
#pragma once

#include <QPair>
#include <QTextEdit>
#include <QVector>

class CameraListInfo : public QTextEdit
{
    Q_OBJECT

public:
    explicit CameraListInfo(QWidget* parent = nullptr);

    // Label and value of each line shown for the item; empty for an invalid index, a root or a group.
    static QVector<QPair<QString, QString>> Lines(const QModelIndex& index);

public Q_SLOTS:
    void ShowItem(const QModelIndex& index);
    void UpdateStyleSheet();
};
