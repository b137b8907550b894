#pragma once

#include "Threads/Waiting/WEvent.h"
#include "Threads/XThread.h"

#include <atomic>
#include <functional>

/// Sends what calls without a return have left in the buffer of a bridge, a moment later, on a thread of its own, which
/// ends when there has been nothing to send for a second. Internal to XRPCBridgeBase.
class XRPCFlusher : private XThread
{
public:
    /// How long a call waits at most to be sent together with others, as far as the system's clock allows.
    static constexpr std::int64_t kDelayUS = 200;

    /// `inFlush` sends. It returns false where another thread is in its way.
    explicit XRPCFlusher( std::function<bool()> inFlush );
    ~XRPCFlusher() override;

    /// Has the flush called in a moment. One thread at a time. Throws the system's last error when no thread can be
    /// started.
    void Arm();

private:
    std::int32_t RunThreadSelf() override;
    bool MayEnd();

    const std::function<bool()> itsFlush;
    WEvent itsIsArmed{ WEvent::kResetByWait };
    std::atomic<bool> itsIsRunning = false;
};
