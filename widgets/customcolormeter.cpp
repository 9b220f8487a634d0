#include "widgets/customcolormeter.h"

#include "common/applicationglobals.h"
#include "widgets/customedit.h"
#include "widgets/customslider.h"
#include "widgets/iconbutton.h"
#include "widgets/trianglelabel.h"

#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>

CustomColorMeter::CustomColorMeter(const QColor& channelColor, QWidget* parent)
    : CustomIntSlider(parent), m_channelColor(channelColor)
{
    m_buttonLeft = new IconButton(QStringLiteral("chevron-left.png"), this);
    m_buttonLeft->setFixedSize(24, 24);
    m_buttonLeft->setText(QStringLiteral("<"));
    m_buttonRight = new IconButton(QStringLiteral("chevron-right.png"), this);
    m_buttonRight->setFixedSize(24, 24);
    m_buttonRight->setText(QStringLiteral(">"));
    m_layout->insertWidget(0, m_buttonLeft);
    m_layout->addWidget(m_buttonRight);
    m_mark = new TriangleLabel(this);
    m_mark->hide();
    setMinimumHeight(28);
    connect(m_buttonLeft, &IconButton::clicked, this, &CustomColorMeter::ButtonHandlerLeft);
    connect(m_buttonRight, &IconButton::clicked, this, &CustomColorMeter::ButtonHandlerRight);
    CustomColorMeter::UpdateStyleSheet();
}

void CustomColorMeter::SetChannelColor(const QColor& color)
{
    m_channelColor = color;
    UpdateStyleSheet();
}

void CustomColorMeter::SetLevel(int64_t level)
{
    m_level = std::clamp(level, Minimum(), Maximum());
    if (m_maxIncreasing)
        m_maxMark = std::max(m_maxMark, m_level);
    else
        m_maxMark = m_level;
    PlaceMark();
    update();
}

void CustomColorMeter::SetMaxIncreasing(bool on)
{
    m_maxIncreasing = on;
    m_maxMark = m_level;
    m_mark->setVisible(on);
    PlaceMark();
}

void CustomColorMeter::EditBoxHandler()
{
    int64_t v = 0;
    if (ParseClamped(EditBox()->text(), Minimum(), Maximum(), &v))
        OnEditBoxValueChanged(v);
    else
        SetValue(Value());
}

void CustomColorMeter::ButtonHandlerRight()
{
    StepUp();
}

void CustomColorMeter::ButtonHandlerLeft()
{
    StepDown();
}

void CustomColorMeter::PlaceMark()
{
    const QRect bar = Slider()->geometry();
    const int pos = PositionForValue(m_maxMark, Minimum(), Maximum(), Increment());
    const int count = std::max(PositionCount(Minimum(), Maximum(), Increment()), 1);
    const int x = bar.left() + static_cast<int>(static_cast<double>(pos) / count * std::max(bar.width() - 1, 0));
    m_mark->move(x - m_mark->width() / 2, std::max(bar.top() - m_mark->height(), 0));
    m_mark->raise();
}

void CustomColorMeter::resizeEvent(QResizeEvent* event)
{
    CustomIntSlider::resizeEvent(event);
    PlaceMark();
}

void CustomColorMeter::paintEvent(QPaintEvent* event)
{
    CustomIntSlider::paintEvent(event);
    // The level is drawn as a thin bar under the slider in the channel's colour.
    const QRect bar = Slider()->geometry();
    const int pos = PositionForValue(m_level, Minimum(), Maximum(), Increment());
    const int count = std::max(PositionCount(Minimum(), Maximum(), Increment()), 1);
    QPainter p(this);
    const int w = static_cast<int>(static_cast<double>(pos) / count * bar.width());
    p.fillRect(QRect(bar.left(), bar.bottom() + 1, w, 3),
               m_channelColor.isValid() ? m_channelColor : ApplicationGlobals::colorAccent);
}

void CustomColorMeter::UpdateStyleSheet()
{
    CustomIntSlider::UpdateStyleSheet();
    m_buttonLeft->UpdateStyleSheet();
    m_buttonRight->UpdateStyleSheet();
    m_mark->SetColor(m_channelColor.isValid() ? m_channelColor : ApplicationGlobals::colorText);
    update();
}
