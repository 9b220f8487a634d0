#include "widgets/customframe.h"

#include "common/applicationglobals.h"

CustomFrame::CustomFrame(QWidget* parent) : QLabel(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    UpdateStyleSheet();
}

void CustomFrame::SetBorderColor(const QColor& color)
{
    m_borderColor = color;
    UpdateStyleSheet();
}

void CustomFrame::SetFilled(bool filled)
{
    m_filled = filled;
    UpdateStyleSheet();
}

void CustomFrame::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    const QColor border = m_borderColor.isValid() ? m_borderColor : G::colorBorder;
    const QString fill = m_filled ? G::colorBackgroundAlternate.name() : QStringLiteral("transparent");
    setStyleSheet(QStringLiteral("QLabel { border: 1px solid %1; background-color: %2; }").arg(border.name(), fill));
}
