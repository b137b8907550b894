#include "Memory/Internal/XPageHeap.h"

#include "Ground/XErrorNumbers.h"
#include "Memory/Internal/XAllocateWithRetry.h"
#include "Memory/Internal/XTranslateBadAlloc.h"
#include "Memory/WPages.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

namespace
{

USize64 GetPaddedSize( USize64 inSize )
{
    const USize64 size = XMemoryManager::AlignSizeToPageSize( std::max<USize64>( inSize, 1 ) );
    if ( size < inSize )
        XThrow( kErrorOutOfMemory );
    return size;
}

} // namespace

XPageHeap::~XPageHeap()
{
    for ( const auto& [memory, piece] : itsPieces )
        WPages::Free( const_cast<void*>( memory ), GetPaddedSize( piece.size ) );
}

/// The entry is made first: nothing may fail once there are pages.
void* XPageHeap::Allocate( USize64 inSize )
{
    const USize64 size = GetPaddedSize( inSize );
    auto piece = XTranslateBadAlloc( [&] { return MakePiece( inSize ); } );
    piece.mapped().reservation->Set( size );
    void* memory = XAllocateWithRetry( itsManager, size, [&] { return WPages::Allocate( size ); } );
    piece.key() = memory;
    PutBack( std::move( piece ) );
    return memory;
}

void* XPageHeap::Reallocate( void* inMemory, USize64 inSize )
{
    if ( !inMemory )
        return Allocate( inSize );
    const USize64 size = GetPaddedSize( inSize );
    auto piece = TakeOut( inMemory );
    const USize64 oldSize = GetPaddedSize( piece.mapped().size );
    void* memory = inMemory;
    const auto resize = [&] { return WPages::Resize( inMemory, oldSize, size ); };
    try
    {
        piece.mapped().reservation->ReserveDuring(
            size, [&] { memory = XAllocateWithRetry( itsManager, size, resize ); } );
    }
    catch ( ... )
    {
        PutBack( std::move( piece ) );
        throw;
    }
    piece.key() = memory;
    piece.mapped().size = inSize;
    PutBack( std::move( piece ) );
    return memory;
}

void XPageHeap::Free( void* inMemory )
{
    if ( !inMemory )
        return;
    const auto piece = TakeOut( inMemory ); // keeps its reservation until the pages have gone
    WPages::Free( inMemory, GetPaddedSize( piece.mapped().size ) );
}

USize64 XPageHeap::GetSize( const void* inMemory )
{
    const XThreadLock lock( itsMutex );
    const auto piece = itsPieces.find( inMemory );
    XAssert( piece != itsPieces.end() );
    return piece->second.size;
}

/// A node can only be made in a container.
XPageHeap::XPieces::node_type XPageHeap::MakePiece( USize64 inSize )
{
    XPieces fresh;
    fresh.emplace( nullptr, XPiece{ inSize, std::make_unique<XMemoryReservation>( itsManager ) } );
    return fresh.extract( fresh.begin() );
}

XPageHeap::XPieces::node_type XPageHeap::TakeOut( const void* inMemory )
{
    const XThreadLock lock( itsMutex );
    const auto piece = itsPieces.find( inMemory );
    XAssert( piece != itsPieces.end() );
    return itsPieces.extract( piece );
}

/// Takes no memory.
void XPageHeap::PutBack( XPieces::node_type inPiece )
{
    const XThreadLock lock( itsMutex );
    itsPieces.insert( std::move( inPiece ) );
}
