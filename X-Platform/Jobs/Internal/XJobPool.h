#pragma once

#include "Jobs/Internal/XJobThread.h"

#include <memory>

/// The workers that all job queues share, one for each logical processor. Internal.
class XJobPool
{
public:
    using XWorkers = XVector<std::unique_ptr<XJobQueue::XJobThread>>;

    /// The current workers; holding the pointer keeps the objects alive. Null while there are none.
    static std::shared_ptr<const XWorkers> Get();

    /// The number of workers once the pool has started.
    static USize GetSize();

    /// Creates the workers if there are none.
    static void Start();

    /// Stops the workers and their jobs, and waits until the threads have ended.
    static void End();
};
