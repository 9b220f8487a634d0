#include "widgets/customdiscretespinbox.h"

#include "widgets/customlabel.h"
#include "widgets/spinbutton.h"

#include <QHBoxLayout>

#include <cmath>

CustomDiscreteSpinbox::CustomDiscreteSpinbox(QWidget* parent) : QWidget(parent)
{
    m_left = new SpinButtonLeft(this);
    m_right = new SpinButtonRight(this);
    m_label = new CustomLabel(QString(), this);
    m_label->setAlignment(Qt::AlignCenter);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(m_left);
    layout->addWidget(m_label, 1);
    layout->addWidget(m_right);
    connect(m_left, &SpinButton::clicked, this, &CustomDiscreteSpinbox::OnButtonLeftClicked);
    connect(m_right, &SpinButton::clicked, this, &CustomDiscreteSpinbox::OnButtonRightClicked);
    Show();
}

void CustomDiscreteSpinbox::SetValues(const QVector<double>& values, const QStringList& texts)
{
    m_values = values;
    m_texts = texts.size() == values.size() ? texts : QStringList();
    m_index = m_values.isEmpty() ? -1 : std::clamp(m_index, 0, int(m_values.size()) - 1);
    Show();
}

double CustomDiscreteSpinbox::Value() const
{
    return m_index >= 0 ? m_values[m_index] : -1.0;
}

QString CustomDiscreteSpinbox::Text() const
{
    return m_label->text();
}

void CustomDiscreteSpinbox::SetIndex(int index)
{
    if (index < 0 || index >= m_values.size())
        return;
    m_index = index;
    Show();
}

void CustomDiscreteSpinbox::SetValue(double value)
{
    if (m_values.isEmpty() || !std::isfinite(value))
        return;
    int best = 0;
    for (int i = 1; i < m_values.size(); ++i)
    {
        if (std::abs(m_values[i] - value) < std::abs(m_values[best] - value))
            best = i;
    }
    SetIndex(best);
}

void CustomDiscreteSpinbox::SetIndexByUser(int index)
{
    if (index < 0 || index >= m_values.size() || index == m_index)
        return;
    m_index = index;
    Show();
    Q_EMIT ValueChanged(m_values[m_index]);
    Q_EMIT IndexChanged(m_index);
    Q_EMIT Signal_ValueChanged();
}

void CustomDiscreteSpinbox::SetValueToMin()
{
    SetIndexByUser(0);
}

void CustomDiscreteSpinbox::SetValueToMax()
{
    SetIndexByUser(int(m_values.size()) - 1);
}

void CustomDiscreteSpinbox::OnButtonLeftClicked()
{
    SetIndexByUser(m_index - 1);
}

void CustomDiscreteSpinbox::OnButtonRightClicked()
{
    SetIndexByUser(m_index + 1);
}

void CustomDiscreteSpinbox::Show()
{
    if (m_index < 0)
        m_label->setText(QString());
    else
        m_label->setText(m_texts.isEmpty() ? QString::number(m_values[m_index]) : m_texts[m_index]);
    m_left->setEnabled(m_index > 0);
    m_right->setEnabled(m_index >= 0 && m_index < m_values.size() - 1);
}

void CustomDiscreteSpinbox::UpdateStyleSheet()
{
    m_label->UpdateStyleSheet();
    m_left->UpdateStyleSheet();
    m_right->UpdateStyleSheet();
}
