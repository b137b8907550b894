#pragma once

#include "Core/Strings/XString.h"
#include "Memory/Internal/XSpillFile.h"

class WLastErrorException;
class XMemoryManager;

/// The storage of a manager's purged blocks: a spill file in the temporary folder. If the system limits file
/// sizes, another file is created when the first is full.
///
/// After the disk has rejected a write, writes of the same or a larger size fail with the same error for one
/// second without another attempt: a search for room goes through all blocks, and many searches may follow
/// each other.
///
/// Internal to the library.
/// Threads: any.
class XSpillPlace
{
public:
    explicit XSpillPlace( XMemoryManager& inManager ) : itsManager( inManager ) {}
    XSpillPlace( const XSpillPlace& ) = delete;
    XSpillPlace& operator=( const XSpillPlace& ) = delete;

    /// Writes the bytes to a new range. Throws the error of the disk.
    std::unique_ptr<XSpillRange> Write( const void* inData, USize64 inSize );

    /// Call when the folder has changed: the next range is in a new file, and previous failures are
    /// forgotten.
    void StartAnew();

    /// The text of the last failure with its number and the folder; empty if a range has been written since.
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
    XMutex itsFileMutex;               // held while a file is created
    std::weak_ptr<XSpillFile> itsFile; // guarded by itsFileMutex; its ranges own it
    mutable XMutex itsFailureMutex;
    XFailure itsFailure; // guarded by itsFailureMutex
};
