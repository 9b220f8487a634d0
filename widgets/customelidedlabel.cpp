#include "widgets/customelidedlabel.h"

#include <QFontMetrics>

CustomElidedLabel::CustomElidedLabel(const QString& text, QWidget* parent, Qt::TextElideMode mode)
    : CustomLabel(QString(), parent), m_mode(mode)
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    SetFullText(text);
}

void CustomElidedLabel::SetFullText(const QString& text)
{
    m_fullText = text;
    setToolTip(text);
    Elide();
}

void CustomElidedLabel::SetElideMode(Qt::TextElideMode mode)
{
    m_mode = mode;
    Elide();
}

QSize CustomElidedLabel::minimumSizeHint() const
{
    return QSize(0, CustomLabel::minimumSizeHint().height());
}

void CustomElidedLabel::UpdateStyleSheet()
{
    CustomLabel::UpdateStyleSheet();
    Elide();
}

void CustomElidedLabel::resizeEvent(QResizeEvent* event)
{
    CustomLabel::resizeEvent(event);
    Elide();
}

void CustomElidedLabel::Elide()
{
    const int available = contentsRect().width();
    setText(fontMetrics().elidedText(m_fullText, m_mode, std::max(available, 0)));
}
