#include "widgets/customsizeableedit.h"

#include "common/applicationglobals.h"
#include "widgets/iconbutton.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>

CustomSizeableEdit::CustomSizeableEdit(QWidget* parent) : QWidget(parent)
{
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus);
    setMinimumSize(3 * kBorder + kGrip + 20, 2 * kBorder + 20);
    m_editor = new QPlainTextEdit(this);
    m_editor->setFrameShape(QFrame::NoFrame);
    m_editor->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_editor->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_close = new IconButton(QStringLiteral("close.png"), this);
    m_close->setFixedSize(16, 16);
    m_close->setText(QStringLiteral("x"));
    m_close->hide();
    connect(m_close, &IconButton::clicked, this, &CustomSizeableEdit::Signal_DeleteMe);
    resize(160, 60);
    UpdateStyleSheet();
}

QColor CustomSizeableEdit::TextColor() const
{
    return m_color.isValid() ? m_color : ApplicationGlobals::colorText;
}

QString CustomSizeableEdit::Text() const
{
    return m_editor->toPlainText();
}

void CustomSizeableEdit::SetText(const QString& text)
{
    m_editor->setPlainText(text);
}

void CustomSizeableEdit::OnPaintSettingsChanged(const QColor& color, int pointSize, bool showFrame)
{
    if (color.isValid())
        m_color = color;
    m_pointSize = std::clamp(pointSize, 4, 200);
    m_showFrame = showFrame;
    UpdateStyleSheet();
}

void CustomSizeableEdit::UpdateStyleSheet()
{
    QFont f = ApplicationGlobals::fontNormal;
    f.setPointSize(m_pointSize);
    m_editor->setFont(f);
    m_editor->setStyleSheet(QStringLiteral("QPlainTextEdit { color: %1; background: transparent; border: none; }")
                                .arg(TextColor().name(QColor::HexArgb)));
    m_close->UpdateStyleSheet();
    update();
}

bool CustomSizeableEdit::InGrip(const QPoint& pos) const
{
    return pos.x() >= width() - kGrip && pos.y() >= height() - kGrip;
}

void CustomSizeableEdit::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_editor->setGeometry(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder));
    m_close->move(width() - m_close->width(), 0);
    m_close->raise();
}

void CustomSizeableEdit::enterEvent(QEvent* event)
{
    m_hover = true;
    m_close->show();
    update();
    QWidget::enterEvent(event);
}

void CustomSizeableEdit::leaveEvent(QEvent* event)
{
    m_hover = false;
    m_close->hide();
    unsetCursor();
    update();
    QWidget::leaveEvent(event);
}

void CustomSizeableEdit::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    m_drag = InGrip(event->pos()) ? Drag::Resize : Drag::Move;
    m_pressGlobal = event->globalPos();
    m_pressGeometry = geometry();
    event->accept();
}

void CustomSizeableEdit::mouseMoveEvent(QMouseEvent* event)
{
    if (m_drag == Drag::None)
    {
        setCursor(InGrip(event->pos()) ? Qt::SizeFDiagCursor : Qt::SizeAllCursor);
        return;
    }
    const QPoint delta = event->globalPos() - m_pressGlobal;
    if (m_drag == Drag::Move)
        move(m_pressGeometry.topLeft() + delta);
    else
        resize(std::max(m_pressGeometry.width() + delta.x(), minimumWidth()),
               std::max(m_pressGeometry.height() + delta.y(), minimumHeight()));
    event->accept();
}

void CustomSizeableEdit::mouseReleaseEvent(QMouseEvent* event)
{
    if (m_drag == Drag::None || event->button() != Qt::LeftButton)
        return QWidget::mouseReleaseEvent(event);
    m_drag = Drag::None;
    if (geometry() != m_pressGeometry)
        Q_EMIT Signal_MovedResized();
    event->accept();
}

void CustomSizeableEdit::keyPressEvent(QKeyEvent* event)
{
    // The box itself (not its editor) has the focus after a click on its border.
    if (event->key() == Qt::Key_Delete)
    {
        Q_EMIT Signal_DeleteMe();
        event->accept();
        return;
    }
    QWidget::keyPressEvent(event);
}

void CustomSizeableEdit::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    if (!m_showFrame && !m_hover && !hasFocus())
        return;
    QPainter p(this);
    p.setPen(QPen(m_hover ? ApplicationGlobals::colorAccent : TextColor(), 1, Qt::DashLine));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
    p.fillRect(QRect(width() - kGrip, height() - kGrip, kGrip, kGrip),
               m_hover ? ApplicationGlobals::colorAccent : TextColor());
}
