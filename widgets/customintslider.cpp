#include "widgets/customintslider.h"

#include "common/applicationglobals.h"
#include "widgets/customedit.h"
#include "widgets/customslider.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMetaType>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QWheelEvent>

#include <algorithm>

namespace {

using u64 = uint64_t;
using u128 = unsigned __int128;

u64 Offset(int64_t value, int64_t minimum)
{
    // Two's complement difference: exact for every value >= minimum, even across the whole int64 range.
    return static_cast<u64>(value) - static_cast<u64>(minimum);
}

int64_t FromOffset(int64_t minimum, u64 offset)
{
    return static_cast<int64_t>(static_cast<u64>(minimum) + offset);
}

u64 Steps(int64_t minimum, int64_t maximum, int64_t increment)
{
    return Offset(maximum, minimum) / static_cast<u64>(increment);
}

} // namespace

CustomIntSlider::CustomIntSlider(QWidget* parent) : QWidget(parent)
{
    static const int int64Type = qRegisterMetaType<int64_t>("int64_t");
    Q_UNUSED(int64Type);
    setFocusPolicy(Qt::StrongFocus);

    m_slider = new CustomSlider(this);
    m_edit = new CustomEdit(this);
    m_edit->setFixedWidth(110);
    m_edit->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_edit->installEventFilter(this);
    m_slider->installEventFilter(this);

    m_layout = new QHBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(8);
    m_layout->addWidget(m_slider, 1);
    m_layout->addWidget(m_edit);

    connect(m_slider, &CustomSlider::Signal_SliderValueChanged, this, &CustomIntSlider::OnSliderValueChanged);
    connect(m_slider, &CustomSlider::Signal_SliderPressed, this, &CustomIntSlider::OnSliderPressed);
    connect(m_slider, &CustomSlider::Signal_SliderReleased, this, &CustomIntSlider::OnSliderReleased);
    connect(m_edit, &CustomEdit::Signal_EditingFinished, this, &CustomIntSlider::OnEditingFinished);
    connect(m_edit, &CustomEdit::Signal_Clicked, this, &CustomIntSlider::Signal_Clicked);

    SetRange(0, 100);
    UpdateStyleSheet();
}

CustomIntSlider::~CustomIntSlider()
{
    m_edit->disconnect(this);
    m_slider->disconnect(this);
}

// --- Value rules

int64_t CustomIntSlider::Normalize(int64_t value, int64_t minimum, int64_t maximum, int64_t increment)
{
    if (minimum > maximum)
        std::swap(minimum, maximum);
    increment = std::max<int64_t>(increment, 1);
    value = std::clamp(value, minimum, maximum);
    const u64 inc = static_cast<u64>(increment);
    const u64 offset = Offset(value, minimum);
    const u64 rest = offset % inc;
    const u64 down = offset - rest;
    u64 chosen = down;
    // Round up only when strictly nearer and the grid value above still lies in the range.
    if (rest != 0 && inc - rest < rest && Offset(maximum, minimum) - down >= inc)
        chosen = down + inc;
    return FromOffset(minimum, chosen);
}

int CustomIntSlider::PositionCount(int64_t minimum, int64_t maximum, int64_t increment)
{
    const u64 steps = Steps(minimum, maximum, std::max<int64_t>(increment, 1));
    return steps <= static_cast<u64>(kMaxPositions) ? static_cast<int>(steps) : kMaxPositions;
}

int CustomIntSlider::PositionForValue(int64_t value, int64_t minimum, int64_t maximum, int64_t increment)
{
    increment = std::max<int64_t>(increment, 1);
    const u64 steps = Steps(minimum, maximum, increment);
    const int count = PositionCount(minimum, maximum, increment);
    if (steps == 0)
        return 0;
    const u64 k = Offset(Normalize(value, minimum, maximum, increment), minimum) / static_cast<u64>(increment);
    if (steps == static_cast<u64>(count))
        return static_cast<int>(k);
    const u128 scaled = (static_cast<u128>(k) * static_cast<u128>(count) + steps / 2) / steps;
    return static_cast<int>(std::min<u128>(scaled, static_cast<u128>(count)));
}

int64_t CustomIntSlider::ValueForPosition(int position, int64_t minimum, int64_t maximum, int64_t increment)
{
    increment = std::max<int64_t>(increment, 1);
    const u64 steps = Steps(minimum, maximum, increment);
    const int count = PositionCount(minimum, maximum, increment);
    position = std::clamp(position, 0, count);
    u64 k = static_cast<u64>(position);
    if (steps != static_cast<u64>(count) && count > 0)
        k = static_cast<u64>((static_cast<u128>(position) * steps + static_cast<u64>(count) / 2) /
                             static_cast<u64>(count));
    k = std::min(k, steps);
    return FromOffset(minimum, k * static_cast<u64>(increment));
}

bool CustomIntSlider::ParseClamped(const QString& text, int64_t minimum, int64_t maximum, int64_t* value)
{
    const QString t = text.trimmed();
    static const QRegularExpression integer(QStringLiteral("^[+-]?[0-9]+$"));
    if (!integer.match(t).hasMatch())
        return false;
    bool ok = false;
    const qlonglong parsed = t.toLongLong(&ok);
    int64_t v = 0;
    if (ok)
        v = static_cast<int64_t>(parsed);
    else
        v = t.startsWith(QLatin1Char('-')) ? minimum : maximum; // beyond int64: clamp by sign
    *value = std::clamp(v, std::min(minimum, maximum), std::max(minimum, maximum));
    return true;
}

// --- State

void CustomIntSlider::SetRange(int64_t minimum, int64_t maximum)
{
    if (minimum > maximum)
        std::swap(minimum, maximum);
    m_min = minimum;
    m_max = maximum;
    const QSignalBlocker blocker(m_slider);
    m_slider->setRange(0, PositionCount(m_min, m_max, m_inc));
    m_value = Normalize(m_value, m_min, m_max, m_inc);
    ShowValue();
}

void CustomIntSlider::SetIncrement(int64_t increment)
{
    m_inc = std::max<int64_t>(increment, 1);
    SetRange(m_min, m_max);
}

void CustomIntSlider::SetValue(int64_t value)
{
    m_value = Normalize(value, m_min, m_max, m_inc);
    // A value from the source while the user types into the box moves the slider but keeps the text.
    ShowValue(m_edit->hasFocus() && m_edit->isModified());
}

void CustomIntSlider::ShowValue(bool keepText)
{
    {
        const QSignalBlocker blocker(m_slider);
        m_slider->setValue(PositionForValue(m_value, m_min, m_max, m_inc));
    }
    if (keepText)
        return;
    m_edit->setText(QString::number(static_cast<qlonglong>(m_value)));
}

void CustomIntSlider::SetEditBoxWidth(int width)
{
    m_edit->setFixedWidth(width);
}

bool CustomIntSlider::StepUp()
{
    if (Offset(m_max, m_value) < static_cast<u64>(m_inc))
        return false;
    m_value = Normalize(FromOffset(m_value, static_cast<u64>(m_inc)), m_min, m_max, m_inc);
    ShowValue();
    OnStepped(true);
    Q_EMIT Signal_ValueChanged(m_value);
    return true;
}

bool CustomIntSlider::StepDown()
{
    if (Offset(m_value, m_min) < static_cast<u64>(m_inc))
        return false;
    m_value = Normalize(static_cast<int64_t>(static_cast<u64>(m_value) - static_cast<u64>(m_inc)), m_min, m_max, m_inc);
    ShowValue();
    OnStepped(false);
    Q_EMIT Signal_ValueChanged(m_value);
    return true;
}

// --- User input

void CustomIntSlider::OnSliderValueChanged(double position)
{
    const int64_t v = ValueForPosition(static_cast<int>(position), m_min, m_max, m_inc);
    if (v == m_value)
        return;
    m_value = v;
    m_edit->setText(QString::number(static_cast<qlonglong>(m_value)));
    if (m_slider->isSliderDown())
        Q_EMIT Signal_ImmediateUpdate(m_value);
    else
        Q_EMIT Signal_ValueChanged(m_value);
}

void CustomIntSlider::OnSliderPressed()
{
    Q_EMIT Signal_Clicked();
}

void CustomIntSlider::OnSliderReleased()
{
    Q_EMIT Signal_ValueChanged(m_value);
}

void CustomIntSlider::OnEditingFinished(const QString& text)
{
    int64_t v = 0;
    if (!ParseClamped(text, m_min, m_max, &v))
    {
        ShowValue();
        return;
    }
    OnEditBoxValueChanged(v);
}

void CustomIntSlider::OnEditBoxValueChanged(int64_t value)
{
    const int64_t v = Normalize(value, m_min, m_max, m_inc);
    const bool changed = v != m_value;
    m_value = v;
    ShowValue();
    if (changed)
        Q_EMIT Signal_ValueChanged(m_value);
}

void CustomIntSlider::mousePressEvent(QMouseEvent* event)
{
    Q_EMIT Signal_Clicked();
    QWidget::mousePressEvent(event);
}

void CustomIntSlider::wheelEvent(QWheelEvent* event)
{
    const bool focused = hasFocus() || m_slider->hasFocus() || m_edit->hasFocus();
    const int delta = event->angleDelta().y() != 0 ? event->angleDelta().y() : event->angleDelta().x();
    if (!focused || !isEnabled() || delta == 0)
    {
        event->ignore();
        return;
    }
    if (delta > 0)
        StepUp();
    else
        StepDown();
    event->accept();
}

void CustomIntSlider::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Right)
        StepUp();
    else if (event->key() == Qt::Key_Down || event->key() == Qt::Key_Left)
        StepDown();
    else
        QWidget::keyPressEvent(event);
}

bool CustomIntSlider::eventFilter(QObject* watched, QEvent* event)
{
    // Arrow keys step by the increment in both the slider and the edit box, the same in every form.
    if ((watched == m_slider || watched == m_edit) && event->type() == QEvent::KeyPress)
    {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || (watched == m_slider && key == Qt::Key_Right))
        {
            StepUp();
            return true;
        }
        if (key == Qt::Key_Down || (watched == m_slider && key == Qt::Key_Left))
        {
            StepDown();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void CustomIntSlider::UpdateStyleSheet()
{
    m_slider->UpdateStyleSheet();
    m_edit->UpdateStyleSheet();
}

// --- Plain form

CustomSliderIntNormal::CustomSliderIntNormal(QWidget* parent) : CustomIntSlider(parent) {}

void CustomSliderIntNormal::OnSliderPressed()
{
    CustomIntSlider::OnSliderPressed();
    Q_EMIT Signal_SliderPressed();
}

void CustomSliderIntNormal::OnSliderReleased()
{
    Q_EMIT Signal_SliderReleased();
    CustomIntSlider::OnSliderReleased();
}

void CustomSliderIntNormal::OnStepped(bool up)
{
    if (up)
        Q_EMIT Signal_ValueIncremented();
    else
        Q_EMIT Signal_ValueDecremented();
}
