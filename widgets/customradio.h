// A themed radio button: a ring with a filled dot and its text. Within one parent, checking one
// unchecks its auto-exclusive siblings (QAbstractButton's rule). A user click reports Signal_Clicked and
// StateChanged(state); setChecked from code reports StateChanged only.
//
// GUI thread only.
#pragma once

#include <QAbstractButton>

class CustomRadio : public QAbstractButton
{
    Q_OBJECT

public:
    explicit CustomRadio(const QString& text = QString(), QWidget* parent = nullptr);
    QSize sizeHint() const override;

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_Clicked();
    void StateChanged(bool state);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& pos) const override;

private Q_SLOTS:
    void OnButtonClicked();
};
