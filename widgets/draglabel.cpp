#include "widgets/draglabel.h"

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>

DragLabel::DragLabel(const QString& text, QWidget* parent) : CustomLabel(text, parent)
{
    setCursor(Qt::OpenHandCursor);
}

QMimeData* DragLabel::CreateMimeData() const
{
    auto* mime = new QMimeData;
    mime->setText(DragData());
    return mime;
}

void DragLabel::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        m_pressPos = event->pos();
    CustomLabel::mousePressEvent(event);
}

void DragLabel::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) ||
        (event->pos() - m_pressPos).manhattanLength() < QApplication::startDragDistance())
    {
        CustomLabel::mouseMoveEvent(event);
        return;
    }
    Q_EMIT Signal_DragStarted();
    auto* drag = new QDrag(this);
    drag->setMimeData(CreateMimeData());
    drag->setPixmap(grab());
    drag->exec(Qt::CopyAction);
}
