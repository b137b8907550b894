#include "Threads/Internal/XLockOrder.h"

#include "Threads/XMutex.h"

#include <map>
#include <mutex>
#include <set>

// Declared orders are edges of a directed graph: `lockedLater[m]` are the mutexes that come after m. A mutex
// may be locked only while none of those reachable from it is held. The search is made at each contended or
// first lock of an ordered mutex, in debug builds only, and runs under one mutex of its own, which is a
// std::mutex so that it is not itself subject to checks.

namespace
{

using Mutexes = std::set<const XMutex*>;

/// For a mutex those that must not be held when it is locked.
struct Orders
{
    std::mutex mutex;
    std::map<const XMutex*, Mutexes> lockedLater;
};

/// Never destroyed: statics of other sources may hold mutexes.
Orders& GetOrders()
{
    static Orders* const sOrders = new Orders;
    return *sOrders;
}

/// Adds all mutexes that come after `inMutex`, through any number of declarations.
void CollectLater( const Orders& inOrders, const XMutex* inMutex, Mutexes& ioLater )
{
    const auto found = inOrders.lockedLater.find( inMutex );
    if ( found == inOrders.lockedLater.end() )
        return;
    for ( const XMutex* later : found->second )
    {
        if ( ioLater.insert( later ).second )
            CollectLater( inOrders, later, ioLater );
    }
}

bool HoldsMutexOrderedAfter( const XMutex& inMutex )
{
    Orders& orders = GetOrders();
    const std::lock_guard lock( orders.mutex );
    Mutexes later;
    CollectLater( orders, &inMutex, later );
    for ( const XMutex* mutex : later )
    {
        if ( mutex->IsLockedByCurrentThread() )
            return true;
    }
    return false;
}

} // namespace

void XLockOrder::Declare( const XMutex& inMutex, const XMutex& inOther )
{
    Orders& orders = GetOrders();
    const std::lock_guard lock( orders.mutex );
    orders.lockedLater[&inOther].insert( &inMutex );
}

void XLockOrder::Check( const XMutex& inMutex )
{
    if ( HoldsMutexOrderedAfter( inMutex ) )
        XAssertionFailed(
            "this mutex must be locked before one that the thread holds (DontLockBefore)", __FILE__,
            __LINE__ );
}

void XLockOrder::Forget( const XMutex& inMutex ) noexcept
{
    Orders& orders = GetOrders();
    const std::lock_guard lock( orders.mutex );
    orders.lockedLater.erase( &inMutex );
    for ( auto& [mutex, later] : orders.lockedLater )
        later.erase( &inMutex );
}
