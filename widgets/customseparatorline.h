// A one-pixel separator line of a panel in the skin's separator colour; fades with its panel.
//
// GUI thread only.
#pragma once

#include <QLabel>

class Fader;

class CustomSeparatorLine : public QLabel
{
    Q_OBJECT

public:
    explicit CustomSeparatorLine(Qt::Orientation orientation = Qt::Horizontal, QWidget* parent = nullptr);

    void FadeIn();
    void FadeOut();
    Qt::Orientation Orientation() const { return m_orientation; }

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();

private Q_SLOTS:
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    Fader* m_fader = nullptr;
    Qt::Orientation m_orientation;
};
