#pragma once

#include "Threads/Waiting/WEvent.h"
#include "Threads/XThread.h"

#include <atomic>
#include <functional>

/// Sends the deferred calls of a bridge after a short delay, on its own thread, which ends after a second
/// without work. Internal to XRPCBridgeBase.
class XRPCFlusher : private XThread
{
public:
    /// Maximum delay of a deferred call, subject to the resolution of the system's timers.
    static constexpr std::int64_t kDelayUS = 200;

    /// `inFlush` sends the deferred calls; it returns false if another thread owns the sender.
    explicit XRPCFlusher( std::function<bool()> inFlush );
    ~XRPCFlusher() override;

    /// Requests a flush after the delay. One thread at a time. Throws the system's last error if no thread
    /// can be started.
    void Arm();

private:
    std::int32_t RunThreadSelf() override;
    bool MayEnd();

    const std::function<bool()> itsFlush;
    WEvent itsIsArmed{ WEvent::kResetByWait };
    std::atomic<bool> itsIsRunning = false;
};
