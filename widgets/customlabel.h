// A themed label that reports a left click (press and release inside) with Signal_Clicked and fades with
// its panel.
//
// GUI thread only.
#pragma once

#include <QLabel>

class Fader;

class CustomLabel : public QLabel
{
    Q_OBJECT

public:
    explicit CustomLabel(const QString& text = QString(), QWidget* parent = nullptr);

    void FadeIn();
    void FadeOut();
    // Text colour role: an empty colour follows the skin's text colour.
    void SetTextColor(const QColor& color);
    void SetSmallFont(bool small);

public Q_SLOTS:
    virtual void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_Clicked();
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private Q_SLOTS:
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    Fader* m_fader = nullptr;
    QColor m_textColor;
    bool m_small = false;
    bool m_pressed = false;
};
