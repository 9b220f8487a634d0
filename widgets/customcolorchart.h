// The colour picker of the image annotations: a chart of hues across and lightness down, plus a grey row;
// a click reports the colour under the mouse with Signal_ColorSelected.
//
// GUI thread only.
#pragma once

#include <QLabel>
#include <QRgb>

class Fader;

class CustomColorChart : public QLabel
{
    Q_OBJECT

public:
    static constexpr int kColumns = 12;
    static constexpr int kRows = 6;

    explicit CustomColorChart(QWidget* parent = nullptr);

    // The colour drawn at a point of the widget.
    QRgb ColorAt(const QPoint& pos) const;
    void FadeIn();
    void FadeOut();
    QSize sizeHint() const override;

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_ColorSelected(QRgb color);
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private Q_SLOTS:
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    QRgb CellColor(int column, int row) const;
    Fader* m_fader = nullptr;
};
