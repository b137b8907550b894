#include "Services/XSessionLogManager.h"

#include "Core/Times/XTimer.h"
#include "Files/WFolders.h"
#include "Services/Internal/XSessionLogFile.h"
#include "System/WCodePage.h"
#include "Threads/XPreventThreadStop.h"

#include <algorithm>
#include <atomic>
#include <utility>

// Entries are queued under a mutex and written by this thread in batches, so logging never waits for the
// disk. The queue is limited: entries beyond the limit, and batches that could not be written, are counted,
// and the next successful write says how many are missing. Flush waits until the entries that were queued
// when it was called have been written or counted as lost (itsAdded and itsDone).
//
// The thread is not stopped but told to end when the queue is empty, so that no entry is lost at the end of
// the process.

namespace
{

std::atomic<XSessionLogManager*> sManager = nullptr;

// A batch is made into one text; a flood of entries must not make it grow without bound.
constexpr std::size_t kEntriesPerWrite = 1000;

XString WithOrigin( const XString& inText, const XString& inOrigin )
{
    return inOrigin.IsEmpty() ? inText : inOrigin + ": " + inText;
}

void AddExceptionToManager( const XException& inException, const XString& inOrigin )
{
    if ( auto* manager = XSessionLogManager::GetManager() )
        manager->AddException( inException, kLogError, inOrigin );
}

void AddOtherExceptionToManager( const XString& inTypeAndText, const XString& inOrigin )
{
    XSessionLogManager::Log( kLogError, WithOrigin( inTypeAndText, inOrigin ) );
}

void AddInternalErrorToManager( const XInternalException& inException )
{
    auto* manager = XSessionLogManager::GetManager();
    if ( !manager )
        return;
    manager->AddException( inException );
    manager->Flush( XSessionLogManager::kFlushOnCrashMS );
}

} // namespace

XSessionLogManager::XSessionLogManager( XOptions inOptions )
    : XThread( "XSessionLogManager", kThreadPriorityBelowNormal ), itsOptions( std::move( inOptions ) ),
      itsFile(
          std::make_unique<XSessionLogFile>( itsOptions.path, itsOptions.maxFileBytes, itsOptions.oldFiles ) )
{
    XAssert( !GetManager() );
    StartThread();
    sManager = this;
    itsPreviousErrorLog = XErrorLog::Install( { AddExceptionToManager, AddOtherExceptionToManager } );
    XInternalErrorHandlers handlers = XInternalErrorHandlers::Get();
    handlers.AddToSessionLog = AddInternalErrorToManager;
    itsPreviousHandlers = XInternalErrorHandlers::Install( handlers );
}

XSessionLogManager::~XSessionLogManager()
{
    XInternalErrorHandlers::Install( itsPreviousHandlers );
    XErrorLog::Install( itsPreviousErrorLog );
    sManager = nullptr;
    {
        const XThreadLock lock( itsMutex );
        itsIsEnding = true;
        itsHasEntries.Broadcast();
    }
    SleepUntilTerminate( kNoTimeout );
}

XSessionLogManager* XSessionLogManager::GetManager()
{
    return sManager;
}

std::filesystem::path XSessionLogManager::GetDefaultPath()
{
    return WFolders::GetStateFolder() / "session.log";
}

void XSessionLogManager::AddEntry( const XSessionLogEntry& inEntry )
{
    if ( inEntry.level < itsOptions.leastLevel )
        return;
    const XThreadLock lock( itsMutex );
    if ( itsQueue.size() >= itsOptions.maxQueuedEntries )
    {
        ++itsLost;
        return;
    }
    itsQueue.push_back( inEntry );
    ++itsAdded;
    itsHasEntries.Signal();
}

void XSessionLogManager::Log( XSessionLogLevel inLevel, const XString& inText )
{
    if ( auto* manager = GetManager() )
        manager->AddEntry( XSessionLogEntry( inLevel, inText ) );
}

void XSessionLogManager::AddException(
    const XException& inException, XSessionLogLevel inLevel, const XString& inOrigin )
{
    XString text = WithOrigin( inException.GetRawErrorMessage(), inOrigin );
    XString dump;
    inException.GetCrashDump( dump );
    if ( !dump.IsEmpty() )
        text += "\n" + dump;
    AddEntry( XSessionLogEntry( inLevel, text, inException.GetErrorNumber() ) );
}

void XSessionLogManager::AddException( const std::exception& inException, XSessionLogLevel inLevel )
{
    AddEntry( XSessionLogEntry( inLevel, inException.what() ) );
}

bool XSessionLogManager::Flush( std::uint32_t inTimeoutMS )
{
    if ( GetCurrentThread() == this )
        return false;
    const XTimer timer( inTimeoutMS );
    const XThreadLock lock( itsMutex );
    const std::uint64_t awaited = itsAdded;
    while ( itsDone < awaited )
    {
        if ( itsHasWritten.Sleep( itsMutex, timer.GetRemainingMS() ) && itsDone < awaited )
            return false;
    }
    return true;
}

std::uint64_t XSessionLogManager::GetLostCount() const
{
    const XThreadLock lock( itsMutex );
    return itsLost;
}

std::int32_t XSessionLogManager::RunThreadSelf()
{
    const XPreventThreadStop dontStop; // the destructor ends the thread when all is written
    for ( ;; )
    {
        const XEntries entries = WaitForEntries();
        if ( entries.empty() )
            return 0;
        WriteEntries( entries );
        const XThreadLock lock( itsMutex );
        itsDone += entries.size();
        itsHasWritten.Broadcast();
    }
}

/// The entries that are queued, at least one; none when the log ends.
XSessionLogManager::XEntries XSessionLogManager::WaitForEntries()
{
    const XThreadLock lock( itsMutex );
    while ( itsQueue.empty() && !itsIsEnding )
        itsHasEntries.Wait( itsMutex );
    return std::exchange( itsQueue, XEntries() );
}

void XSessionLogManager::WriteEntries( const XEntries& inEntries )
{
    for ( std::size_t first = 0; first < inEntries.size(); first += kEntriesPerWrite )
    {
        const std::size_t count = std::min( kEntriesPerWrite, inEntries.size() - first );
        if ( TryToWrite( { inEntries.data() + first, count } ) )
            continue;
        const XThreadLock lock( itsMutex );
        itsLost += count;
    }
}

/// The thread continues even without memory, because others wait for it.
bool XSessionLogManager::TryToWrite( std::span<const XSessionLogEntry> inEntries ) noexcept
{
    try
    {
        std::string text;
        for ( const XSessionLogEntry& entry : inEntries )
            text += WCodePage::AnsiToUTF8( entry.GetLine().GetStringView() );
        return TellLostEntries() && itsFile->Write( text );
    }
    catch ( ... )
    {
        return false;
    }
}

/// Writes the number of entries dropped since the last such entry. Returns false on failure.
bool XSessionLogManager::TellLostEntries()
{
    const std::uint64_t lost = GetLostCount();
    if ( lost == itsToldLost )
        return true;
    XString text( lost - itsToldLost );
    text += " entries of the log were lost";
    if ( !itsFile->Write( XSessionLogEntry( kLogWarning, text ).GetLine() ) )
        return false;
    itsToldLost = lost;
    return true;
}
