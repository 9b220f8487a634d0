// UpdateNodemapWorker: keeps the node tree of one NodeMapAccess current, off the GUI thread.
//
// It lives on NodeMapAccess::workerThread and runs one loop there (Start): every 50 ms it takes the list of
// items whose nodes reported a change and re-reads just those, then emits DoUpdate once, which reaches
// NodeMapAccess::SendDataChangedSignal queued on the GUI thread. It never writes a node and never touches a
// widget.
//
// Threads: Start runs on the worker thread. Pause, Resume, Stop and IsIdle are called directly from any thread
// (the loop never returns to the event loop, so queued calls would not arrive); the flags are atomics, no
// mutex is involved.
#pragma once

#include <QObject>

#include <atomic>

class NodeMapAccess;

class UpdateNodemapWorker : public QObject
{
    Q_OBJECT

public:
    explicit UpdateNodemapWorker(NodeMapAccess* access);

    bool IsIdle() const { return idle.load(); }
    bool IsPaused() const { return paused.load(); }
    bool IsRunning() const { return running.load(); }

Q_SIGNALS:
    void DoUpdate();

public Q_SLOTS:
    void Start();
    void Pause();
    void Resume();
    void Stop();

private:
    NodeMapAccess* access;
    std::atomic<bool> running{true};
    std::atomic<bool> paused{false};
    std::atomic<bool> idle{true};
};
