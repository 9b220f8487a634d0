// A modal yes/no question: with InfoDialog and ColorQuestionDialog the one way of asking the user
// anything. exec() returns QDialog::Accepted for "Yes".
//
// GUI thread only.
#pragma once

#include <QDialog>

class QLabel;
class CustomPushButton;

class QuestionDialog : public QDialog
{
    Q_OBJECT

public:
    QuestionDialog(QWidget* parent, const QString& title, const QString& text);

    // Builds, runs and returns true for "Yes".
    static bool Ask(QWidget* parent, const QString& title, const QString& text);

    QString Text() const;
    CustomPushButton* YesButton() const { return m_buttonYes; }
    CustomPushButton* NoButton() const { return m_buttonNo; }

public Q_SLOTS:
    void UpdateStyleSheet();
    void OnButtonYes();
    void OnButtonNo();

private:
    QLabel* m_label = nullptr;
    CustomPushButton* m_buttonYes = nullptr;
    CustomPushButton* m_buttonNo = nullptr;
};
