// The log window against the process-wide sender: the 1,000-line cap, the show filters that drop at the
// door, auto scroll, the empty text and the save button, a new skin clearing the log, the flood from four
// threads, and the atomic save (an unwritable target fails and keeps both the view and the old file).
#include "app/loggerwindow.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "widgets/iconbutton.h"

#include <QElapsedTimer>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>
#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

namespace {
QString FirstLine(const LoggerWindow& logger)
{
    return logger.LogView()->document()->firstBlock().text();
}
QString LastLine(const LoggerWindow& logger)
{
    return logger.LogView()->document()->lastBlock().text();
}
int LineCount(const LoggerWindow& logger)
{
    return logger.LogView()->document()->blockCount();
}
void Emit(const QString& text)
{
    Q_EMIT LogMessageSender::Instance().Signal_LogAnyMessage(text + QLatin1Char('\n'), Qt::white, QStringLiteral("-"));
}
} // namespace

class TestLoggerWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark); }

    void emptyViewShowsNoMessagesUntilTheFirstArrives()
    {
        LoggerWindow logger;
        QVERIFY(logger.IsEmpty());
        QCOMPARE(logger.LogView()->toPlainText(), QStringLiteral("No messages"));
        QVERIFY(!logger.IsSaveEnabled());
        QCOMPARE(logger.LogView()->textInteractionFlags(), Qt::NoTextInteraction);

        Q_EMIT LogMessageSender::Instance().Signal_LogOrnaError("1234", "void X::Y()", "broken", 0);
        QTRY_VERIFY(!logger.IsEmpty());
        QVERIFY(logger.IsSaveEnabled());
        const QString text = logger.LogView()->toPlainText();
        QVERIFY(!text.contains(QStringLiteral("No messages")));
        // Prefix, date and time, serial number, message; the reporting function is not shown.
        QVERIFY2(QRegularExpression(QStringLiteral("^KVX orna genericAPI error \\| \\d{4}-\\d\\d-\\d\\d: "
                                                   "\\d\\d:\\d\\d:\\d\\d \\| 1234 \\| broken$"))
                     .match(text)
                     .hasMatch(),
                 qPrintable(text));
        QVERIFY(!text.contains(QStringLiteral("X::Y")));

        logger.ButtonClear()->click();
        QVERIFY(logger.IsEmpty());
        QVERIFY(!logger.IsSaveEnabled());
        QCOMPARE(logger.LogView()->toPlainText(), QStringLiteral("No messages"));
    }

    void lineThousandAndOnePushesLineOneOut()
    {
        LoggerWindow logger;
        for (int i = 1; i <= LoggerWindow::kMaxLines; ++i)
            logger.OnAddLogAnyMessage(QStringLiteral("line %1\n").arg(i), Qt::white, "-");
        logger.Flush();
        QCOMPARE(LineCount(logger), LoggerWindow::kMaxLines);
        QCOMPARE(FirstLine(logger), QStringLiteral("line 1"));
        QCOMPARE(LastLine(logger), QStringLiteral("line 1000"));

        logger.OnAddLogAnyMessage(QStringLiteral("line 1001\n"), Qt::white, "-");
        logger.Flush();
        QCOMPARE(LineCount(logger), LoggerWindow::kMaxLines);
        QCOMPARE(FirstLine(logger), QStringLiteral("line 2"));
        QCOMPARE(LastLine(logger), QStringLiteral("line 1001"));
    }

    void messageWhileShowButtonIsOffNeverAppears()
    {
        LoggerWindow logger;
        auto& sender = LogMessageSender::Instance();
        QTest::mouseClick(logger.ButtonShowErrors(), Qt::LeftButton);
        QTest::mouseClick(logger.ButtonShowEvents(), Qt::LeftButton);
        QVERIFY(!logger.ButtonShowErrors()->isChecked());
        Q_EMIT sender.Signal_LogOrnaError("-", "f", "hidden error", 0);
        Q_EMIT sender.Signal_LogEvent("-", "f", "hidden event", 2);
        Emit(QStringLiteral("free text passes"));
        QTRY_VERIFY(!logger.IsEmpty());

        QTest::mouseClick(logger.ButtonShowErrors(), Qt::LeftButton);
        QTest::mouseClick(logger.ButtonShowEvents(), Qt::LeftButton);
        Q_EMIT sender.Signal_LogEvent("-", "f", "visible event", 2);
        QTRY_VERIFY(logger.LogView()->toPlainText().contains(QStringLiteral("visible event")));
        const QString text = logger.LogView()->toPlainText();
        QVERIFY(!text.contains(QStringLiteral("hidden")));
        QVERIFY(text.contains(QStringLiteral("free text passes")));
        QVERIFY(text.contains(QStringLiteral("Remote device event | ")));
    }

    void eventTypeChoosesTheColour()
    {
        LoggerWindow logger;
        logger.OnAddLogEvent("-", "f", "as error", 1);
        logger.OnAddLogEvent("-", "f", "as event", 5);
        logger.Flush();
        const QTextBlock first = logger.LogView()->document()->firstBlock();
        const QTextBlock second = first.next();
        QCOMPARE(first.begin().fragment().charFormat().foreground().color(), ApplicationGlobals::colorRedLog);
        QCOMPARE(second.begin().fragment().charFormat().foreground().color(), ApplicationGlobals::colorBlueLog);
    }

    void autoScrollOffLeavesTheViewWhereItWas()
    {
        LoggerWindow logger;
        logger.resize(400, 200);
        logger.show();
        QVERIFY(QTest::qWaitForWindowExposed(&logger));
        for (int i = 0; i < 200; ++i)
            logger.OnAddLogAnyMessage(QStringLiteral("line %1\n").arg(i), Qt::white, "-");
        logger.Flush();
        QScrollBar* bar = logger.LogView()->verticalScrollBar();
        QVERIFY(bar->maximum() > 0);
        QCOMPARE(bar->value(), bar->maximum());

        QTest::mouseClick(logger.ButtonAutoScroll(), Qt::LeftButton);
        QVERIFY(!logger.ButtonAutoScroll()->isChecked());
        bar->setValue(bar->maximum() / 3);
        const int where = bar->value();
        const int oldMaximum = bar->maximum();
        for (int i = 0; i < 50; ++i)
            logger.OnAddLogAnyMessage(QStringLiteral("more %1\n").arg(i), Qt::white, "-");
        logger.Flush();
        QVERIFY(bar->maximum() > oldMaximum);
        QCOMPARE(bar->value(), where);

        // Switched back on, the next message scrolls to the end again.
        QTest::mouseClick(logger.ButtonAutoScroll(), Qt::LeftButton);
        logger.OnAddLogAnyMessage(QStringLiteral("last\n"), Qt::white, "-");
        logger.Flush();
        QCOMPARE(bar->value(), bar->maximum());
    }

    void newSkinClearsTheLog()
    {
        LoggerWindow logger;
        logger.OnAddLogAnyMessage(QStringLiteral("before\n"), Qt::white, "-");
        logger.Flush();
        QVERIFY(!logger.IsEmpty());
        // Same skin: nothing happens.
        logger.UpdateControls();
        QVERIFY(!logger.IsEmpty());
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Light);
        logger.UpdateStyleSheet();
        QVERIFY(logger.IsEmpty());
        QCOMPARE(logger.LogView()->toPlainText(), QStringLiteral("No messages"));
        QVERIFY(!logger.IsSaveEnabled());
    }

    void floodFromFourThreadsKeepsTheNewestThousand()
    {
        LoggerWindow logger;
        logger.show();
        constexpr int kThreads = 4;
        constexpr int kPerThread = 2500;
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
        {
            threads.emplace_back([t] {
                for (int i = 0; i < kPerThread; ++i)
                    Q_EMIT LogMessageSender::Instance().Signal_LogOrnaError(
                        QStringLiteral("cam%1").arg(t), QStringLiteral("worker"), QStringLiteral("n%1").arg(i), 0);
            });
        }
        for (auto& thread : threads)
            thread.join();
        // Posted after every worker message, so it is the last to arrive.
        std::thread([] { Emit(QStringLiteral("END")); }).join();

        QElapsedTimer clock;
        clock.start();
        QTRY_COMPARE_WITH_TIMEOUT(LastLine(logger), QStringLiteral("END"), 60000);
        QCOMPARE(LineCount(logger), LoggerWindow::kMaxLines);
        QCOMPARE(logger.PendingCount(), 0);
        // The newest worker message is some thread's final one, so at least one final message survives;
        // a cap that kept the oldest lines would lose them all.
        const QString text = logger.LogView()->toPlainText();
        int finals = 0;
        for (int t = 0; t < kThreads; ++t)
            finals += text.contains(QStringLiteral("cam%1 | n%2\n").arg(t).arg(kPerThread - 1)) ? 1 : 0;
        QVERIFY(finals >= 1);
        qInfo("flood of %d messages written in %lld ms", kThreads * kPerThread,
              static_cast<long long>(clock.elapsed()));
    }

    void saveWritesTheTextAndAFailedSaveKeepsEverything()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        LoggerWindow logger;
        logger.OnAddLogAnyMessage(QStringLiteral("alpha\n"), Qt::white, "-");
        logger.OnAddLogAnyMessage(QStringLiteral("beta\n"), Qt::white, "-");
        const QString path = dir.filePath(QStringLiteral("2026-01-01_00-00-00_log.txt"));
        QVERIFY(logger.SaveLogTo(path));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("alpha\nbeta\n"));
        file.close();

        // A folder that does not exist: the save fails, the view keeps its text.
        QVERIFY(!logger.SaveLogTo(dir.filePath(QStringLiteral("missing/sub/x_log.txt"))));
        QCOMPARE(logger.LogView()->toPlainText(), QStringLiteral("alpha\nbeta"));

        // A folder where the file should be: no crash, nothing lost.
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("taken_log.txt")));
        QVERIFY(!logger.SaveLogTo(dir.filePath(QStringLiteral("taken_log.txt"))));
        QVERIFY(QFileInfo(dir.filePath(QStringLiteral("taken_log.txt"))).isDir());
        QCOMPARE(logger.LogView()->toPlainText(), QStringLiteral("alpha\nbeta"));
    }

    void failedSaveIntoAReadOnlyFolderKeepsTheOldFile()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        LoggerWindow logger;
        logger.OnAddLogAnyMessage(QStringLiteral("alpha\n"), Qt::white, "-");
        const QString path = dir.filePath(QStringLiteral("old_log.txt"));
        QVERIFY(logger.SaveLogTo(path));
        QFile file(path);
        QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        logger.OnAddLogAnyMessage(QStringLiteral("gamma\n"), Qt::white, "-");
        const bool saved = logger.SaveLogTo(path);
        QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        if (saved)
            QSKIP("running with rights that ignore folder permissions");
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("alpha\n"));
        QVERIFY(logger.LogView()->toPlainText().endsWith(QStringLiteral("gamma")));
    }
};

QTEST_MAIN(TestLoggerWindow)
#include "test_loggerwindow.moc"
