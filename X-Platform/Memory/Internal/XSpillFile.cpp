#include "Memory/Internal/XSpillFile.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Files/WTemporaryFile.h"
#include "Memory/XMemoryManager.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

// A best-fit allocator for ranges of one file. Free pieces are indexed twice: by offset, to join neighbours,
// and by size, to find the smallest piece that is large enough; both in O(log n). No two free pieces are
// adjacent, and none ends at itsEnd: such a piece is cut off the file. Sizes are multiples of the granularity
// of mappings, so every range can be mapped.
//
// Releasing a range happens in destructors and must not fail. A free piece needs a node in each index; a
// range brings its two nodes along from its construction, and joined pieces drop theirs.

XSpillRange::XSpillRange( std::shared_ptr<XSpillFile> inFile, USize64 inSize )
    : itsFile( std::move( inFile ) ),
      itsSize( XMemoryManager::AlignSizeToAllocationGranularity( std::max<USize64>( inSize, 1 ) ) ),
      itsNodes( MakeNodes() )
{
    itsFile->Take( *this );
}

XSpillRange::~XSpillRange()
{
    itsFile->GiveBack( *this );
}

/// A node can only be made in a container.
XSpillRange::XNodes XSpillRange::MakeNodes()
{
    XPieces pieces = { { 0, 0 } };
    XSizes sizes = { { 0, 0 } };
    return { pieces.extract( pieces.begin() ), sizes.extract( sizes.begin() ) };
}

/// The rest of a free piece remains one, with the same nodes.
void XSpillFile::Take( XSpillRange& outRange )
{
    const XThreadLock lock( itsMutex );
    const auto found = itsSizes.lower_bound( { outRange.itsSize, 0 } );
    if ( found == itsSizes.end() )
    {
        outRange.itsOffset = itsEnd;
        itsEnd += outRange.itsSize;
        return;
    }
    const auto [size, offset] = *found;
    outRange.itsOffset = offset;
    XNodes nodes = TakePiece( itsPieces.find( offset ) );
    if ( size > outRange.itsSize )
        AddPiece( std::move( nodes ), offset + outRange.itsSize, size - outRange.itsSize );
}

/// Returns the space to the disk first: afterwards it may belong to another range.
void XSpillFile::GiveBack( XSpillRange& ioRange )
{
    WTemporaryFile::ReturnSpace( *itsFile, ioRange.itsOffset, ioRange.itsSize );
    const XThreadLock lock( itsMutex );
    std::uint64_t begin = ioRange.itsOffset;
    std::uint64_t end = begin + ioRange.itsSize;
    auto next = itsPieces.lower_bound( begin );
    if ( next != itsPieces.end() && next->first == end )
    {
        end += next->second;
        // Its nodes are dropped; the range's own are enough for the joined piece.
        TakePiece( next++ );
    }
    if ( next != itsPieces.begin() )
    {
        const auto previous = std::prev( next );
        if ( previous->first + previous->second == begin )
        {
            begin = previous->first;
            TakePiece( previous );
        }
    }
    if ( end < itsEnd )
        return AddPiece( std::move( ioRange.itsNodes ), begin, end - begin );
    itsEnd = begin;
    // Under the mutex, so that no range taken meanwhile is cut off. A file that stays too long is only larger
    // than necessary.
    XSwallowErrors( [&] { itsFile->SetSize( begin ); } );
}

XSpillFile::XNodes XSpillFile::TakePiece( XSpillRange::XPieces::iterator inPiece )
{
    auto size = itsSizes.extract( { inPiece->second, inPiece->first } );
    return { itsPieces.extract( inPiece ), std::move( size ) };
}

/// Takes no memory.
void XSpillFile::AddPiece( XNodes inNodes, std::uint64_t inOffset, USize64 inSize )
{
    inNodes.piece.key() = inOffset;
    inNodes.piece.mapped() = inSize;
    itsPieces.insert( std::move( inNodes.piece ) );
    inNodes.size.value() = { inSize, inOffset };
    itsSizes.insert( std::move( inNodes.size ) );
}
