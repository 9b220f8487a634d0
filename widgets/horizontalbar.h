// A horizontal level bar (e.g. the share of a link's bandwidth a camera uses): a fraction 0..1 filled in
// a colour that turns to the warning colour above a threshold, with an optional text on it.
//
// GUI thread only.
#pragma once

#include <QColor>
#include <QWidget>

class HorizontalBar : public QWidget
{
    Q_OBJECT

public:
    explicit HorizontalBar(QWidget* parent = nullptr);

    // Clamped to 0..1; non-finite values count as 0.
    void SetFraction(double fraction);
    double Fraction() const { return m_fraction; }
    void SetWarningThreshold(double threshold)
    {
        m_threshold = threshold;
        update();
    }
    void SetText(const QString& text);
    QColor BarColor() const;
    QSize sizeHint() const override;

public Q_SLOTS:
    void UpdateStyleSheet();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double m_fraction = 0.0;
    double m_threshold = 1.0;
    QString m_text;
};
