// A spin box that steps through a list of allowed values (e.g. binning factors 1, 2, 4), each with an
// optional text. The same user/code rule as CustomSpinbox: SetValue() and SetIndex() emit nothing, the
// buttons and SetValueToMin/Max emit ValueChanged, IndexChanged and Signal_ValueChanged on a change.
//
// GUI thread only.
#pragma once

#include <QStringList>
#include <QVector>
#include <QWidget>

class CustomLabel;
class SpinButtonLeft;
class SpinButtonRight;

class CustomDiscreteSpinbox : public QWidget
{
    Q_OBJECT

public:
    explicit CustomDiscreteSpinbox(QWidget* parent = nullptr);

    // texts may be empty (the number is shown) or have one entry per value.
    void SetValues(const QVector<double>& values, const QStringList& texts = QStringList());
    int Index() const { return m_index; }
    void SetIndex(int index);
    // -1 while the list is empty.
    double Value() const;
    QString Text() const;
    SpinButtonLeft* LeftButton() const { return m_left; }
    SpinButtonRight* RightButton() const { return m_right; }

public Q_SLOTS:
    // Picks the allowed value nearest to value.
    void SetValue(double value);
    void SetValueToMin();
    void SetValueToMax();
    void OnButtonLeftClicked();
    void OnButtonRightClicked();
    void UpdateStyleSheet();

Q_SIGNALS:
    void ValueChanged(double value);
    void IndexChanged(int index);
    void Signal_ValueChanged();

private:
    void Show();
    void SetIndexByUser(int index);

    SpinButtonLeft* m_left = nullptr;
    SpinButtonRight* m_right = nullptr;
    CustomLabel* m_label = nullptr;
    QVector<double> m_values;
    QStringList m_texts;
    int m_index = -1;
};
