// An on/off switch: a track and a round Thumb that slides to the other end in kAnimationMs when the user
// releases the left button over it (or presses Space). While the thumb slides, further clicks are ignored
// until OnAnimationFinished(), so a fast double click cannot leave thumb and value apart.
//
// SetValue() from code moves the thumb at once and emits nothing: panels set it in UpdateControls()
// without triggering their own value slots.
//
// GUI thread only.
#pragma once

#include <QAbstractButton>

class Fader;
class QPropertyAnimation;

// The sliding knob of CustomSwitch.
class Thumb : public QWidget
{
    Q_OBJECT

public:
    explicit Thumb(QWidget* parent = nullptr);
    void SetColor(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color;
};

class CustomSwitch : public QAbstractButton
{
    Q_OBJECT

public:
    static constexpr int kAnimationMs = 120;

    explicit CustomSwitch(QWidget* parent = nullptr);

    bool Value() const { return m_value; }
    void SetValue(bool value);
    bool IsAnimating() const;
    Thumb* GetThumb() const { return m_thumb; }
    // Thumb position for a value, in the switch's coordinates.
    QPoint ThumbPosition(bool value) const;

    void FadeIn();
    void FadeOut();
    QSize sizeHint() const override;

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_Clicked();
    void Signal_ValueChanged(bool value);
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    // An enabled-state change repaints the thumb in its colour for that state.
    void changeEvent(QEvent* event) override;

private Q_SLOTS:
    void OnAnimationFinished();
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    void ToggleByUser();
    void PlaceThumb();

    Thumb* m_thumb = nullptr;
    QPropertyAnimation* m_animation = nullptr;
    Fader* m_fader = nullptr;
    bool m_value = false;
    bool m_animating = false;
};
