// A small filled triangle pointing down (or up), used as the maximum mark of CustomColorMeter.
//
// GUI thread only.
#pragma once

#include <QColor>
#include <QLabel>

class TriangleLabel : public QLabel
{
    Q_OBJECT

public:
    explicit TriangleLabel(QWidget* parent = nullptr, bool pointsDown = true);
    void SetColor(const QColor& color);
    QColor Color() const;

public Q_SLOTS:
    void UpdateStyleSheet();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color;
    bool m_pointsDown = true;
};
