// A themed single-line edit: reports a click, the end of an edit with its text, and a clearing by the user
// (the text became empty); fades with its panel.
//
// GUI thread only.
#pragma once

#include <QLineEdit>

class Fader;

class CustomEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit CustomEdit(QWidget* parent = nullptr);

    void FadeIn();
    void FadeOut();

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_Clicked();
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();
    void Signal_Cleared();
    void Signal_EditingFinished(QString text);

protected:
    void mousePressEvent(QMouseEvent* event) override;

private Q_SLOTS:
    // textEdited (by the user only): an edit that empties the box is a clearing.
    void OnTextChanged(const QString& text);
    void OnEditingFinished();
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    Fader* m_fader = nullptr;
};
