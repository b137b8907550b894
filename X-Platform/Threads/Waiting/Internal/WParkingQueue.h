#pragma once

#include "Threads/Waiting/Internal/WParkingNode.h"

/// The threads that wait for the object at one address, in the order of arrival. An instance keeps the queue
/// locked during its lifetime, so everything done meanwhile is one atomic step to other threads.
///
/// The queues are in a table of the process instead of in the objects, for two reasons: a lock is as small as
/// its state, and a thread that wakes others does not access the object after releasing it, so the next owner
/// may destroy it at once.
class WParkingQueue
{
public:
    explicit WParkingQueue( const void* inKey );
    WParkingQueue( const WParkingQueue& ) = delete;
    WParkingQueue& operator=( const WParkingQueue& ) = delete;
    ~WParkingQueue();

    void Append( WParkingNode& inNode );

    /// Removes the node that has waited longest; null if there is none. The caller releases it.
    WParkingNode* TakeFirst();

    /// Removes a node from the queue. Returns false if another thread has already removed it and will release
    /// it.
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
