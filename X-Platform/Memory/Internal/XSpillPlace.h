#pragma once

#include "Core/Strings/XString.h"
#include "Memory/Internal/XSpillFile.h"

class WLastErrorException;
class XMemoryManager;

/// Where a manager's purged blocks go: a spill file in the temporary folder. Where the system limits the sizes of files,
/// another one is begun when the first is full.
///
/// Where the disk has refused something, as much or more is refused with the same error for a second, without another
/// try: a search for room goes through all blocks, and many follow each other.
///
/// Internal to the library.
/// Threads: any.
class XSpillPlace
{
public:
    explicit XSpillPlace( XMemoryManager& inManager ) : itsManager( inManager ) {}
    XSpillPlace( const XSpillPlace& ) = delete;
    XSpillPlace& operator=( const XSpillPlace& ) = delete;

    /// Writes bytes to a range of their own. Throws what the disk refuses.
    std::unique_ptr<XSpillRange> Write( const void* inData, USize64 inSize );

    /// The folder is another one: the next range is in a new file, and nothing has been refused.
    void StartAnew();

    /// What the disk refused last, with its number and the folder; empty if a range has been written since.
    XString GetFailure() const;

private:
    struct XFailure
    {
        USize64 size = 0;
        std::uint32_t systemError = 0; // 0: none
        std::int64_t ticks = 0;
        XString text;
    };

    void CheckFailure( USize64 inSize ) const;
    void NoteFailure( USize64 inSize, const WLastErrorException& inError );
    std::unique_ptr<XSpillRange> WriteToFile( const void* inData, USize64 inSize );
    std::shared_ptr<XSpillFile> GetFile();
    void Forget( const std::shared_ptr<WFile>& inFile );

    XMemoryManager& itsManager;
    XMutex itsFileMutex;               // held while a file is made
    std::weak_ptr<XSpillFile> itsFile; // guarded by itsFileMutex; its ranges own it
    mutable XMutex itsFailureMutex;
    XFailure itsFailure; // guarded by itsFailureMutex
};
