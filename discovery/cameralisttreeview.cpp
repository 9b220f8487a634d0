#include "discovery/cameralisttreeview.h"

#include "common/applicationglobals.h"
#include "discovery/cameralistitem.h"

#include <QMouseEvent>

CameraListTreeView::CameraListTreeView(QWidget* parent) : QTreeView(parent)
{
    setHeaderHidden(true);
    setRootIsDecorated(true);
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setContextMenuPolicy(Qt::CustomContextMenu);
    UpdateStyleSheet();
}

void CameraListTreeView::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setStyleSheet(QStringLiteral("QTreeView { background-color: %1; color: %2; border: none; outline: 0; }"
                                 "QTreeView::item:selected { background-color: %3; color: %2; }"
                                 "QTreeView::item:hover { background-color: %4; }"
                                 "QTreeView::branch { background-color: %1; }"
                                 "QTreeView::branch:has-children:!has-siblings:closed,"
                                 "QTreeView::branch:closed:has-children:has-siblings { image: url(%5); }"
                                 "QTreeView::branch:open:has-children:!has-siblings,"
                                 "QTreeView::branch:open:has-children:has-siblings { image: url(%6); }")
                      .arg(G::colorBackground.name(), G::colorText.name(), G::colorSelection.name(),
                           G::colorWindow.name(), G::Image16(QStringLiteral("arrow-right.png")),
                           G::Image16(QStringLiteral("arrow-down.png"))));
}

void CameraListTreeView::mouseDoubleClickEvent(QMouseEvent* event)
{
    const QModelIndex index = indexAt(event->pos());
    if (index.isValid() &&
        index.data(cameralist::ItemTypeRole).toString() == CameraListItem::TypeText(CameraListItem::Device))
    {
        Q_EMIT Signal_OpenRequested(index);
        return;
    }
    QTreeView::mouseDoubleClickEvent(event);
}
