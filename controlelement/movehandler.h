// Gives a frameless widget the drag of a title bar: an event filter on the title label that moves the
// whole element by the mouse delta and reports the end of the gesture with MoveFinished().
//
// GUI thread only.
#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>

class QWidget;

class MoveHandler : public QObject
{
    Q_OBJECT

public:
    // target: the widget whose presses start a move (the title label); moveWidget: the widget that moves.
    MoveHandler(QWidget* target, QWidget* moveWidget);

    void SetEnabled(bool enabled) { m_enabled = enabled; }
    bool IsEnabled() const { return m_enabled; }
    bool IsMoving() const { return m_moving; }
    // Margins around the target's geometry that widen (positive) the move area; the frame uses zero.
    void SetMargins(const QRect& margins);
    QRect MoveArea() const { return m_moveArea; }

Q_SIGNALS:
    void MoveFinished();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void UpdateMoveArea();

    QWidget* m_target = nullptr;
    QWidget* m_moveWidget = nullptr;
    bool m_enabled = true;
    bool m_moving = false;
    QRect m_margins;
    QRect m_moveArea;
    // Global position of the last press or move step.
    QPoint m_pressPos;
};
