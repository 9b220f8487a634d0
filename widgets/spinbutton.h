// The arrow buttons of the spin boxes: a painted triangle pointing in the button's direction that repeats
// its click while held (after kRepeatDelayMs, every kRepeatIntervalMs).
//
// GUI thread only.
#pragma once

#include <QAbstractButton>

class SpinButton : public QAbstractButton
{
    Q_OBJECT

public:
    enum class Direction
    {
        Up,
        Down,
        Left,
        Right
    };
    static constexpr int kRepeatDelayMs = 400;
    static constexpr int kRepeatIntervalMs = 80;

    explicit SpinButton(Direction direction, QWidget* parent = nullptr);
    Direction GetDirection() const { return m_direction; }
    QSize sizeHint() const override;

public Q_SLOTS:
    void UpdateStyleSheet();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Direction m_direction;
};

class SpinButtonUp : public SpinButton
{
    Q_OBJECT
public:
    explicit SpinButtonUp(QWidget* parent = nullptr) : SpinButton(Direction::Up, parent) {}
};

class SpinButtonDown : public SpinButton
{
    Q_OBJECT
public:
    explicit SpinButtonDown(QWidget* parent = nullptr) : SpinButton(Direction::Down, parent) {}
};

class SpinButtonLeft : public SpinButton
{
    Q_OBJECT
public:
    explicit SpinButtonLeft(QWidget* parent = nullptr) : SpinButton(Direction::Left, parent) {}
};

class SpinButtonRight : public SpinButton
{
    Q_OBJECT
public:
    explicit SpinButtonRight(QWidget* parent = nullptr) : SpinButton(Direction::Right, parent) {}
};
