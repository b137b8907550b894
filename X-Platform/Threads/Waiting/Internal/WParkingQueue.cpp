#include "Threads/Waiting/Internal/WParkingQueue.h"

#include "Ground/Internal/XHashMix.h"

#include <array>
#include <mutex>

// A table of 64 queues, chosen by the address of the object waited for. A queue holds the nodes of all
// objects whose addresses fall into it, so taking the first node of one object may pass nodes of others; with
// few sleeping threads the walks are short. A lock therefore needs no memory of its own for sleepers, and no
// memory is allocated for waiting: the nodes are on the stacks of the threads.
//
// The buckets are aligned to cache lines, so that two of them are never contended as one. The mutex is a
// std::mutex because the library's own are built on this table.

/// A double-ended list of nodes of any number of objects, in order of arrival.
struct alignas( 64 ) WParkingQueue::Bucket
{
    std::mutex mutex;
    WParkingNode* first = nullptr;
    WParkingNode* last = nullptr;
};

WParkingQueue::Bucket& WParkingQueue::FindBucket( const void* inKey )
{
    constexpr std::size_t kBuckets = 64;
    static std::array<Bucket, kBuckets> sBuckets;
    const auto address = reinterpret_cast<std::uintptr_t>( inKey );
    return sBuckets[( address * kXHashFactor ) >> 58];
}

WParkingQueue::WParkingQueue( const void* inKey ) : itsKey( inKey ), itsBucket( FindBucket( inKey ) )
{
    itsBucket.mutex.lock();
}

WParkingQueue::~WParkingQueue()
{
    itsBucket.mutex.unlock();
}

void WParkingQueue::Append( WParkingNode& inNode )
{
    inNode.itsKey = itsKey;
    inNode.itsNext = nullptr;
    inNode.itsPrevious = itsBucket.last;
    ( itsBucket.last ? itsBucket.last->itsNext : itsBucket.first ) = &inNode;
    itsBucket.last = &inNode;
}

WParkingNode* WParkingQueue::TakeFirst()
{
    WParkingNode* node = FindFirst();
    if ( node )
        Unlink( *node );
    return node;
}

bool WParkingQueue::Remove( WParkingNode& inNode )
{
    if ( !inNode.itsKey )
        return false;
    Unlink( inNode );
    return true;
}

WParkingNode* WParkingQueue::FindFirst() const
{
    WParkingNode* node = itsBucket.first;
    while ( node && node->itsKey != itsKey )
        node = node->itsNext;
    return node;
}

void WParkingQueue::Unlink( WParkingNode& inNode )
{
    ( inNode.itsPrevious ? inNode.itsPrevious->itsNext : itsBucket.first ) = inNode.itsNext;
    ( inNode.itsNext ? inNode.itsNext->itsPrevious : itsBucket.last ) = inNode.itsPrevious;
    inNode.itsKey = nullptr;
}
