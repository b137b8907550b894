#include "Threads/XRWMutex.h"

#include "Ground/WDeadline.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

// The model. Under itsMutex every thread with a lock has one entry in threadMap (reads and writes held). At
// most one thread is the active writer; it writes exclusively while itsExclusiveWrites is above 0, otherwise
// readers may come in beside it. itsActiveReads counts reading threads, not reads, so the questions that each
// unlock asks are answered without a walk in most cases.
//
// Who enters. Writers queue in itsPendingWrites and enter in order, each woken on its own condition variable;
// a new reader waits while any writer is queued, so a stream of readers cannot starve a writer. A thread that
// already has a lock reads at once: it would otherwise wait for a writer that waits for it. A reader that
// asks to write (an upgrade) goes to the front of the queue for the same reason. Two upgrades at a time would
// wait for each other's read lock: the second is an internal error.
//
// An active shared writer that wants to become exclusive waits for the readers it has let in
// (WaitForReadersToFinish); while upgradingThreadID is set, no new reader enters.
//
// Each change wakes exactly those who may proceed after it (WakeThreads). A wait that ends by an exception is
// a change too: the threads behind it may have been waiting for its turn only.

void XRWMutex::Lock( XRWLockMode inMode, std::uint32_t inTimeoutMS, bool inAlertable )
{
    const WDeadline deadline( inTimeoutMS );
    if ( inMode == kRWLockForRead )
        LockForRead( deadline, inAlertable );
    else
        LockForWrite( inMode, deadline, inAlertable );
}

void XRWMutex::Unlock( XRWLockMode inMode )
{
    if ( inMode == kRWLockForRead )
        UnlockRead();
    else
        UnlockWrite( inMode );
}

bool XRWMutex::IsLockedForWriteInCurrentThread() const
{
    const XThreadLock lock( itsMutex );
    return IsActiveWriter( WThreadID::GetCurrent() );
}

void XRWMutex::LockForRead( const WDeadline& inDeadline, bool inAlertable )
{
    const std::uint32_t id = WThreadID::GetCurrent();
    const XThreadLock lock( itsMutex );
    if ( FindThread( id ) == threadMap.end() )
    {
        // No entry in threadMap yet: a wait that throws leaves nothing behind.
        while ( !MayReaderEnter() )
            itsReadersMayProceed.Wait( itsMutex, inDeadline.GetMillisecondsLeft(), inAlertable );
    }
    if ( ++GetThread( id ).reads == 1 )
        ++itsActiveReads;
}

void XRWMutex::LockForWrite( XRWLockMode inMode, const WDeadline& inDeadline, bool inAlertable )
{
    const std::uint32_t id = WThreadID::GetCurrent();
    const XThreadLock lock( itsMutex );
    if ( !IsActiveWriter( id ) )
        WaitForWrite( id, FindThread( id ) != threadMap.end(), inDeadline, inAlertable );
    else if ( inMode == kRWLockForWrite && itsExclusiveWrites == 0 )
        WaitForReadersToFinish( inDeadline, inAlertable );
    ++GetThread( id ).writes;
    isActiveWriter = true;
    writerThreadID = id;
    if ( inMode == kRWLockForWrite )
        ++itsExclusiveWrites;
    else
        WakeThreads(); // readers may come in
}

/// Waits for this thread's turn to write. A reader takes precedence over all others, because they would wait
/// for it to leave.
void XRWMutex::WaitForWrite(
    std::uint32_t inThreadID, bool inIsReader, const WDeadline& inDeadline, bool inAlertable )
{
    XPendingWrite write( inThreadID );
    if ( inIsReader )
        XAssert( upgradingThreadID == 0 );
    itsPendingWrites.insert( inIsReader ? itsPendingWrites.begin() : itsPendingWrites.end(), &write );
    if ( inIsReader )
        upgradingThreadID = inThreadID;
    try
    {
        while ( !MayWrite( write ) )
            write.mayProceed.Wait( itsMutex, inDeadline.GetMillisecondsLeft(), inAlertable );
    }
    catch ( ... )
    {
        ForgetPendingWrite( write );
        WakeThreads();
        throw;
    }
    ForgetPendingWrite( write );
}

/// Waits until the readers that the active writer has let in are gone.
void XRWMutex::WaitForReadersToFinish( const WDeadline& inDeadline, bool inAlertable )
{
    XAssert( upgradingThreadID == 0 );
    upgradingThreadID = writerThreadID;
    try
    {
        while ( AreOthersReading( writerThreadID ) )
            itsReadersHaveFinished.Wait( itsMutex, inDeadline.GetMillisecondsLeft(), inAlertable );
    }
    catch ( ... )
    {
        upgradingThreadID = 0;
        WakeThreads();
        throw;
    }
    upgradingThreadID = 0;
}

void XRWMutex::UnlockRead()
{
    const XThreadLock lock( itsMutex );
    const auto it = FindThread( WThreadID::GetCurrent() );
    XAssert( it != threadMap.end() );
    XAssert( it->second.IsReader() );
    if ( --it->second.reads != 0 )
        return;
    --itsActiveReads;
    ForgetThreadWithoutLocks( it );
    WakeThreads();
}

void XRWMutex::UnlockWrite( XRWLockMode inMode )
{
    const XThreadLock lock( itsMutex );
    const std::uint32_t threadID = WThreadID::GetCurrent();
    XAssert( isActiveWriter );
    XAssert( threadID == writerThreadID );
    const auto it = FindThread( threadID );
    if ( inMode == kRWLockForWrite )
    {
        XAssert( itsExclusiveWrites > 0 );
        --itsExclusiveWrites;
    }
    else
        // All exclusive writes belong to this thread, so the rest of its writes are shared ones.
        XAssert( it->second.writes > itsExclusiveWrites );
    if ( --it->second.writes == 0 )
    {
        isActiveWriter = false;
        writerThreadID = 0;
        ForgetThreadWithoutLocks( it );
    }
    WakeThreads();
}

void XRWMutex::ForgetPendingWrite( XPendingWrite& inWrite )
{
    std::erase( itsPendingWrites, &inWrite );
    if ( upgradingThreadID == inWrite.threadID )
        upgradingThreadID = 0;
}

/// Whether a thread that holds no lock may read.
bool XRWMutex::MayReaderEnter() const
{
    return itsPendingWrites.empty() && upgradingThreadID == 0 && itsExclusiveWrites == 0;
}

bool XRWMutex::MayWrite( const XPendingWrite& inWrite ) const
{
    return itsPendingWrites.front() == &inWrite && !isActiveWriter && !AreOthersReading( inWrite.threadID );
}

bool XRWMutex::AreOthersReading( std::uint32_t inThreadID ) const
{
    if ( itsActiveReads != 1 )
        return itsActiveReads != 0;
    const auto isReading = [inThreadID]( const auto& inThread )
    { return inThread.first == inThreadID && inThread.second.IsReader(); };
    return std::none_of( threadMap.begin(), threadMap.end(), isReading );
}

bool XRWMutex::IsActiveWriter( std::uint32_t inThreadID ) const
{
    return isActiveWriter && writerThreadID == inThreadID;
}

/// Wakes the threads that may proceed after a change: the active writer that waits for readers, the next
/// writer, or all readers.
void XRWMutex::WakeThreads()
{
    if ( isActiveWriter && upgradingThreadID == writerThreadID )
    {
        if ( !AreOthersReading( writerThreadID ) )
            itsReadersHaveFinished.Signal();
    }
    else if ( !itsPendingWrites.empty() )
    {
        if ( MayWrite( *itsPendingWrites.front() ) )
            itsPendingWrites.front()->mayProceed.Signal();
    }
    else if ( MayReaderEnter() )
        itsReadersMayProceed.Broadcast();
}

/// Also checks that a thread is listed only while it holds a lock.
XRWMutex::XThreadMap::iterator XRWMutex::FindThread( std::uint32_t inThreadID )
{
    const auto isWanted = [inThreadID]( const auto& inThread ) { return inThread.first == inThreadID; };
    const auto it = std::find_if( threadMap.begin(), threadMap.end(), isWanted );
    if ( it != threadMap.end() )
        XAssert( it->second.IsReader() || it->second.IsWriter() );
    return it;
}

XRWMutex::XThreadLocks& XRWMutex::GetThread( std::uint32_t inThreadID )
{
    const auto it = FindThread( inThreadID );
    return it != threadMap.end() ? it->second : threadMap.emplace_back( inThreadID, XThreadLocks() ).second;
}

void XRWMutex::ForgetThreadWithoutLocks( XThreadMap::iterator inThread )
{
    if ( inThread->second.IsReader() || inThread->second.IsWriter() )
        return;
    // Few threads hold a lock at a time, so the map is an unordered vector.
    *inThread = threadMap.back();
    threadMap.pop_back();
}
