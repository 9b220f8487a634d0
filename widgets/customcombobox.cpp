#include "widgets/customcombobox.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"
#include "widgets/theme.h"

#include <QAbstractItemView>
#include <QEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

CustomComboBox::CustomComboBox(QWidget* parent) : QComboBox(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    installEventFilter(this);
    connect(this, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &CustomComboBox::OnIndexChanged);
    connect(this, QOverload<int>::of(&QComboBox::activated), this, &CustomComboBox::OnActivated);
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomComboBox::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomComboBox::OnFadeOutFinished);
    UpdateStyleSheet();
}

void CustomComboBox::OnIndexChanged(int index)
{
    m_changedSinceUserAction = true;
    Q_EMIT Signal_CurrentIndexChangedByUserOrFunction(index);
}

void CustomComboBox::OnActivated(int index)
{
    if (!m_changedSinceUserAction)
        return;
    m_changedSinceUserAction = false;
    Q_EMIT Signal_CurrentIndexChanged(index);
    Q_EMIT Signal_CurrentTextChanged(itemText(index));
}

void CustomComboBox::showPopup()
{
    m_changedSinceUserAction = false;
    QComboBox::showPopup();
}

void CustomComboBox::keyPressEvent(QKeyEvent* event)
{
    m_changedSinceUserAction = false;
    QComboBox::keyPressEvent(event);
}

void CustomComboBox::wheelEvent(QWheelEvent* event)
{
    m_changedSinceUserAction = false;
    QComboBox::wheelEvent(event);
}

void CustomComboBox::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        Q_EMIT Signal_Clicked();
    QComboBox::mousePressEvent(event);
}

bool CustomComboBox::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == this && event->type() == QEvent::Wheel && !hasFocus())
    {
        // Let the surrounding scroll area have the wheel.
        event->ignore();
        return true;
    }
    return QComboBox::eventFilter(watched, event);
}

void CustomComboBox::MoveItem(int from, int to)
{
    if (from < 0 || from >= count() || to < 0 || to >= count() || from == to)
        return;
    const QString text = itemText(from);
    const QVariant data = itemData(from);
    const QIcon icon = itemIcon(from);
    const bool wasCurrent = currentIndex() == from;
    {
        // Moving an item is no change of the selection.
        const QSignalBlocker blocker(this);
        removeItem(from);
        insertItem(to, icon, text, data);
        if (wasCurrent)
            setCurrentIndex(to);
    }
    Q_EMIT Signal_ItemPositionChanged(text);
}

void CustomComboBox::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setStyleSheet(
        QStringLiteral("QComboBox { color: %1; background-color: %2; border: 1px solid %3; padding: 2px 6px; %4 }"
                       "QComboBox:hover, QComboBox:focus { border-color: %5; }"
                       "QComboBox:disabled { color: %6; background-color: %7; }"
                       "QComboBox::drop-down { border: none; width: 18px; }"
                       "QComboBox QAbstractItemView { color: %1; background-color: %2; border: 1px solid %3;"
                       " selection-background-color: %5; outline: none; }")
            .arg(G::colorText.name(), G::colorInputBackground.name(), G::colorBorder.name(), Theme::FontCss(),
                 G::colorAccent.name(), G::colorDisabledText.name(), G::colorDisabledBackground.name()) +
        Theme::ScrollBarCss());
}

void CustomComboBox::FadeIn()
{
    m_fader->Start(true);
}

void CustomComboBox::FadeOut()
{
    m_fader->Start(false);
}

void CustomComboBox::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomComboBox::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}
