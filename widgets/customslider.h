// The bar of the value sliders: a QAbstractSlider that paints a themed track, the filled part in the
// accent colour and a square handle. A press jumps to the pressed position and starts a drag.
// Signal_SliderValueChanged carries the position as a double so that the forms above it can map it to
// 64-bit or floating point values themselves.
//
// GUI thread only.
#pragma once

#include <QAbstractSlider>

class CustomSlider : public QAbstractSlider
{
    Q_OBJECT

public:
    explicit CustomSlider(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    // Position under a x coordinate of the widget.
    int PositionAt(int x) const;

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_SliderValueChanged(double value);
    void Signal_SliderPressed();
    void Signal_SliderReleased();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    // The bar never turns the wheel into a value: the value widget that owns it (or, without focus, the
    // scroll area around) decides.
    void wheelEvent(QWheelEvent* event) override;

private Q_SLOTS:
    void OnSliderValueChanged(int value);

private:
    static constexpr int kHandleWidth = 8;
};
