// A tab widget whose tab bar takes the skin's colours (the selected tab in the accent colour); fades and
// slides like CustomWidget.
//
// GUI thread only.
#pragma once

#include <QTabWidget>

class Fader;
class QPropertyAnimation;

class CustomTabWidget : public QTabWidget
{
    Q_OBJECT

public:
    explicit CustomTabWidget(QWidget* parent = nullptr);

    void FadeIn();
    void FadeOut();
    void MoveFromStartToEnd(const QPoint& start, const QPoint& end);

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();
    void Signal_MoveFromStartToEndFinished();

private Q_SLOTS:
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    Fader* m_fader = nullptr;
    QPropertyAnimation* m_move = nullptr;
};
