// A themed progress bar with an optional busy animation (OnTimerBusy moves a block back and forth while no
// value is known). The main window centres one over itself during teardown. GUI thread only.
#pragma once

#include <QWidget>

class QTimer;

class CustomProgressBar : public QWidget
{
    Q_OBJECT

public:
    explicit CustomProgressBar(QWidget* parent = nullptr);

    void SetValue(double percent);
    double Value() const { return m_value; }
    void SetText(const QString& text);
    void SetBusy(bool busy);
    bool IsBusy() const;
    QSize sizeHint() const override;

public Q_SLOTS:
    // The bar paints from the theme's colours at every paint; a skin change only needs the font again.
    void UpdateStyleSheet();

protected:
    void paintEvent(QPaintEvent* event) override;

private Q_SLOTS:
    void OnTimerBusy();

private:
    double m_value = 0.0;
    QString m_text;
    QTimer* m_busyTimer = nullptr;
    int m_busyPhase = 0;
};
