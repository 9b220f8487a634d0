#include "widgets/highlightlabelgroup.h"

#include "common/applicationglobals.h"
#include "widgets/customlabel.h"

#include <QHBoxLayout>

HighlightLabelGroup::HighlightLabelGroup(QWidget* parent) : QWidget(parent)
{
    m_layout = new QHBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(12);
    m_layout->addStretch(1);
}

int HighlightLabelGroup::AddLabel(const QString& text)
{
    auto* label = new CustomLabel(text, this);
    const int index = m_labels.size();
    m_labels.append(label);
    m_layout->insertWidget(index, label);
    connect(label, &CustomLabel::Signal_Clicked, this, [this, index] { Q_EMIT Signal_LabelClicked(index); });
    UpdateStyleSheet();
    return index;
}

void HighlightLabelGroup::SetLabels(const QStringList& texts)
{
    qDeleteAll(m_labels);
    m_labels.clear();
    m_highlighted = -1;
    for (const QString& t : texts)
        AddLabel(t);
}

CustomLabel* HighlightLabelGroup::Label(int index) const
{
    return index >= 0 && index < m_labels.size() ? m_labels[index] : nullptr;
}

void HighlightLabelGroup::SetHighlighted(int index)
{
    if (index < -1 || index >= m_labels.size())
        return;
    m_highlighted = index;
    UpdateStyleSheet();
}

void HighlightLabelGroup::UpdateStyleSheet()
{
    for (int i = 0; i < m_labels.size(); ++i)
        m_labels[i]->SetTextColor(i == m_highlighted ? ApplicationGlobals::colorAccent : QColor());
}
