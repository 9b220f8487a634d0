#include "widgets/customtreeview.h"

#include "common/applicationglobals.h"
#include "widgets/customscrollbar.h"
#include "widgets/fader.h"
#include "widgets/theme.h"

#include <QHeaderView>

CustomTreeViewItemDelegate::CustomTreeViewItemDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

QWidget* CustomTreeViewItemDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                                  const QModelIndex& index) const
{
    QWidget* editor = QStyledItemDelegate::createEditor(parent, option, index);
    if (editor != nullptr)
        Q_EMIT EditorEnabled(index, editor);
    return editor;
}

QSize CustomTreeViewItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QSize s = QStyledItemDelegate::sizeHint(option, index);
    s.setHeight(std::max(s.height(), m_rowHeight));
    return s;
}

CustomTreeView::CustomTreeView(QWidget* parent) : QTreeView(parent)
{
    m_delegate = new CustomTreeViewItemDelegate(this);
    setItemDelegate(m_delegate);
    setVerticalScrollBar(new CustomScrollBar(Qt::Vertical, this));
    setHorizontalScrollBar(new CustomScrollBar(Qt::Horizontal, this));
    setAlternatingRowColors(true);
    setUniformRowHeights(true);
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomTreeView::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomTreeView::OnFadeOutFinished);
    UpdateStyleSheet();
}

void CustomTreeView::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QTreeView::currentChanged(current, previous);
    Q_EMIT currentIndexChanged(current);
}

void CustomTreeView::OnSelectAll()
{
    selectAll();
    Q_EMIT Signal_UpdateControls();
}

void CustomTreeView::OnDeselectAll()
{
    clearSelection();
    Q_EMIT Signal_UpdateControls();
}

void CustomTreeView::FadeIn()
{
    m_fader->Start(true);
}

void CustomTreeView::FadeOut()
{
    m_fader->Start(false);
}

void CustomTreeView::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomTreeView::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}

void CustomTreeView::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setStyleSheet(QStringLiteral("QTreeView { color: %1; background-color: %2; alternate-background-color: %3;"
                                 " border: 1px solid %4; selection-background-color: %5; outline: none; %6 }"
                                 "QTreeView::item:hover { background-color: %7; }"
                                 "QTreeView::item:selected { background-color: %5; color: #ffffff; }"
                                 "QHeaderView::section { color: %1; background-color: %8; border: none;"
                                 " border-right: 1px solid %4; padding: 3px; }")
                      .arg(G::colorText.name(), G::colorBackground.name(), G::colorBackgroundAlternate.name(),
                           G::colorBorder.name(), G::colorSelection.name(), Theme::FontCss(), G::colorHover.name(),
                           G::colorBackgroundRaised.name()) +
                  Theme::ScrollBarCss());
}
