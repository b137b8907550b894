#pragma once

#include "Files/WFile.h"
#include "Ground/XTypes.h"
#include "Threads/XMutex.h"

#include <map>
#include <memory>
#include <set>

class XSpillFile;

/// A range of a spill file that belongs to one block, for the life of this object. Internal to the library.
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
    using XSizes = std::set<std::pair<USize64, std::uint64_t>>; // the same pieces, by size

    /// Preallocated map nodes for a piece, so that releasing the range needs no memory.
    struct XNodes
    {
        XPieces::node_type piece;
        XSizes::node_type size;
    };

    static XNodes MakeNodes();

    const std::shared_ptr<XSpillFile> itsFile;
    const USize64 itsSize; // a multiple of the mapping granularity
    std::uint64_t itsOffset = 0;
    XNodes itsNodes;
};

/// The temporary file that holds the bytes of purged blocks, one range each. A new range is taken from the
/// smallest free piece that is large enough, otherwise from the end of the file. The space of a released
/// range is returned to the disk. The file is deleted with its last range.
///
/// Internal to the library.
/// Threads: any. Ranges are written and mapped without holding the file's mutex.
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
    XMutex itsMutex; // guards the members below
    std::uint64_t itsEnd = 0;
    XSpillRange::XPieces itsPieces; // the free pieces; adjacent ones are merged
    XSpillRange::XSizes itsSizes;
};

inline const std::shared_ptr<WFile>& XSpillRange::GetFile() const
{
    return itsFile->GetFile();
}
