// The view of a camera window's image display: zoom (fit in window or a free factor), scrolling by the
// wheel, panning with the hand, and the mouse gestures of the drawing and ROI tools.
//
// Fit mode (scale mode 0) hides the scroll bars and fits the scene rectangle, keeping the aspect ratio, at
// every resize; free zoom keeps the factor and shows scroll bars as needed. The wheel scrolls by one single
// step per notch; with Ctrl held it only reports the direction (Signal_MouseWheelChanged), and the camera
// window steps its zoom list.
//
// GUI thread only.
#pragma once

#include <QGraphicsView>
#include <QPoint>

class CustomGraphicsScene;

class CustomGraphicsView : public QGraphicsView
{
    Q_OBJECT

public:
    explicit CustomGraphicsView(CustomGraphicsScene* scene, QWidget* parent = nullptr);

    CustomGraphicsScene* Scene() const { return m_scene; }

    // Mode 0 fits the scene; any other mode only switches the scroll bars to "as needed".
    void SetScaleMode(int mode);
    // Free zoom at factor f: mode becomes 1, the present translation is kept.
    void SetScaleFactor(double factor);
    // Fits the scene rectangle into the viewport (keeping the aspect ratio) and stores the factor.
    void FitToWindow();
    // The scene rectangle the viewport shows, clipped to the scene.
    QRectF ComputeVisibleArea() const;

    // The pan state: a drag moves the image under the hand cursor. On by default in the plain mouse mode.
    void SetPanEnabled(bool enabled);
    bool IsPanEnabled() const { return m_panEnabled; }
    bool IsPanning() const { return m_panning; }

Q_SIGNALS:
    void Signal_MousePressed(QPoint start);
    void Signal_MouseMoved(QPoint start, QPoint end);
    void Signal_RoiDrawn(QPoint start, QPoint end);
    void Signal_MouseDoubleClicked();
    void Signal_MouseDragged();
    // Ctrl + wheel: up is true for a notch away from the user.
    void Signal_MouseWheelChanged(bool up);
    // Zoom, scroll position or size changed: the visible area is to be recomputed.
    void Signal_ViewChanged();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    // The magnifier shows only while the cursor is over the image.
    void leaveEvent(QEvent* event) override;

private:
    QPoint ScenePixel(const QPoint& viewportPos) const;

    CustomGraphicsScene* m_scene = nullptr;
    bool m_panEnabled = true;
    bool m_panning = false;
    QPoint m_panLast;
};
