#include "app/loggerwindow.h"

#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "controlelement/customlayout.h"
#include "widgets/customfiledialog.h"
#include "widgets/customseparatorline.h"
#include "widgets/iconbutton.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QScrollBar>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QTimer>

namespace {
constexpr int kButtonSize = 30;
constexpr int kIconSize = 24;
const char* const kDateTimeFormat = "yyyy-MM-dd: hh:mm:ss";
} // namespace

LoggerWindow::LoggerWindow(QWidget* parent) : ControlElement(parent, false)
{
    errorPrefix = tr("%1 error | ").arg(QStringLiteral("KVX orna genericAPI"));
    eventPrefix = tr("Remote device event | ");

    auto makeButton = [this](const char* iconFile, bool checkable) {
        auto* button = new IconButton(QString::fromLatin1(iconFile), this);
        button->setCheckable(checkable);
        button->setChecked(checkable);
        button->setIconSize(QSize(kIconSize, kIconSize));
        return button;
    };
    buttonShowErrors = makeButton("exclamation-outline.png", true);
    buttonShowEvents = makeButton("message-outline.png", true);
    buttonAutoScroll = makeButton("arrow-down.png", true);
    buttonClear = makeButton("delete-forever.png", false);
    buttonSave = makeButton("content-save.png", false);

    CustomLayout* rows = Layout();
    rows->AddWidget(0, buttonShowErrors, kButtonSize, kButtonSize);
    rows->AddSpacing(0, 5);
    rows->AddWidget(0, buttonShowEvents, kButtonSize, kButtonSize);
    rows->AddSpacing(0, 10);
    rows->AddWidget(0, new CustomSeparatorLine(Qt::Vertical, this), 1, kButtonSize);
    rows->AddSpacing(0, 10);
    rows->AddWidget(0, buttonAutoScroll, kButtonSize, kButtonSize);
    rows->AddSpacing(0, 10);
    rows->AddWidget(0, new CustomSeparatorLine(Qt::Vertical, this), 1, kButtonSize);
    rows->AddSpacing(0, 10);
    rows->AddWidget(0, buttonClear, kButtonSize, kButtonSize);
    rows->AddSpacing(0, 5);
    rows->AddWidget(0, buttonSave, kButtonSize, kButtonSize);
    rows->AddStretch(0);

    logView = new QTextEdit(this);
    logView->setObjectName(QStringLiteral("LogView"));
    logView->setReadOnly(true);
    logView->setLineWrapMode(QTextEdit::NoWrap);
    logView->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    logView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    logView->setUndoRedoEnabled(false);
    logView->document()->setMaximumBlockCount(kMaxLines);
    rows->AddWidget(1, logView, 0, 0);

    lastTextColor = ApplicationGlobals::colorText;
    SetTitle(tr("Logger"), true);
    SetDefaultSize(32 * ApplicationGlobals::gridSize + 1, 16 * ApplicationGlobals::gridSize + 1,
                   12 * ApplicationGlobals::gridSize + 1, 8 * ApplicationGlobals::gridSize + 1);
    UpdateTexts();
    StyleButtons();
    OnButtonClear();
    ConnectControls();
}

// --- Connections

void LoggerWindow::ConnectControls()
{
    if (controlsConnected)
        return;
    controlsConnected = true;
    connect(buttonShowErrors, &QAbstractButton::clicked, this, &LoggerWindow::OnCaptureOrnaErrors);
    connect(buttonShowEvents, &QAbstractButton::clicked, this, &LoggerWindow::OnCaptureEvents);
    connect(buttonAutoScroll, &QAbstractButton::clicked, this, &LoggerWindow::OnButtonAutoScroll);
    connect(buttonClear, &QAbstractButton::clicked, this, &LoggerWindow::OnButtonClear);
    connect(buttonSave, &QAbstractButton::clicked, this, &LoggerWindow::OnButtonSave);
    // UniqueConnection: the capture slots may already have connected these.
    connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogAnyMessage, this,
            &LoggerWindow::OnAddLogAnyMessage, Qt::UniqueConnection);
    OnCaptureOrnaErrors();
    OnCaptureEvents();
}

void LoggerWindow::DisconnectControls()
{
    // Only the buttons: the log keeps listening while the panel restyles, or messages of that moment
    // would be lost.
    controlsConnected = false;
    disconnect(buttonShowErrors, nullptr, this, nullptr);
    disconnect(buttonShowEvents, nullptr, this, nullptr);
    disconnect(buttonAutoScroll, nullptr, this, nullptr);
    disconnect(buttonClear, nullptr, this, nullptr);
    disconnect(buttonSave, nullptr, this, nullptr);
}

void LoggerWindow::OnCaptureOrnaErrors()
{
    auto& sender = LogMessageSender::Instance();
    if (buttonShowErrors->isChecked())
        connect(&sender, &LogMessageSender::Signal_LogOrnaError, this, &LoggerWindow::OnAddLogOrnaError,
                Qt::UniqueConnection);
    else
        disconnect(&sender, &LogMessageSender::Signal_LogOrnaError, this, &LoggerWindow::OnAddLogOrnaError);
}

void LoggerWindow::OnCaptureEvents()
{
    auto& sender = LogMessageSender::Instance();
    if (buttonShowEvents->isChecked())
        connect(&sender, &LogMessageSender::Signal_LogEvent, this, &LoggerWindow::OnAddLogEvent, Qt::UniqueConnection);
    else
        disconnect(&sender, &LogMessageSender::Signal_LogEvent, this, &LoggerWindow::OnAddLogEvent);
}

// --- Adding messages

void LoggerWindow::OnAddLogOrnaError(QString serialNumber, QString thread, QString message, int type)
{
    Q_UNUSED(thread)
    Q_UNUSED(type)
    Queue({errorPrefix, serialNumber, QDateTime::currentDateTime().toString(QLatin1String(kDateTimeFormat)), message,
           ApplicationGlobals::colorRedLog});
}

void LoggerWindow::OnAddLogEvent(QString serialNumber, QString thread, QString message, int type)
{
    Q_UNUSED(thread)
    const QColor color = type == 1 ? ApplicationGlobals::colorRedLog : ApplicationGlobals::colorBlueLog;
    Queue({eventPrefix, serialNumber, QDateTime::currentDateTime().toString(QLatin1String(kDateTimeFormat)), message,
           color});
}

void LoggerWindow::OnAddLogAnyMessage(QString message, QColor col, QString thread)
{
    Q_UNUSED(thread)
    Queue({QString(), QString(), QString(), message, col});
}

void LoggerWindow::Queue(PendingMessage message)
{
    pending.push_back(std::move(message));
    if (!flushScheduled)
    {
        flushScheduled = true;
        // A zero timer runs after the posted events of this pass, so a burst of queued messages is
        // written in one go.
        QTimer::singleShot(0, this, &LoggerWindow::Flush);
    }
}

void LoggerWindow::Flush()
{
    flushScheduled = false;
    if (pending.empty())
        return;

    // Of a flood only what the view can hold is written: count lines from the newest message backwards.
    size_t first = pending.size();
    int lines = 0;
    while (first > 0 && lines <= kMaxLines)
    {
        --first;
        const PendingMessage& m = pending[first];
        lines += m.prefix.isEmpty() ? static_cast<int>(m.message.count(QLatin1Char('\n'))) : 1;
    }

    if (isEmpty)
    {
        logView->clear();
        pendingBreak = false;
        buttonSave->setEnabled(true);
        isEmpty = false;
        logView->setTextInteractionFlags(Qt::TextSelectableByMouse);
    }

    const QTextCursor savedCursor = logView->textCursor();
    QScrollBar* vertical = logView->verticalScrollBar();
    QScrollBar* horizontal = logView->horizontalScrollBar();
    const int verticalValue = vertical->value();
    const int horizontalValue = horizontal->value();

    QTextCursor cursor(logView->document());
    cursor.movePosition(QTextCursor::End);
    cursor.beginEditBlock();
    for (size_t i = first; i < pending.size(); ++i)
        AddMessage(pending[i], cursor);
    cursor.endEditBlock();
    pending.clear();

    logView->setTextCursor(savedCursor);
    vertical->setValue(autoScroll ? vertical->maximum() : verticalValue);
    horizontal->setValue(horizontalValue);
}

void LoggerWindow::InsertText(QTextCursor& cursor, const QString& text)
{
    if (text.isEmpty())
        return;
    if (pendingBreak)
        cursor.insertText(QStringLiteral("\n"));
    if (text.endsWith(QLatin1Char('\n')))
    {
        cursor.insertText(text.left(text.size() - 1));
        pendingBreak = true;
    }
    else
    {
        cursor.insertText(text);
        pendingBreak = false;
    }
}

void LoggerWindow::AddMessage(const PendingMessage& m, QTextCursor& cursor)
{
    QTextCharFormat format;
    format.setForeground(m.color);
    cursor.setCharFormat(format);
    if (m.prefix.isEmpty())
    {
        InsertText(cursor, m.message);
        return;
    }
    // The break of the previous line first, then the line in two colours: prefix, then date and time,
    // serial number and message in the text colour.
    InsertText(cursor, m.prefix);
    QTextCharFormat textFormat;
    textFormat.setForeground(ApplicationGlobals::colorText);
    cursor.setCharFormat(textFormat);
    cursor.insertText(m.dateTime + QStringLiteral(" | ") + m.serialNumber + QStringLiteral(" | "));
    InsertText(cursor, m.message + QStringLiteral("\n"));
}

// --- Buttons

void LoggerWindow::OnButtonClear()
{
    // What arrived before the click goes with the rest.
    pending.clear();
    isEmpty = true;
    pendingBreak = false;
    logView->clear();
    QTextCursor cursor(logView->document());
    QTextCharFormat format;
    format.setForeground(ApplicationGlobals::colorDisabledText);
    cursor.setCharFormat(format);
    cursor.insertText(tr("No messages"));
    logView->setTextInteractionFlags(Qt::NoTextInteraction);
    buttonSave->setEnabled(false);
}

void LoggerWindow::OnButtonAutoScroll()
{
    autoScroll = buttonAutoScroll->isChecked();
    if (autoScroll)
        logView->verticalScrollBar()->setValue(logView->verticalScrollBar()->maximum());
}

void LoggerWindow::OnButtonSave()
{
    const QString proposed =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss")) + QStringLiteral("_log.txt");
    CustomFileDialog dialog(this, tr("Save log"), lastSaveDirectory, tr("Text (*.txt)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("txt"));
    dialog.setOption(QFileDialog::DontConfirmOverwrite, false);
    dialog.selectFile(proposed);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString fileName = dialog.selectedFiles().constFirst();
    lastSaveDirectory = fileName.left(fileName.lastIndexOf(QLatin1Char('/')));
    // A failed save keeps what the view shows; the user sees the old file (if any) untouched.
    SaveLogTo(fileName);
}

bool LoggerWindow::SaveLogTo(const QString& fileName)
{
    Flush();
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    const QByteArray text = logView->toPlainText().toUtf8() + '\n';
    if (file.write(text) != text.size())
    {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

bool LoggerWindow::IsSaveEnabled() const
{
    return buttonSave->isEnabled();
}

// --- Refresh

void LoggerWindow::UpdateTexts()
{
    SetTitle(tr("Logger"), true);
    buttonShowErrors->setToolTip(tr("Show messages"));
    buttonShowEvents->setToolTip(tr("Show remote device events"));
    buttonAutoScroll->setToolTip(tr("Auto scroll"));
    buttonClear->setToolTip(tr("Clear all"));
    buttonSave->setToolTip(tr("Save log"));
}

void LoggerWindow::StyleButtons()
{
    using G = ApplicationGlobals;
    for (IconButton* button : {buttonShowErrors, buttonShowEvents, buttonAutoScroll, buttonClear, buttonSave})
        button->UpdateStyleSheet();
    logView->setFont(G::fontNormal);
    logView->setStyleSheet(
        QStringLiteral("QTextEdit#LogView { background-color: %1; color: %2; border: 1px solid %3; }")
            .arg(G::colorInputBackground.name(), G::colorText.name(), G::colorBorder.name()));
}

void LoggerWindow::UpdateStyleSheetWithoutDestroy()
{
    ControlElement::UpdateStyleSheetWithoutDestroy();
    StyleButtons();
}

void LoggerWindow::UpdateControls()
{
    UpdateTexts();
    if (ApplicationGlobals::colorText != lastTextColor)
    {
        // Coloured text can not be re-coloured line by line: a new skin starts a new log.
        lastTextColor = ApplicationGlobals::colorText;
        OnButtonClear();
    }
    else if (isEmpty)
    {
        OnButtonClear();
    }
}
