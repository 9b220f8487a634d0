// The panels' text button: themed, fades with its panel, and can show a busy state (OnTimerBusy cycles
// dots behind the text while a long action runs).
//
// GUI thread only.
#pragma once

#include <QPushButton>

class Fader;
class QTimer;

class CustomPushButton : public QPushButton
{
    Q_OBJECT

public:
    explicit CustomPushButton(const QString& text = QString(), QWidget* parent = nullptr);

    void FadeIn();
    void FadeOut();
    void SetBusy(bool busy);
    bool IsBusy() const;
    // The text without the busy dots.
    QString PlainText() const { return m_plainText; }
    void SetText(const QString& text);

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();

private Q_SLOTS:
    void OnTimerBusy();
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    Fader* m_fader = nullptr;
    QTimer* m_busyTimer = nullptr;
    int m_busyPhase = 0;
    QString m_plainText;
};
