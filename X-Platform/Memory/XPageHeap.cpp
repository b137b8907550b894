#include "Memory/XPageHeap.h"

#include "Core/XErrorNumbers.h"
#include "Memory/XAllocateWithRetry.h"
#include "Threads/XThreadLock.h"
#include "WPages.h"

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

void* XPageHeap::Allocate( USize64 inSize )
{
    const USize64 size = GetPaddedSize( inSize );
    auto reservation = std::make_unique<XMemoryReservation>( itsManager );
    reservation->Set( size );
    void* memory = XAllocateWithRetry( itsManager, size, [&] { return WPages::Allocate( size ); } );
    const XThreadLock lock( itsMutex );
    itsPieces.emplace( memory, XPiece{ inSize, std::move( reservation ) } );
    return memory;
}

void* XPageHeap::Reallocate( void* inMemory, USize64 inSize )
{
    if ( !inMemory )
        return Allocate( inSize );
    const USize64 oldSize = GetPaddedSize( GetSize( inMemory ) );
    const USize64 size = GetPaddedSize( inSize );
    const auto resize = [&] { return WPages::Resize( inMemory, oldSize, size ); };
    void* memory = nullptr;
    GetReservation( inMemory )
        .SetAround( size, [&] { memory = XAllocateWithRetry( itsManager, size, resize ); } );
    const XThreadLock lock( itsMutex );
    auto piece = itsPieces.extract( inMemory );
    piece.key() = memory;
    piece.mapped().size = inSize;
    itsPieces.insert( std::move( piece ) );
    return memory;
}

void XPageHeap::Free( void* inMemory )
{
    if ( !inMemory )
        return;
    const USize64 size = GetPaddedSize( GetSize( inMemory ) );
    {
        const XThreadLock lock( itsMutex );
        itsPieces.erase( inMemory );
    }
    WPages::Free( inMemory, size );
}

USize64 XPageHeap::GetSize( const void* inMemory )
{
    const XThreadLock lock( itsMutex );
    return GetPiece( inMemory ).size;
}

XMemoryReservation& XPageHeap::GetReservation( const void* inMemory )
{
    const XThreadLock lock( itsMutex );
    return *GetPiece( inMemory ).reservation;
}

XPageHeap::XPiece& XPageHeap::GetPiece( const void* inMemory )
{
    const auto piece = itsPieces.find( inMemory );
    XAssert( piece != itsPieces.end() );
    return piece->second;
}
