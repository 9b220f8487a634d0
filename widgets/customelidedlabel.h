// A CustomLabel that shows its full text elided to its width ("…" at the end by default); the full text
// stays available through FullText() and the tool tip.
//
// GUI thread only.
#pragma once

#include "widgets/customlabel.h"

class CustomElidedLabel : public CustomLabel
{
    Q_OBJECT

public:
    explicit CustomElidedLabel(const QString& text = QString(), QWidget* parent = nullptr,
                               Qt::TextElideMode mode = Qt::ElideRight);

    void SetFullText(const QString& text);
    QString FullText() const { return m_fullText; }
    void SetElideMode(Qt::TextElideMode mode);
    QSize minimumSizeHint() const override;

public Q_SLOTS:
    void UpdateStyleSheet() override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void Elide();

    QString m_fullText;
    Qt::TextElideMode m_mode;
};
