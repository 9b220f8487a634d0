#include "widgets/customplaintextedit.h"

#include "common/applicationglobals.h"
#include "widgets/customscrollbar.h"
#include "widgets/theme.h"

CustomPlainTextEdit::CustomPlainTextEdit(QWidget* parent) : QPlainTextEdit(parent)
{
    m_vertical = new CustomScrollBar(Qt::Vertical, this);
    m_horizontal = new CustomScrollBar(Qt::Horizontal, this);
    setVerticalScrollBar(m_vertical);
    setHorizontalScrollBar(m_horizontal);
    UpdateStyleSheet();
}

void CustomPlainTextEdit::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setStyleSheet(QStringLiteral("QPlainTextEdit { color: %1; background-color: %2; border: 1px solid %3;"
                                 " selection-background-color: %4; %5 }")
                      .arg(G::colorText.name(), G::colorInputBackground.name(), G::colorBorder.name(),
                           G::colorSelection.name(), Theme::FontCss()));
    m_vertical->UpdateStyleSheet();
    m_horizontal->UpdateStyleSheet();
}
