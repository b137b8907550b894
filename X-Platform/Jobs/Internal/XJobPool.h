#pragma once

#include "Jobs/Internal/XJobThread.h"

#include <memory>

/// The workers that all job queues share, one for each logical processor. Internal.
class XJobPool
{
public:
    using XWorkers = XVector<std::unique_ptr<XJobQueue::XJobThread>>;

    /// The workers as they are now; whoever holds them keeps the objects alive. Null while there are none.
    static std::shared_ptr<const XWorkers> Get();

    /// How many there are, or will be.
    static USize GetSize();

    /// Creates the workers if there are none.
    static void Start();

    /// Stops the workers, with their jobs, and waits until they have ended.
    static void End();
};
