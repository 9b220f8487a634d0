// A value between a left (down) and a right (up) SpinButton, for small numeric settings. SetValue() from
// code emits nothing; the buttons, SetValueToMin() and SetValueToMax() are user actions and emit
// ValueChanged (and ValueIncremented / ValueDecremented for the buttons) when the value changes.
//
// GUI thread only.
#pragma once

#include <QWidget>

class CustomLabel;
class SpinButtonLeft;
class SpinButtonRight;

class CustomSpinbox : public QWidget
{
    Q_OBJECT

public:
    explicit CustomSpinbox(QWidget* parent = nullptr);

    void SetRange(double minimum, double maximum);
    void SetStep(double step);
    void SetDecimals(int decimals);
    void SetSuffix(const QString& suffix);
    double Value() const { return m_value; }
    double Minimum() const { return m_min; }
    double Maximum() const { return m_max; }
    QString Text() const;
    SpinButtonLeft* LeftButton() const { return m_left; }
    SpinButtonRight* RightButton() const { return m_right; }

public Q_SLOTS:
    void SetValue(double value);
    void SetValueToMin();
    void SetValueToMax();
    void OnButtonLeftClicked();
    void OnButtonRightClicked();
    void UpdateStyleSheet();

Q_SIGNALS:
    void ValueChanged(double value);
    void ValueIncremented();
    void ValueDecremented();

protected:
    void wheelEvent(QWheelEvent* event) override;

private:
    void Show();
    void SetByUser(double value);
    double OnGrid(double value) const;

    SpinButtonLeft* m_left = nullptr;
    SpinButtonRight* m_right = nullptr;
    CustomLabel* m_label = nullptr;
    double m_min = 0.0;
    double m_max = 100.0;
    double m_step = 1.0;
    double m_value = 0.0;
    int m_decimals = 0;
    QString m_suffix;
};
