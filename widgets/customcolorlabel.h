// A read-only text in colour: lines added with their own colour (a status in red, a value in the
// accent), on the skin's background; fades with its panel.
//
// GUI thread only.
#pragma once

#include <QColor>
#include <QTextEdit>
#include <QVector>

class Fader;

class CustomColorLabel : public QTextEdit
{
    Q_OBJECT

public:
    explicit CustomColorLabel(QWidget* parent = nullptr);

    // An invalid colour follows the skin's text colour, also after a skin change.
    void AddLine(const QString& text, const QColor& color = QColor());
    void Clear();
    void FadeIn();
    void FadeOut();

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();

private Q_SLOTS:
    void OnFadeInFinished();
    void OnFadeOutFinished();

private:
    void Rebuild();

    struct Line
    {
        QString text;
        QColor color;
    };
    QVector<Line> m_lines;
    Fader* m_fader = nullptr;
};
