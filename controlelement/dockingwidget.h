// The central area of the main window: the desk on which docked elements lie. It paints the grid (when
// switched on) and the connection lines from each docked panel to its docked camera window, shows the
// empty-desk hint (the company logo) and fades a highlight frame in while a dragged element may dock.
//
// The elements themselves are children of the main window, not of this widget; it learns about them
// through SetElementsProvider so that it can draw the lines beneath them.
//
// GUI thread only.
#pragma once

#include <QLine>
#include <QRect>
#include <QVector>
#include <QWidget>

#include <functional>
#include <vector>

class ControlElement;
class QGraphicsOpacityEffect;
class QLabel;
class QFrame;
class QPropertyAnimation;
class QVBoxLayout;

class DockingWidget : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kHintWidth = 337;
    static constexpr int kHintHeight = 105;

    explicit DockingWidget(QWidget* parent = nullptr);

    void SetGridVisible(bool visible);
    bool IsGridVisible() const { return m_gridVisible; }
    // The side margin: vertical grid lines start here, and the content is this much narrower on each side.
    void SetGridOffset(int offset);
    int GridOffset() const { return m_gridOffset; }
    // Top-left of the content (the origin of the grid) in this widget's coordinates.
    QPoint ContentOrigin() const { return QPoint(m_gridOffset, 0); }
    // This widget's rectangle in global coordinates (the docking rectangle of a drag gesture).
    QRect GlobalRect() const;

    // Connection lines: the provider lists the elements to consider (normally the main window's vector).
    void SetElementsProvider(std::function<std::vector<ControlElement*>()> provider);
    void SetConnectionsVisible(bool visible);
    bool AreConnectionsVisible() const { return m_connectionsVisible; }
    // The lines that paintEvent draws, in this widget's coordinates: from each docked, visible, untabbed
    // element with a docked parent element, centre to centre.
    QVector<QLine> ConnectionLines() const;

    // The empty-desk hint: shown while no element lies on the desk.
    void SetHintVisible(bool visible);
    bool IsHintVisible() const;
    QLabel* HintLabel() const { return m_hintLabel; }

    bool IsHighlighted() const { return m_highlighted; }
    bool IsFading() const { return m_fading; }

public Q_SLOTS:
    void ShowHighlight();
    // Starts the fade-out; with immediate the frame is hidden at once when no fade can run.
    void HideHighlight(bool immediate);
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();
    void Signal_RectChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;

private Q_SLOTS:
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    void StartFade(bool in);
    void UpdateHintPixmap();

    bool m_gridVisible = false;
    int m_gridOffset = 0;
    bool m_connectionsVisible = true;
    QVBoxLayout* m_layout = nullptr;
    QLabel* m_hintLabel = nullptr;
    bool m_hintWanted = true;
    QFrame* m_highlightFrame = nullptr;
    QGraphicsOpacityEffect* m_highlightEffect = nullptr;
    QPropertyAnimation* m_highlightAnimation = nullptr;
    bool m_fading = false;
    bool m_highlighted = false;
    std::function<std::vector<ControlElement*>()> m_elementsProvider;
};
