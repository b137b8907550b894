#pragma once

#include <atomic>
#include <csignal>
#include <cstdint>

/// Keeps the process alive when it accesses bytes of a mapped file that no longer exist because the file was
/// truncated, or for which the disk has no room: the page is replaced by one of zeros, and its view is marked
/// as damaged.
///
/// Guards are reused and never freed, because the signal handler visits all of them without a lock. A guard
/// that changes during this visit cannot be that of the accessed view, which is guarded for longer than the
/// access.
/// Threads: any.
class WViewGuard
{
public:
    /// Guards a view until it is removed. Throws 1012.
    static WViewGuard* Add( const void* inView, std::uint64_t inSize );
    static void Remove( WViewGuard* inGuard );

    bool IsIntact() const { return !itsIsDamaged.load( std::memory_order_relaxed ); }

private:
    static void Install();
    static void OnBusError( int inSignal, siginfo_t* inInfo, void* inContext );
    static bool Heal( std::uintptr_t inAddress );
    void Watch( std::uintptr_t inBegin, std::uintptr_t inEnd );
    bool Covers( std::uintptr_t inAddress ) const;
    bool HealPage( std::uintptr_t inAddress );

    // counts changes of the range, two for each: odd during a change
    std::atomic<std::uint32_t> itsChanges = 0;
    std::atomic<std::uintptr_t> itsBegin = 0; // 0 if not in use
    std::atomic<std::uintptr_t> itsEnd = 0;
    std::atomic<bool> itsIsDamaged = false;
    WViewGuard* itsNext = nullptr;     // in the list of all guards
    WViewGuard* itsNextFree = nullptr; // in the list of unused ones, guarded by the mutex
};
