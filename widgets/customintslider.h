// A slider with an edit box for 64-bit integer features (GenICam IInteger): any range inside
// int64 min..max with an increment. Values are always clamped to the range and put on the increment grid
// that starts at the minimum. The slider has at most kMaxPositions positions; larger ranges are mapped
// through 128-bit arithmetic, so neither the mapping nor the range width can overflow.
//
// Signals: Signal_ImmediateUpdate while the user drags, Signal_ValueChanged when a user change is final
// (release, key, edit box), never for SetValue() from code.
//
// GUI thread only.
#pragma once

#include <QWidget>

#include <cstdint>

class CustomEdit;
class CustomSlider;
class QHBoxLayout;

class CustomIntSlider : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kMaxPositions = 1000000;

    explicit CustomIntSlider(QWidget* parent = nullptr);
    // Hiding the widget on destruction moves the focus out of the edit box, which would report an edit to
    // a half-destroyed slider; the children are cut off first.
    ~CustomIntSlider() override;

    // A reversed range is swapped; an increment below 1 becomes 1. The value is re-normalised silently.
    void SetRange(int64_t minimum, int64_t maximum);
    void SetIncrement(int64_t increment);
    void SetValue(int64_t value);
    int64_t Value() const { return m_value; }
    int64_t Minimum() const { return m_min; }
    int64_t Maximum() const { return m_max; }
    int64_t Increment() const { return m_inc; }
    // One increment up or down from a user action (keys, buttons); emits Signal_ValueChanged on a change.
    bool StepUp();
    bool StepDown();

    CustomSlider* Slider() const { return m_slider; }
    CustomEdit* EditBox() const { return m_edit; }
    void SetEditBoxWidth(int width);

    // --- The value rules, shared with the other integer forms
    // Clamped to [minimum, maximum] and put on the nearest grid value (a tie goes down) not above maximum.
    static int64_t Normalize(int64_t value, int64_t minimum, int64_t maximum, int64_t increment);
    static int PositionCount(int64_t minimum, int64_t maximum, int64_t increment);
    static int PositionForValue(int64_t value, int64_t minimum, int64_t maximum, int64_t increment);
    static int64_t ValueForPosition(int position, int64_t minimum, int64_t maximum, int64_t increment);
    // Parses decimal text; a number beyond int64 clamps by its sign. Returns false for text that is no
    // integer at all.
    static bool ParseClamped(const QString& text, int64_t minimum, int64_t maximum, int64_t* value);

public Q_SLOTS:
    virtual void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_ImmediateUpdate(int64_t value);
    void Signal_ValueChanged(int64_t value);
    void Signal_Clicked();

protected Q_SLOTS:
    virtual void OnSliderValueChanged(double position);
    virtual void OnSliderPressed();
    virtual void OnSliderReleased();
    virtual void OnEditBoxValueChanged(int64_t value);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    // With the focus in the slider or its edit box, one wheel turn is one step; without it the wheel goes
    // on to the scroll area, so scrolling a panel never changes a camera value.
    void wheelEvent(QWheelEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    virtual void OnStepped(bool up) { Q_UNUSED(up); }

    QHBoxLayout* m_layout = nullptr;

private Q_SLOTS:
    void OnEditingFinished(const QString& text);

private:
    void ShowValue(bool keepText = false);

    CustomSlider* m_slider = nullptr;
    CustomEdit* m_edit = nullptr;
    int64_t m_min = 0;
    int64_t m_max = 100;
    int64_t m_inc = 1;
    int64_t m_value = 0;
};

// The plain slider form of the integer panels' rows: reports its steps and the slider's press and release.
class CustomSliderIntNormal : public CustomIntSlider
{
    Q_OBJECT

public:
    explicit CustomSliderIntNormal(QWidget* parent = nullptr);

Q_SIGNALS:
    void Signal_ValueIncremented();
    void Signal_ValueDecremented();
    void Signal_SliderPressed();
    void Signal_SliderReleased();

protected Q_SLOTS:
    void OnSliderPressed() override;
    void OnSliderReleased() override;

protected:
    void OnStepped(bool up) override;
};
