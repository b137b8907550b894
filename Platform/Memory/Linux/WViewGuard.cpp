#include "Memory/Linux/WViewGuard.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Memory/WAddressSpace.h"

#include <cerrno>
#include <csignal>
#include <mutex>
#include <new>

#include <sys/mman.h>

// The handler of SIGBUS looks up which view an address belongs to. It may interrupt any code, Add and Remove
// included, so it takes no lock: guards are linked into sAll once and never leave it or are freed, and a
// removed one is reused. The range of a guard is two words; a counter that is odd while they change (a
// sequence lock) tells the handler that what it has read belongs together.
//
// Mapping a page of zeros at the address with MAP_FIXED is one system call that is permitted in a handler;
// then the instruction is repeated and succeeds.

namespace
{

struct sigaction sPreviousAction;
std::mutex sViewsMutex; // guards the two lists but for the handler, which reads the first one
std::atomic<WViewGuard*> sAll = nullptr;
WViewGuard* sFree = nullptr;

} // namespace

WViewGuard* WViewGuard::Add( const void* inView, std::uint64_t inSize )
{
    static const bool sIsInstalled = ( Install(), true );
    static_cast<void>( sIsInstalled );
    const std::lock_guard lock( sViewsMutex );
    WViewGuard* guard = sFree;
    if ( guard )
        sFree = guard->itsNextFree;
    else
    {
        guard = new ( std::nothrow ) WViewGuard;
        if ( !guard )
            XThrow( kErrorOutOfMemory );
        guard->itsNext = sAll;
        sAll = guard;
    }
    const auto begin = reinterpret_cast<std::uintptr_t>( inView );
    guard->itsIsDamaged = false;
    guard->Watch( begin, begin + inSize );
    return guard;
}

void WViewGuard::Remove( WViewGuard* inGuard )
{
    const std::lock_guard lock( sViewsMutex );
    inGuard->Watch( 0, 0 );
    inGuard->itsNextFree = sFree;
    sFree = inGuard;
}

/// Under the mutex.
void WViewGuard::Watch( std::uintptr_t inBegin, std::uintptr_t inEnd )
{
    ++itsChanges;
    itsBegin = inBegin;
    itsEnd = inEnd;
    ++itsChanges;
}

/// False for a range of which one end is older than the other: between them there may be memory of anybody.
bool WViewGuard::Covers( std::uintptr_t inAddress ) const
{
    const std::uint32_t changes = itsChanges;
    const bool isInside = itsBegin <= inAddress && inAddress < itsEnd;
    return isInside && changes % 2 == 0 && changes == itsChanges;
}

void WViewGuard::Install()
{
    WAddressSpace::GetPageSize(); // asks the system, which the handler must not
    struct sigaction action = {};
    action.sa_sigaction = OnBusError;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    ::sigemptyset( &action.sa_mask );
    ::sigaction( SIGBUS, &action, &sPreviousAction );
}

/// Signals that do not concern a view are left to the previous handler: the instruction is run again and
/// fails again.
void WViewGuard::OnBusError( int inSignal, siginfo_t* inInfo, void* )
{
    const int error = errno;
    if ( inInfo->si_code != BUS_ADRERR || !Heal( reinterpret_cast<std::uintptr_t>( inInfo->si_addr ) ) )
        ::sigaction( inSignal, &sPreviousAction, nullptr );
    errno = error;
}

bool WViewGuard::Heal( std::uintptr_t inAddress )
{
    for ( WViewGuard* guard = sAll; guard; guard = guard->itsNext )
        if ( guard->Covers( inAddress ) )
            return guard->HealPage( inAddress );
    return false;
}

bool WViewGuard::HealPage( std::uintptr_t inAddress )
{
    itsIsDamaged = true;
    const std::uint64_t size = WAddressSpace::GetPageSize();
    void* page = reinterpret_cast<void*>( inAddress & ~( size - 1 ) );
    return ::mmap( page, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0 ) !=
        MAP_FAILED;
}
