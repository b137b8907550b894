#include "Memory/XHeapMemory.h"

#include "Core/XErrorNumbers.h"
#include "Memory/XMemoryManager.h"
#include "Memory/XResourceTracker.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

namespace
{
constexpr const char* kKind = "Heap Block";
} // namespace

XHeapMemory::XHeapMemory( XMemoryManager& inManager, USize64 inAlignment )
    : itsManager( inManager ), itsReservation( inManager ), itsAlignment( inAlignment )
{
    XAssert( inAlignment > 0 && ( inAlignment & ( inAlignment - 1 ) ) == 0 );
}

void XHeapMemory::Allocate( USize64 inSize )
{
    XAssert( !itsData );
    const USize64 size = std::max<USize64>( inSize, 1 );
    Reallocate( size );
    itsSize = inSize;
    XResourceTracker::RsrcAllocated( kKind, inSize );
}

void XHeapMemory::Resize( USize64 inSize )
{
    if ( !itsData )
        return Allocate( inSize );
    Reallocate( std::max<USize64>( inSize, 1 ) );
    XResourceTracker::RsrcSizeChanged( kKind, itsSize, inSize );
    itsSize = inSize;
}

/// Where the bytes have to move, there are two of each for a moment, which the budget does not count: most systems move
/// large pieces by their pages.
void XHeapMemory::Reallocate( USize64 inSize )
{
    const USize64 before = itsReservation.GetBytes();
    itsReservation.Set( std::max( before, inSize ) );
    try
    {
        itsData = AllocateWithRetry( before, inSize );
    }
    catch ( ... )
    {
        itsReservation.Set( before );
        throw;
    }
    itsReservation.Set( inSize );
}

void* XHeapMemory::AllocateWithRetry( USize64 inOldSize, USize64 inSize )
{
    const XThreadLock lock( itsManager.GetAllocationMutex() );
    const auto allocate = [&]
    {
        return itsData ? itsManager.ReallocateHeap( itsData, inOldSize, inSize, itsAlignment )
                       : itsManager.AllocateHeap( inSize, itsAlignment );
    };
    void* data = allocate();
    if ( !data )
    {
        itsManager.FreeMemory( inSize );
        data = allocate();
    }
    if ( !data )
        XThrow( kErrorOutOfMemory );
    return data;
}

void XHeapMemory::Free()
{
    if ( !itsData )
        return;
    itsManager.FreeHeap( itsData, itsAlignment );
    itsReservation.Set( 0 );
    XResourceTracker::RsrcDeallocated( kKind, itsSize );
    itsData = nullptr;
    itsSize = 0;
}
