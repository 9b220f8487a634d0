// The fade of a Custom* widget: an opacity effect and its animation over ApplicationGlobals::fadeInOutTime.
// A new fade takes over a running one from its current opacity; at the end the effect is removed (a
// widget with an effect paints slower) and a faded-out widget is hidden.
//
// GUI thread only.
#pragma once

#include <QObject>

class QGraphicsOpacityEffect;
class QPropertyAnimation;
class QWidget;

class Fader : public QObject
{
    Q_OBJECT

public:
    explicit Fader(QWidget* target);

    void Start(bool in);
    bool IsRunning() const;

Q_SIGNALS:
    void FadeInFinished();
    void FadeOutFinished();

private Q_SLOTS:
    void OnFinished();

private:
    QWidget* m_target = nullptr;
    QGraphicsOpacityEffect* m_effect = nullptr;
    QPropertyAnimation* m_animation = nullptr;
    bool m_in = true;
};
