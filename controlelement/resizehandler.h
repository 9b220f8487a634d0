// Gives a frameless widget the resize borders of a window manager: an event filter on the element and on
// each of its children (followed through ChildAdded/ChildRemoved) that sets the resize cursor over the
// borders and moves the grabbed edges with the mouse. The end of a gesture is reported by ResizeFinished().
//
// GUI thread only.
#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>

class QWidget;

class ResizeHandler : public QObject
{
    Q_OBJECT

public:
    enum Edge
    {
        Top = 0,
        Bottom = 1,
        Left = 2,
        Right = 3
    };

    explicit ResizeHandler(QWidget* target, int borderWidth = 4);

    void SetEnabled(bool enabled);
    bool IsEnabled() const { return m_enabled; }
    bool IsResizing() const { return m_resizing; }
    void SetBorderWidth(int width);
    int BorderWidth() const { return m_borderWidth; }
    // Order of the flags: top, bottom, left, right.
    void SetEdgesEnabled(bool top, bool bottom, bool left, bool right);
    bool IsEdgeEnabled(Edge edge) const { return m_edgeEnabled[edge]; }
    // The border rectangles in the target's coordinates (rebuilt on every resize).
    QRect EdgeRect(Edge edge) const { return m_edgeRect[edge]; }

Q_SIGNALS:
    // A press on an enabled edge began a resize (the press itself is consumed).
    void ResizeStarted();
    void ResizeFinished();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Watch(QObject* object);
    void Unwatch(QObject* object);
    void RebuildRects();
    void HitTest(const QPoint& posInTarget);
    void UpdateCursor();
    void ClearHits();
    void ApplyMinimum();

    QWidget* m_target = nullptr;
    bool m_enabled = true;
    bool m_resizing = false;
    QPoint m_pressPos;
    QRect m_pressGeometry;
    int m_borderWidth = 4;
    QRect m_edgeRect[4];
    bool m_edgeEnabled[4] = {true, true, true, true};
    bool m_hit[4] = {false, false, false, false};
};
