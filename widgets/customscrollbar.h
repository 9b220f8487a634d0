// A thin themed scroll bar; Signal_ValueChanged() tells that the view scrolled, whoever moved it.
//
// GUI thread only.
#pragma once

#include <QScrollBar>

class CustomScrollBar : public QScrollBar
{
    Q_OBJECT

public:
    explicit CustomScrollBar(Qt::Orientation orientation, QWidget* parent = nullptr);

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_ValueChanged();

private Q_SLOTS:
    void OnValueChanged(int value);
};
