// A themed read-mostly text view for logs and long texts (the logger, the information panel).
//
// GUI thread only.
#pragma once

#include <QPlainTextEdit>

class CustomScrollBar;

class CustomPlainTextEdit : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit CustomPlainTextEdit(QWidget* parent = nullptr);

public Q_SLOTS:
    void UpdateStyleSheet();

private:
    CustomScrollBar* m_vertical = nullptr;
    CustomScrollBar* m_horizontal = nullptr;
};
