#pragma once

#include <atomic>
#include <csignal>
#include <cstdint>

/// Keeps the process alive when bytes of a mapped file are touched that the file no longer has, since somebody cut it
/// off, or that the disk has no room for: the page becomes one of zeros, and its view is marked as damaged.
///
/// Guards are never freed but used again, because the signal's handler goes through all of them without a
/// lock. A guard that changes while the handler looks at it is not the one of the view that is being touched,
/// which is watched over for longer than that.
/// Threads: any.
class WViewGuard
{
public:
    /// Watches over a view until it is removed. Throws 1012.
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

    std::atomic<std::uint32_t> itsChanges = 0; // of the range below, two for each: odd while it changes
    std::atomic<std::uintptr_t> itsBegin = 0;  // 0: not in use
    std::atomic<std::uintptr_t> itsEnd = 0;
    std::atomic<bool> itsIsDamaged = false;
    WViewGuard* itsNext = nullptr;     // of all guards
    WViewGuard* itsNextFree = nullptr; // of those not in use, guarded by the mutex
};
