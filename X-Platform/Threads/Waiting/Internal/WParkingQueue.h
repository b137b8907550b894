#pragma once

#include "Threads/Waiting/Internal/WParkingNode.h"

/// The threads that wait for the object at one address, first come first. An instance holds the queue locked
/// for its lifetime, so whatever is decided and done meanwhile is one step to every other thread.
///
/// The queues live in a table of the process and not in the objects, for two reasons: a lock stays as small
/// as its state, and the thread that wakes others never touches the object after giving it up, so that the
/// thread that gets it may destroy it at once.
class WParkingQueue
{
public:
    explicit WParkingQueue( const void* inKey );
    WParkingQueue( const WParkingQueue& ) = delete;
    WParkingQueue& operator=( const WParkingQueue& ) = delete;
    ~WParkingQueue();

    void Append( WParkingNode& inNode );

    /// Takes the node that has waited longest; null when nobody waits. The caller releases it.
    WParkingNode* TakeFirst();

    /// Takes a node from the queue. False when another thread has taken it already and will release it.
    bool Remove( WParkingNode& inNode );

    bool IsEmpty() const { return FindFirst() == nullptr; }

private:
    struct Bucket;

    static Bucket& FindBucket( const void* inKey );
    WParkingNode* FindFirst() const;
    void Unlink( WParkingNode& inNode );

    const void* itsKey;
    Bucket& itsBucket;
};
