// A themed combo box that tells a change by the user from one by code:
//   - Signal_CurrentIndexChangedByUserOrFunction(index) for every change of the current index;
//   - Signal_CurrentIndexChanged(index) and Signal_CurrentTextChanged(text) only when the user changed it
//     (popup selection, keys, wheel), so UpdateControls() may call setCurrentIndex freely.
// The wheel only changes the value while the box has focus (eventFilter), so scrolling a panel does not
// change settings by accident.
//
// GUI thread only.
#pragma once

#include <QComboBox>

class Fader;

class CustomComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit CustomComboBox(QWidget* parent = nullptr);

    void FadeIn();
    void FadeOut();
    // Moves an item to a new row and reports the moved item's text by Signal_ItemPositionChanged.
    void MoveItem(int from, int to);
    void showPopup() override;

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_CurrentIndexChanged(int index);
    void Signal_CurrentIndexChangedByUserOrFunction(int index);
    void Signal_Clicked();
    void Signal_ItemPositionChanged(QString oldItem);
    void Signal_CurrentTextChanged(QString text);
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private Q_SLOTS:
    void OnIndexChanged(int index);
    void OnActivated(int index);
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    Fader* m_fader = nullptr;
    // Set by any index change, cleared when a user action starts: an activation that follows a change
    // during that action is the user's change.
    bool m_changedSinceUserAction = false;
};
