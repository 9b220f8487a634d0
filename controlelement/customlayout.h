// The panels' row builder: a vertical layout of horizontal rows that are created on demand the first time a
// row index is used, so a panel states "row 3, this widget, 120 by 36" without building the rows itself.
//
// GUI thread only.
#pragma once

#include <QVBoxLayout>

#include <vector>

class QHBoxLayout;

class CustomLayout : public QVBoxLayout
{
    Q_OBJECT

public:
    // Height of a widget added with a negative height.
    static constexpr int kDefaultRowHeight = 36;

    explicit CustomLayout(QWidget* parent = nullptr);

    // A width or height of 0 gives an expanding policy in that direction, a height below 0 means
    // kDefaultRowHeight; any other value fixes that dimension. A position below 0 appends.
    void AddWidget(int row, QWidget* widget, int width, int height, int position = -1);
    void AddLayout(int row, QLayout* layout, int position = -1);
    void AddSpacing(int row, int size, int position = -1);
    void AddStretch(int row, int position = -1);

    // setEnabled / setVisible on the first widget of every cell of every row.
    void EnableRows(bool enable);
    void ShowRows(bool show);

    // The row layout, created (with every row before it) if it does not exist yet.
    QHBoxLayout* Row(int row);
    int RowCount() const { return static_cast<int>(m_rows.size()); }

private:
    void ApplyToCells(bool value, bool enable);

    std::vector<QHBoxLayout*> m_rows;
};
