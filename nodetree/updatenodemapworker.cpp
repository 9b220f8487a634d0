#include "nodetree/updatenodemapworker.h"

#include "nodetree/nodemapaccess.h"
#include "nodetree/treeitem.h"

#include <QThread>

UpdateNodemapWorker::UpdateNodemapWorker(NodeMapAccess* access) : access(access) {}

void UpdateNodemapWorker::Start()
{
    // running starts true (set at construction), so a Stop that comes before the loop has begun is kept.
    idle = true;
    while (true)
    {
        // idle goes false before paused is looked at: a pauser that sets paused and then sees idle true knows
        // that no round is running or about to start (both are sequentially consistent atomics).
        idle = false;
        if (!paused)
        {
            const QList<TreeItem*> items = access->TakeChangedItems();
            if (!items.isEmpty())
            {
                for (TreeItem* item : items)
                    access->UpdateItem(item, NodeMapAccess::UpdateMode::Normal, false);
                emit DoUpdate();
            }
        }
        idle = true;
        if (!running)
            return;
        for (int i = 0; i < 5; ++i)
        {
            QThread::msleep(10);
            if (!running)
                return;
        }
    }
}

void UpdateNodemapWorker::Pause()
{
    paused = true;
}

void UpdateNodemapWorker::Resume()
{
    paused = false;
}

void UpdateNodemapWorker::Stop()
{
    running = false;
}
