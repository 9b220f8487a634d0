// A painted frame of a panel: a border in the skin's border colour (or a given colour) around a group of
// rows, drawn as a QLabel so that it lies behind the rows and takes no mouse input.
//
// GUI thread only.
#pragma once

#include <QColor>
#include <QLabel>

class CustomFrame : public QLabel
{
    Q_OBJECT

public:
    explicit CustomFrame(QWidget* parent = nullptr);
    // An invalid colour follows the skin's border colour.
    void SetBorderColor(const QColor& color);
    void SetFilled(bool filled);

public Q_SLOTS:
    void UpdateStyleSheet();

private:
    QColor m_borderColor;
    bool m_filled = false;
};
