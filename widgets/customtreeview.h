// The themed tree of the feature tree and the camera list: reports the current row with
// currentIndexChanged, selects or clears all rows, and fades with its panel. Editors come from
// CustomTreeViewItemDelegate, which reports each editor it opens (EditorEnabled) so that the owner can
// connect it.
//
// GUI thread only.
#pragma once

#include <QStyledItemDelegate>
#include <QTreeView>

class Fader;

class CustomTreeViewItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit CustomTreeViewItemDelegate(QObject* parent = nullptr);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void SetRowHeight(int height) { m_rowHeight = height; }

Q_SIGNALS:
    void EditorEnabled(QModelIndex index, QWidget* editor) const;

private:
    int m_rowHeight = 24;
};

class CustomTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit CustomTreeView(QWidget* parent = nullptr);

    void FadeIn();
    void FadeOut();
    CustomTreeViewItemDelegate* Delegate() const { return m_delegate; }

public Q_SLOTS:
    void OnSelectAll();
    void OnDeselectAll();
    void UpdateStyleSheet();

Q_SIGNALS:
    void currentIndexChanged(QModelIndex index);
    void Signal_UpdateControls();
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();

protected Q_SLOTS:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private Q_SLOTS:
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    Fader* m_fader = nullptr;
    CustomTreeViewItemDelegate* m_delegate = nullptr;
};
