#include "controlelement/customlayout.h"

#include <QHBoxLayout>
#include <QWidget>

#include <algorithm>

CustomLayout::CustomLayout(QWidget* parent) : QVBoxLayout(parent)
{
    setSpacing(0);
    setContentsMargins(0, 0, 0, 0);
}

QHBoxLayout* CustomLayout::Row(int row)
{
    row = std::max(row, 0);
    while (static_cast<int>(m_rows.size()) <= row)
    {
        auto* rowLayout = new QHBoxLayout;
        rowLayout->setSpacing(0);
        rowLayout->setContentsMargins(0, 0, 0, 0);
        addLayout(rowLayout);
        m_rows.push_back(rowLayout);
    }
    return m_rows[static_cast<size_t>(row)];
}

void CustomLayout::AddWidget(int row, QWidget* widget, int width, int height, int position)
{
    if (widget == nullptr)
        return;
    if (height < 0)
        height = kDefaultRowHeight;
    QSizePolicy policy = widget->sizePolicy();
    if (width == 0)
        policy.setHorizontalPolicy(QSizePolicy::Expanding);
    else
        widget->setFixedWidth(width);
    if (height == 0)
        policy.setVerticalPolicy(QSizePolicy::Expanding);
    else
        widget->setFixedHeight(height);
    widget->setSizePolicy(policy);
    Row(row)->insertWidget(position < 0 ? -1 : position, widget);
}

void CustomLayout::AddLayout(int row, QLayout* layout, int position)
{
    if (layout == nullptr)
        return;
    Row(row)->insertLayout(position < 0 ? -1 : position, layout);
}

void CustomLayout::AddSpacing(int row, int size, int position)
{
    Row(row)->insertSpacing(position < 0 ? -1 : position, size);
}

void CustomLayout::AddStretch(int row, int position)
{
    Row(row)->insertStretch(position < 0 ? -1 : position);
}

void CustomLayout::EnableRows(bool enable)
{
    ApplyToCells(enable, true);
}

void CustomLayout::ShowRows(bool show)
{
    ApplyToCells(show, false);
}

void CustomLayout::ApplyToCells(bool value, bool enable)
{
    for (QHBoxLayout* rowLayout : m_rows)
    {
        for (int i = 0; i < rowLayout->count(); ++i)
        {
            QLayoutItem* item = rowLayout->itemAt(i);
            QWidget* w = item->widget();
            // A nested layout's cell is represented by its first widget.
            if (w == nullptr && item->layout() != nullptr)
            {
                for (int j = 0; j < item->layout()->count() && w == nullptr; ++j)
                    w = item->layout()->itemAt(j)->widget();
            }
            if (w == nullptr)
                continue;
            if (enable)
                w->setEnabled(value);
            else
                w->setVisible(value);
        }
    }
}
