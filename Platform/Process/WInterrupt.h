#pragma once

#include <cstdint>
#include <functional>
#include <thread>

/// A request to terminate: Ctrl-C, or one of the system (SIGTERM, a terminal that is closed).
///
/// While an object exists, an interrupt only sets a flag, which the work must check. If the process has not
/// ended after a grace period, or on a second interrupt, the process ends at once, without its destructors.
/// After DisableAbort, interrupts come too late: the process is ended only if it does not end by itself in
/// that time. Interrupts that the process was started to ignore are still ignored.
///
/// Threads: construct it before other threads are started, because these must leave interrupts to this
/// object's own thread. One at a time.
class WInterrupt
{
public:
    struct Options
    {
        int exitStatus = 0;        ///< of a process that is ended at once
        int lateStatus = 0;        ///< of a process that is ended after DisableAbort
        std::uint32_t graceMS = 0; ///< from the first interrupt to the end at once
        /// Last action before the process is ended at once, on a thread of its own; must not block.
        std::function<void()> last;
    };

    explicit WInterrupt( Options inOptions );
    WInterrupt( const WInterrupt& ) = delete;
    WInterrupt& operator=( const WInterrupt& ) = delete;

    /// Restores the previous effect of interrupts, unless DisableAbort was called: then they must not end the
    /// process during its last steps.
    ~WInterrupt();

    /// Whether there was an interrupt before DisableAbort.
    static bool IsRequested() noexcept;

    /// Declares the work a service, which an interrupt ends in the ordinary way: the first interrupt leaves
    /// it at least this grace period before the process is ended at once.
    static void BeginService( std::uint32_t inGraceMS ) noexcept;

    /// Call it when the work is done.
    static void DisableAbort() noexcept;

private:
    enum Event
    {
        kInterruptEvent,
        kTimeoutEvent,
        kClosingEvent
    };

    Options itsOptions;
    std::thread itsWatcher;

    void Watch();
    bool IsEndDue() const;
    [[noreturn]] void EndAtOnce();

    // Implemented for each system.
    static void TakeOver();
    static void GiveBack();
    static Event WaitForEvent( std::uint32_t inTimeoutMS );
    static void Close(); // makes WaitForEvent return kClosingEvent
    [[noreturn]] static void EndProcess( int inExitStatus );
};
