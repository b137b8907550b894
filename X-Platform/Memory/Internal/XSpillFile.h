#pragma once

#include "Files/WFile.h"
#include "Ground/XTypes.h"
#include "Threads/XMutex.h"

#include <map>
#include <memory>
#include <set>

class XSpillFile;

/// Bytes of a spill file that belong to one block, until the range goes. Internal to the library.
class XSpillRange
{
public:
    XSpillRange( std::shared_ptr<XSpillFile> inFile, USize64 inSize );
    XSpillRange( const XSpillRange& ) = delete;
    XSpillRange& operator=( const XSpillRange& ) = delete;
    ~XSpillRange();

    const std::shared_ptr<WFile>& GetFile() const;
    std::uint64_t GetOffset() const { return itsOffset; }
    USize64 GetSize() const { return itsSize; }

private:
    friend class XSpillFile;

    using XPieces = std::map<std::uint64_t, USize64>;           // sizes by offset
    using XSizes = std::set<std::pair<USize64, std::uint64_t>>; // the same pieces by size

    /// An entry for a piece, so that giving the range back takes no memory.
    struct XNodes
    {
        XPieces::node_type piece;
        XSizes::node_type size;
    };

    static XNodes MakeNodes();

    const std::shared_ptr<XSpillFile> itsFile;
    const USize64 itsSize; // in whole units of mapping
    std::uint64_t itsOffset = 0;
    XNodes itsNodes;
};

/// The temporary file in which purged blocks have a range each. A range is taken from the free ones, the smallest that is
/// large enough, or else from the end of the file; the space of one that is given back returns to the disk. The file goes
/// with its last range.
///
/// Internal to the library.
/// Threads: any. Ranges are written and mapped outside of the file's mutex.
class XSpillFile
{
public:
    explicit XSpillFile( std::shared_ptr<WFile> inFile ) : itsFile( std::move( inFile ) ) {}
    XSpillFile( const XSpillFile& ) = delete;
    XSpillFile& operator=( const XSpillFile& ) = delete;

    const std::shared_ptr<WFile>& GetFile() const { return itsFile; }

private:
    friend class XSpillRange;
    using XNodes = XSpillRange::XNodes;

    void Take( XSpillRange& outRange );
    void GiveBack( XSpillRange& ioRange );
    XNodes TakePiece( XSpillRange::XPieces::iterator inPiece );
    void AddPiece( XNodes inNodes, std::uint64_t inOffset, USize64 inSize );

    const std::shared_ptr<WFile> itsFile;
    XMutex itsMutex; // guards the rest
    std::uint64_t itsEnd = 0;
    XSpillRange::XPieces itsPieces; // that are free, none beside another
    XSpillRange::XSizes itsSizes;
};

inline const std::shared_ptr<WFile>& XSpillRange::GetFile() const
{
    return itsFile->GetFile();
}
