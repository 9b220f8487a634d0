// A modal message with one "OK" button: the one way of telling the user something that needs no answer.
// An optional hide time closes it by itself (OnTimerHide). GUI thread only.
#pragma once

#include <QDialog>

class QLabel;
class CustomPushButton;
class QTimer;

class InfoDialog : public QDialog
{
    Q_OBJECT

public:
    InfoDialog(QWidget* parent, const QString& title, const QString& text, int hideAfterMs = 0);

    QString Text() const;
    CustomPushButton* OkButton() const { return m_buttonOk; }

public Q_SLOTS:
    // Applies the theme's colours and fonts.
    void UpdateStyleSheet();

private Q_SLOTS:
    void OnButtonOk();
    void OnTimerHide();

private:
    QLabel* m_label = nullptr;
    CustomPushButton* m_buttonOk = nullptr;
    QTimer* m_hideTimer = nullptr;
};
