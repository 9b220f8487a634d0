// A level meter on the integer slider form: the bar shows the current level of one colour channel and a
// TriangleLabel marks the highest level seen while "max increasing" is on (the white balance and the
// histogram panels use it to show peaks). The edit box and the two step buttons set the target value.
//
// GUI thread only.
#pragma once

#include "widgets/customintslider.h"

#include <QColor>

class IconButton;
class TriangleLabel;

class CustomColorMeter : public CustomIntSlider
{
    Q_OBJECT

public:
    explicit CustomColorMeter(const QColor& channelColor = QColor(), QWidget* parent = nullptr);

    // The measured level, clamped to the range; it raises the maximum mark while max increasing is on.
    void SetLevel(int64_t level);
    int64_t Level() const { return m_level; }
    int64_t MaxMark() const { return m_maxMark; }
    bool IsMaxIncreasing() const { return m_maxIncreasing; }
    TriangleLabel* MaxMarkLabel() const { return m_mark; }
    void SetChannelColor(const QColor& color);

public Q_SLOTS:
    // On: the mark follows the highest level from now; off: the mark rests at the current level.
    void SetMaxIncreasing(bool on);
    void EditBoxHandler();
    void ButtonHandlerRight();
    void ButtonHandlerLeft();
    void UpdateStyleSheet() override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void PlaceMark();

    TriangleLabel* m_mark = nullptr;
    IconButton* m_buttonLeft = nullptr;
    IconButton* m_buttonRight = nullptr;
    QColor m_channelColor;
    int64_t m_level = 0;
    int64_t m_maxMark = 0;
    bool m_maxIncreasing = false;
};
