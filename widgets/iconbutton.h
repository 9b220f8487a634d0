// A flat button that shows one icon of the current skin (ApplicationGlobals::Icon24/Icon36 by its size)
// with hover, pressed and checked states, and an optional busy animation (OnTimerBusy turns an arc over
// the icon while a long action runs). A missing icon file draws the text instead, so a button never
// disappears.
//
// GUI thread only.
#pragma once

#include <QAbstractButton>

class QTimer;

class IconButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit IconButton(const QString& iconFile = QString(), QWidget* parent = nullptr);

    // File name inside the skin's icon folder, e.g. "camera.png"; re-read at every skin change.
    void SetIconFile(const QString& iconFile);
    QString IconFile() const { return m_iconFile; }
    // The resolved resource path for the current size and skin.
    QString IconPath() const;
    bool HasIcon() const;
    void setText(const QString& text);

    void SetBusy(bool busy);
    bool IsBusy() const;
    int BusyPhase() const { return m_busyPhase; }

    QSize sizeHint() const override;

public Q_SLOTS:
    void UpdateStyleSheet();

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private Q_SLOTS:
    void OnTimerBusy();

private:
    void LoadIcon();

    QString m_iconFile;
    QPixmap m_pixmap;
    bool m_hover = false;
    QTimer* m_busyTimer = nullptr;
    int m_busyPhase = 0;
};
