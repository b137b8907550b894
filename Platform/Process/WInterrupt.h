#pragma once

#include <cstdint>
#include <functional>
#include <thread>

/// A request to terminate: Ctrl-C, or the system's (SIGTERM, a terminal that is closed).
///
/// While an object lives, an interrupt only raises a flag, which the work looks at and obeys. When the process has not
/// ended some time later, and when there is a second interrupt, the process ends at once, without its destructors.
/// When the work is done, interrupts come too late: only a process that does not end by itself even then is ended.
/// Interrupts that the process was started to ignore stay ignored.
///
/// Threads: constructed before other threads are, since they have to leave interrupts to this object's own
/// thread. One at a time.
class WInterrupt
{
public:
    struct Options
    {
        int exitStatus = 0;        ///< of a process that is ended at once
        int lateStatus = 0;        ///< the same, when its work had been done
        std::uint32_t graceMs = 0; ///< between the first interrupt and that end
        /// What is still done then, on a thread of its own; must not wait for anything.
        std::function<void()> last;
    };

    explicit WInterrupt( Options inOptions );
    WInterrupt( const WInterrupt& ) = delete;
    WInterrupt& operator=( const WInterrupt& ) = delete;

    /// Gives interrupts their former effect back, unless they come too late: then they must not end the process on
    /// its last steps either.
    ~WInterrupt();

    /// Whether there has been an interrupt, in time.
    static bool IsRequested() noexcept;

    /// The work is a service, which an interrupt ends as a matter of course: it has so much time for that before the
    /// process is ended at once.
    static void BeginService( std::uint32_t inGraceMs ) noexcept;

    /// The work is done.
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

    // The system's part.
    static void TakeOver();
    static void GiveBack();
    static Event WaitForEvent( std::uint32_t inTimeoutMs );
    static void Close(); ///< Lets WaitForEvent return kClosingEvent.
    [[noreturn]] static void EndProcess( int inExitStatus );
};
