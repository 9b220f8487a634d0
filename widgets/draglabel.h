// A label that can be dragged onto another widget (for instance a feature name onto a chart): a left
// drag beyond the start distance starts a QDrag carrying the label's text and its drag data.
//
// GUI thread only.
#pragma once

#include "widgets/customlabel.h"

class QMimeData;

class DragLabel : public CustomLabel
{
    Q_OBJECT

public:
    explicit DragLabel(const QString& text = QString(), QWidget* parent = nullptr);

    void SetDragData(const QString& data) { m_dragData = data; }
    QString DragData() const { return m_dragData.isEmpty() ? text() : m_dragData; }
    // The payload a drag carries: the drag data as plain text.
    QMimeData* CreateMimeData() const;

Q_SIGNALS:
    void Signal_DragStarted();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    QPoint m_pressPos;
    QString m_dragData;
};
