// A text box placed on the image by the annotation tools: the user types into it, drags it by its border,
// resizes it at the bottom-right corner and removes it with its close button. The owner keeps the
// box's geometry in image coordinates and is told of each finished move or resize (Signal_MovedResized)
// and of the wish to remove it (Signal_DeleteMe; the owner deletes it).
//
// GUI thread only.
#pragma once

#include <QColor>
#include <QWidget>

class IconButton;
class QPlainTextEdit;

class CustomSizeableEdit : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kBorder = 6;
    static constexpr int kGrip = 10;

    explicit CustomSizeableEdit(QWidget* parent = nullptr);

    QString Text() const;
    void SetText(const QString& text);
    // The annotation colour; until one is set it follows the skin's text colour.
    QColor TextColor() const;
    int PointSize() const { return m_pointSize; }
    QPlainTextEdit* Editor() const { return m_editor; }
    IconButton* CloseButton() const { return m_close; }

public Q_SLOTS:
    // Colour and size of the annotation text, and whether the frame is drawn when not hovered.
    void OnPaintSettingsChanged(const QColor& color, int pointSize, bool showFrame);
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_DeleteMe();
    void Signal_MovedResized();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    enum class Drag
    {
        None,
        Move,
        Resize
    };
    bool InGrip(const QPoint& pos) const;

    QPlainTextEdit* m_editor = nullptr;
    IconButton* m_close = nullptr;
    QColor m_color;
    int m_pointSize = 12;
    bool m_showFrame = true;
    bool m_hover = false;
    Drag m_drag = Drag::None;
    QPoint m_pressGlobal;
    QRect m_pressGeometry;
};
