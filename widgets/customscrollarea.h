// A frameless scroll area on the skin's background with CustomScrollBar bars.
//
// GUI thread only.
#pragma once

#include <QScrollArea>

class CustomScrollBar;

class CustomScrollArea : public QScrollArea
{
    Q_OBJECT

public:
    explicit CustomScrollArea(QWidget* parent = nullptr);

    CustomScrollBar* VerticalBar() const { return m_vertical; }
    CustomScrollBar* HorizontalBar() const { return m_horizontal; }

public Q_SLOTS:
    void UpdateStyleSheet();

private:
    CustomScrollBar* m_vertical = nullptr;
    CustomScrollBar* m_horizontal = nullptr;
};
