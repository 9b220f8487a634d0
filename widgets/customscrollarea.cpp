#include "widgets/customscrollarea.h"

#include "common/applicationglobals.h"
#include "widgets/customscrollbar.h"

CustomScrollArea::CustomScrollArea(QWidget* parent) : QScrollArea(parent)
{
    setObjectName(QStringLiteral("CustomScrollArea"));
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    m_vertical = new CustomScrollBar(Qt::Vertical, this);
    m_horizontal = new CustomScrollBar(Qt::Horizontal, this);
    setVerticalScrollBar(m_vertical);
    setHorizontalScrollBar(m_horizontal);
    UpdateStyleSheet();
}

void CustomScrollArea::UpdateStyleSheet()
{
    // The viewport is the part that shows around and behind a smaller content widget.
    setStyleSheet(
        QStringLiteral("QScrollArea#CustomScrollArea { background-color: %1; border: none; }"
                       "QScrollArea#CustomScrollArea > QWidget#qt_scrollarea_viewport { background-color: %1; }"
                       // setWidget() turns on the content's background fill; let the viewport show.
                       "QScrollArea#CustomScrollArea > QWidget#qt_scrollarea_viewport > QWidget"
                       " { background-color: transparent; }")
            .arg(ApplicationGlobals::colorBackground.name()));
    m_vertical->UpdateStyleSheet();
    m_horizontal->UpdateStyleSheet();
}
