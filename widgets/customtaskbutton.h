// One entry of a camera window's task list: a flat, checkable text button with an optional icon that
// reports a click with Signal_Clicked and fades with its window.
//
// GUI thread only.
#pragma once

#include <QPushButton>

class Fader;

class CustomTaskButton : public QPushButton
{
    Q_OBJECT

public:
    explicit CustomTaskButton(const QString& text = QString(), const QString& iconFile = QString(),
                              QWidget* parent = nullptr);

    void FadeIn();
    void FadeOut();
    void SetIconFile(const QString& iconFile);

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_Clicked();
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();

private Q_SLOTS:
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    Fader* m_fader = nullptr;
    QString m_iconFile;
};
