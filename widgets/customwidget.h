// The common base of fading and moving pages: a plain QWidget that fades with its panel and can slide
// from one position to another (MoveFromStartToEnd), e.g. the pages of a wizard-like panel.
//
// GUI thread only.
#pragma once

#include <QWidget>

class Fader;
class QPropertyAnimation;

class CustomWidget : public QWidget
{
    Q_OBJECT

public:
    explicit CustomWidget(QWidget* parent = nullptr);

    void FadeIn();
    void FadeOut();
    // Slides the widget from start to end (parent coordinates) in the fade time.
    void MoveFromStartToEnd(const QPoint& start, const QPoint& end);
    bool IsMoving() const;

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();
    void Signal_MoveFromStartToEndFinished();

private Q_SLOTS:
    void OnFadeInFinished();
    void OnFadeOutFinished();
    void OnMoveFinished();

private:
    Fader* m_fader = nullptr;
    QPropertyAnimation* m_move = nullptr;
};
