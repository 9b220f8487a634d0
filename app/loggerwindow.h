// The log window: a fixed element of the main window that shows what LogMessageSender carries and can save
// it as text.
//
// Threads: every method runs on the GUI thread. Messages from worker threads reach the slots through the
// sender's signals by automatic (therefore queued) connections, which copy their strings; nothing here is
// locked.
//
// Filtering happens at the door, not in the view: the two show buttons connect or disconnect the error and
// the event signal, so a message that arrives while its button is off is lost for good. The free-text
// signal is always connected.
//
// Messages are coalesced: a slot only queues the message, and one flush per pass of the event loop writes
// what has arrived, so a camera or four threads flooding the log cost one text layout per pass instead of
// one per message, and of a flood only the newest kMaxLines lines are written at all.
//
// The view holds at most kMaxLines lines; the oldest go first. To make "line kMaxLines + 1 pushes line 1
// out" exact, a line's closing break is written only when the next text arrives, so the document never
// carries an empty trailing block; the save adds the last break back.
#pragma once

#include "controlelement/controlelement.h"

#include <QColor>
#include <QString>

#include <vector>

class IconButton;
class QTextEdit;

class LoggerWindow : public ControlElement
{
    Q_OBJECT

public:
    static constexpr int kMaxLines = 1000;

    explicit LoggerWindow(QWidget* parent = nullptr);

    // Writes the shown text and one line break to fileName, atomically: an existing file is replaced only
    // when the whole text was written, and a failure leaves both the file and the view as they were.
    bool SaveLogTo(const QString& fileName);
    // Writes the queued messages now; the event loop does it on its own within one pass.
    void Flush();
    int PendingCount() const { return static_cast<int>(pending.size()); }

    // For tests and the options panel: the view and the state of the buttons.
    QTextEdit* LogView() const { return logView; }
    bool IsEmpty() const { return isEmpty; }
    bool IsSaveEnabled() const;
    IconButton* ButtonShowErrors() const { return buttonShowErrors; }
    IconButton* ButtonShowEvents() const { return buttonShowEvents; }
    IconButton* ButtonAutoScroll() const { return buttonAutoScroll; }
    IconButton* ButtonClear() const { return buttonClear; }
    IconButton* ButtonSave() const { return buttonSave; }

public Q_SLOTS:
    void ConnectControls() override;
    void DisconnectControls() override;
    void UpdateControls() override;
    void UpdateStyleSheetWithoutDestroy() override;
    void UpdateTexts() override;
    void OnAddLogOrnaError(QString serialNumber, QString thread, QString message, int type);
    void OnAddLogEvent(QString serialNumber, QString thread, QString message, int type);
    void OnAddLogAnyMessage(QString message, QColor col, QString thread);

private Q_SLOTS:
    void OnCaptureOrnaErrors();
    void OnCaptureEvents();
    void OnButtonClear();
    void OnButtonAutoScroll();
    void OnButtonSave();

private:
    struct PendingMessage
    {
        QString prefix;
        QString serialNumber;
        QString dateTime;
        QString message;
        QColor color;
    };
    void Queue(PendingMessage message);
    // The common step of the three add slots; an empty prefix inserts message as it stands.
    void AddMessage(const PendingMessage& message, class QTextCursor& cursor);
    void InsertText(class QTextCursor& cursor, const QString& text);
    void StyleButtons();

    QTextEdit* logView = nullptr;
    IconButton* buttonShowErrors = nullptr;
    IconButton* buttonShowEvents = nullptr;
    IconButton* buttonAutoScroll = nullptr;
    IconButton* buttonClear = nullptr;
    IconButton* buttonSave = nullptr;

    QString errorPrefix;
    QString eventPrefix;
    QString lastSaveDirectory;
    bool autoScroll = true;
    bool isEmpty = true;
    // A line's closing break, held back until more text arrives (see the header comment).
    bool pendingBreak = false;
    QColor lastTextColor;
    bool controlsConnected = false;
    std::vector<PendingMessage> pending;
    bool flushScheduled = false;
};
