#include "widgets/customspinbox.h"

#include "common/applicationglobals.h"
#include "widgets/customlabel.h"
#include "widgets/spinbutton.h"

#include <QHBoxLayout>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

CustomSpinbox::CustomSpinbox(QWidget* parent) : QWidget(parent)
{
    m_left = new SpinButtonLeft(this);
    m_right = new SpinButtonRight(this);
    m_label = new CustomLabel(QString(), this);
    m_label->setAlignment(Qt::AlignCenter);
    // Focus by click or tab: the wheel only steps a focused box.
    setFocusPolicy(Qt::StrongFocus);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(m_left);
    layout->addWidget(m_label, 1);
    layout->addWidget(m_right);
    connect(m_left, &SpinButton::clicked, this, &CustomSpinbox::OnButtonLeftClicked);
    connect(m_right, &SpinButton::clicked, this, &CustomSpinbox::OnButtonRightClicked);
    Show();
}

void CustomSpinbox::SetRange(double minimum, double maximum)
{
    if (!std::isfinite(minimum) || !std::isfinite(maximum))
        return;
    m_min = std::min(minimum, maximum);
    m_max = std::max(minimum, maximum);
    m_value = std::clamp(m_value, m_min, m_max);
    Show();
}

void CustomSpinbox::SetStep(double step)
{
    if (std::isfinite(step) && step > 0.0)
        m_step = step;
}

void CustomSpinbox::SetDecimals(int decimals)
{
    m_decimals = std::clamp(decimals, 0, 10);
    Show();
}

void CustomSpinbox::SetSuffix(const QString& suffix)
{
    m_suffix = suffix;
    Show();
}

QString CustomSpinbox::Text() const
{
    return m_label->text();
}

void CustomSpinbox::SetValue(double value)
{
    if (!std::isfinite(value))
        return;
    m_value = std::clamp(value, m_min, m_max);
    Show();
}

// A user step lands on the grid counted from the minimum, computed afresh each time: repeated steps of 0.1
// never drift to 0.30000000000000004 and the like.
double CustomSpinbox::OnGrid(double value) const
{
    double v = std::clamp(value, m_min, m_max);
    if (m_step > 0.0)
    {
        const double k = std::round((v - m_min) / m_step);
        v = std::clamp(m_min + k * m_step, m_min, m_max);
    }
    const double scale = std::pow(10.0, m_decimals);
    const double rounded = std::round(v * scale) / scale;
    return std::abs(rounded - v) < m_step * 1e-6 || m_step <= 0.0 ? std::clamp(rounded, m_min, m_max) : v;
}

void CustomSpinbox::SetByUser(double value)
{
    const double v = OnGrid(value);
    if (v == m_value)
        return;
    m_value = v;
    Show();
    Q_EMIT ValueChanged(m_value);
}

void CustomSpinbox::SetValueToMin()
{
    SetByUser(m_min);
}

void CustomSpinbox::SetValueToMax()
{
    SetByUser(m_max);
}

void CustomSpinbox::OnButtonLeftClicked()
{
    const double before = m_value;
    SetByUser(m_value - m_step);
    if (m_value != before)
        Q_EMIT ValueDecremented();
}

void CustomSpinbox::OnButtonRightClicked()
{
    const double before = m_value;
    SetByUser(m_value + m_step);
    if (m_value != before)
        Q_EMIT ValueIncremented();
}

void CustomSpinbox::wheelEvent(QWheelEvent* event)
{
    if (!hasFocus() || !isEnabled())
    {
        // The scroll area around gets the wheel.
        event->ignore();
        return;
    }
    if (event->angleDelta().y() > 0)
        OnButtonRightClicked();
    else if (event->angleDelta().y() < 0)
        OnButtonLeftClicked();
    event->accept();
}

void CustomSpinbox::Show()
{
    m_label->setText(QString::number(m_value, 'f', m_decimals) + m_suffix);
    m_left->setEnabled(m_value > m_min);
    m_right->setEnabled(m_value < m_max);
}

void CustomSpinbox::UpdateStyleSheet()
{
    m_label->UpdateStyleSheet();
    m_left->UpdateStyleSheet();
    m_right->UpdateStyleSheet();
}
