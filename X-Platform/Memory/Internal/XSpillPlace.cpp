#include "Memory/Internal/XSpillPlace.h"

#include "Core/Errors/WLastErrorException.h"
#include "Memory/XMemoryManager.h"
#include "Services/XSessionLogManager.h"
#include "System/WSystemError.h"
#include "Threads/XThreadLock.h"
#include "Time/WClock.h"

#include <ctime>

// The current spill file is held by a weak pointer: its ranges own it, and it is deleted with the last one.
// If the file has grown to the largest size that its file system permits, ranges to come go to a new one
// (WriteToFile).
//
// After a failed write, writes of the same or a larger size fail at once for a second (CheckFailure). A
// search for room would otherwise try every block in turn, and with a full disk each attempt costs a write
// that fails near its end.

std::unique_ptr<XSpillRange> XSpillPlace::Write( const void* inData, USize64 inSize )
{
    CheckFailure( inSize );
    try
    {
        auto range = WriteToFile( inData, inSize );
        const XThreadLock lock( itsFailureMutex );
        itsFailure = {};
        return range;
    }
    catch ( const WLastErrorException& error )
    {
        NoteFailure( inSize, error );
        throw;
    }
}

void XSpillPlace::StartAnew()
{
    {
        const XThreadLock lock( itsFileMutex );
        itsFile.reset();
    }
    const XThreadLock lock( itsFailureMutex );
    itsFailure = {};
}

XString XSpillPlace::GetFailure() const
{
    const XThreadLock lock( itsFailureMutex );
    return itsFailure.text;
}

void XSpillPlace::CheckFailure( USize64 inSize ) const
{
    const XThreadLock lock( itsFailureMutex );
    const bool isRecent = WClock::GetCoarseTicks() - itsFailure.ticks < CLOCKS_PER_SEC;
    if ( itsFailure.systemError != 0 && inSize >= itsFailure.size && isRecent )
        throw WLastErrorException( itsFailure.systemError );
}

void XSpillPlace::NoteFailure( USize64 inSize, const WLastErrorException& inError )
{
    const std::u8string folder = itsManager.GetTemporaryFolder().u8string();
    const XString text = "memory cannot be purged to " +
        XString::FromUTF8( std::string( folder.begin(), folder.end() ) ) + ": " +
        inError.GetRawErrorMessage();
    XSessionLogManager::Log( kLogError, text );
    const XThreadLock lock( itsFailureMutex );
    itsFailure = { inSize, inError.GetWin32ErrorCode(), WClock::GetCoarseTicks(), text };
}

std::unique_ptr<XSpillRange> XSpillPlace::WriteToFile( const void* inData, USize64 inSize )
{
    for ( ;; )
    {
        auto range = std::make_unique<XSpillRange>( GetFile(), inSize );
        try
        {
            range->GetFile()->WriteAt( range->GetOffset(), inData, inSize );
            return range;
        }
        catch ( const WLastErrorException& error )
        {
            // At offset 0 a new file would not help.
            if ( error.GetWin32ErrorCode() != WSystemError::kFileTooLarge || range->GetOffset() == 0 )
                throw;
        }
        Forget( range->GetFile() );
    }
}

std::shared_ptr<XSpillFile> XSpillPlace::GetFile()
{
    const XThreadLock lock( itsFileMutex );
    std::shared_ptr<XSpillFile> file = itsFile.lock();
    if ( !file )
        itsFile = file = std::make_shared<XSpillFile>( itsManager.MakeTemporaryFile() );
    return file;
}

/// For ranges to come, if it still is the one for them.
void XSpillPlace::Forget( const std::shared_ptr<WFile>& inFile )
{
    const XThreadLock lock( itsFileMutex );
    const std::shared_ptr<XSpillFile> file = itsFile.lock();
    if ( file && file->GetFile() == inFile )
        itsFile.reset();
}
