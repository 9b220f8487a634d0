// A slider with an edit box for floating point features (GenICam IFloat): range, optional increment
// (0 = continuous), shown with a number of decimals. The slider has kPositions positions across the
// range. Non-finite input (nan, inf) is refused; values are clamped to the range.
//
// Signals as CustomIntSlider: Signal_ImmediateUpdate while dragging, Signal_ValueChanged for final user
// changes, nothing for SetValue() from code.
//
// GUI thread only.
#pragma once

#include <QWidget>

class CustomEdit;
class CustomSlider;
class QHBoxLayout;

class CustomDoubleSlider : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kPositions = 10000;

    explicit CustomDoubleSlider(QWidget* parent = nullptr);
    // See ~CustomIntSlider: the edit box must not report to a half-destroyed slider.
    ~CustomDoubleSlider() override;

    void SetRange(double minimum, double maximum);
    // 0 (or less) means continuous.
    void SetIncrement(double increment);
    void SetDecimals(int decimals);
    void SetValue(double value);
    double Value() const { return m_value; }
    double Minimum() const { return m_min; }
    double Maximum() const { return m_max; }
    double Increment() const { return m_inc; }
    int Decimals() const { return m_decimals; }
    bool StepUp();
    bool StepDown();

    CustomSlider* Slider() const { return m_slider; }
    CustomEdit* EditBox() const { return m_edit; }

    static double Normalize(double value, double minimum, double maximum, double increment);

public Q_SLOTS:
    virtual void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_ValueChanged(double value);
    void Signal_ImmediateUpdate(double value);
    void Signal_Clicked();
    void Signal_ValueIncremented();
    void Signal_ValueDecremented();

protected Q_SLOTS:
    virtual void OnSliderValueChanged(double position);
    virtual void OnSliderPressed();
    virtual void OnSliderReleased();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    // With the focus in the slider or its edit box, one wheel turn is one step; without it the wheel goes
    // on to the scroll area, so scrolling a panel never changes a camera value.
    void wheelEvent(QWheelEvent* event) override;

    QHBoxLayout* m_layout = nullptr;

private Q_SLOTS:
    void OnEditingFinished(const QString& text);

private:
    void ShowValue(bool keepText = false);
    double StepSize() const;

    CustomSlider* m_slider = nullptr;
    CustomEdit* m_edit = nullptr;
    double m_min = 0.0;
    double m_max = 100.0;
    double m_inc = 0.0;
    double m_value = 0.0;
    int m_decimals = 2;
    // The text the edit box was last given, to tell an edit from unchanged text.
    QString m_shownText;
};

// The plain slider form of the floating point rows: also reports the slider's press and release.
class CustomSliderDoubleNormal : public CustomDoubleSlider
{
    Q_OBJECT

public:
    explicit CustomSliderDoubleNormal(QWidget* parent = nullptr);

Q_SIGNALS:
    void Signal_SliderPressed();
    void Signal_SliderReleased();

protected Q_SLOTS:
    void OnSliderPressed() override;
    void OnSliderReleased() override;
};
