#include "widgets/customscrollbar.h"

#include "widgets/theme.h"

CustomScrollBar::CustomScrollBar(Qt::Orientation orientation, QWidget* parent) : QScrollBar(orientation, parent)
{
    connect(this, &QScrollBar::valueChanged, this, &CustomScrollBar::OnValueChanged);
    UpdateStyleSheet();
}

void CustomScrollBar::OnValueChanged(int value)
{
    Q_UNUSED(value);
    Q_EMIT Signal_ValueChanged();
}

void CustomScrollBar::UpdateStyleSheet()
{
    setStyleSheet(Theme::ScrollBarCss());
}
