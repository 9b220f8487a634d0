// A row of labels of which one is highlighted (the current step of a sequence, the active mode): the
// highlighted label takes the accent colour, the others the skin's text colour.
//
// GUI thread only.
#pragma once

#include <QStringList>
#include <QVector>
#include <QWidget>

class CustomLabel;
class QHBoxLayout;

class HighlightLabelGroup : public QWidget
{
    Q_OBJECT

public:
    explicit HighlightLabelGroup(QWidget* parent = nullptr);

    int AddLabel(const QString& text);
    void SetLabels(const QStringList& texts);
    int Count() const { return m_labels.size(); }
    CustomLabel* Label(int index) const;
    // -1 highlights none; out of range is ignored.
    void SetHighlighted(int index);
    int Highlighted() const { return m_highlighted; }

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_LabelClicked(int index);

private:
    QHBoxLayout* m_layout = nullptr;
    QVector<CustomLabel*> m_labels;
    int m_highlighted = -1;
};
