// A modal yes/no question whose body is made of coloured lines (a status in the skin's red, an address
// in its accent), for messages that need the user to see which part matters, e.g. the service firmware
// question. exec() returns QDialog::Accepted for "Yes".
//
// GUI thread only.
#pragma once

#include <QColor>
#include <QDialog>
#include <QStringList>

class QLabel;
class CustomPushButton;

class ColorQuestionDialog : public QDialog
{
    Q_OBJECT

public:
    // width: the fixed width of the text; 0 lets the dialog size itself.
    ColorQuestionDialog(QWidget* parent, const QString& title, int width = 0);

    // Appends one line; an invalid colour uses the skin's text colour at the time of painting.
    void AddLine(const QString& text, const QColor& color = QColor());
    void SetQuestion(const QString& question);
    // The plain text of all lines and the question, one per line.
    QString Text() const;
    CustomPushButton* YesButton() const { return m_buttonYes; }
    CustomPushButton* NoButton() const { return m_buttonNo; }

public Q_SLOTS:
    void UpdateStyleSheet();
    void OnButtonYes();
    void OnButtonNo();

private:
    void RebuildText();

    struct Line
    {
        QString text;
        QColor color;
    };
    QVector<Line> m_lines;
    QString m_question;
    QLabel* m_label = nullptr;
    CustomPushButton* m_buttonYes = nullptr;
    CustomPushButton* m_buttonNo = nullptr;
};
