#include "Memory/XHeapMemory.h"

#include "Memory/Internal/XAllocateWithRetry.h"
#include "Memory/XResourceTracker.h"

#include <algorithm>

namespace
{
constexpr const char* kHeapKind = "Heap Block";
} // namespace

XHeapMemory::XHeapMemory( XMemoryManager& inManager, USize64 inAlignment )
    : itsManager( inManager ), itsReservation( inManager ), itsAlignment( inAlignment )
{
    XAssert( inAlignment > 0 && ( inAlignment & ( inAlignment - 1 ) ) == 0 );
}

void XHeapMemory::Allocate( USize64 inSize )
{
    XAssert( !itsData );
    XResourceTracker::RsrcAllocated( kHeapKind, inSize ); // nothing may fail once there is memory
    try
    {
        Reallocate( std::max<USize64>( inSize, 1 ) );
    }
    catch ( ... )
    {
        XResourceTracker::RsrcDeallocated( kHeapKind, inSize );
        throw;
    }
    itsSize = inSize;
}

void XHeapMemory::Resize( USize64 inSize )
{
    if ( !itsData )
        return Allocate( inSize );
    if ( inSize > itsSize )
        Reallocate( inSize );
    else
        Shrink( inSize );
    XResourceTracker::RsrcSizeChanged( kHeapKind, itsSize, inSize );
    itsSize = inSize;
}

/// Where the bytes have to move, there are two of each for a moment, which the budget does not count: most systems move
/// large pieces by their pages.
void XHeapMemory::Reallocate( USize64 inSize )
{
    const USize64 before = itsReservation.GetBytes();
    const auto allocate = [&]
    {
        return itsData ? itsManager.ReallocateHeap( itsData, before, inSize, itsAlignment )
                       : itsManager.AllocateHeap( inSize, itsAlignment );
    };
    itsReservation.ReserveDuring(
        inSize, [&] { itsData = XAllocateWithRetry( itsManager, inSize, allocate ); } );
}

/// Does not fail: memory that the heap does not take back remains after the bytes.
void XHeapMemory::Shrink( USize64 inSize )
{
    const USize64 size = std::max<USize64>( inSize, 1 );
    const USize64 before = itsReservation.GetBytes();
    const XThreadLock lock( itsManager.GetAllocationMutex() );
    void* const data = itsManager.ReallocateHeap( itsData, before, size, itsAlignment );
    if ( !data )
        return;
    itsData = data;
    itsReservation.Set( size );
}

void XHeapMemory::Free()
{
    if ( !itsData )
        return;
    itsManager.FreeHeap( itsData, itsAlignment );
    itsReservation.Set( 0 );
    XResourceTracker::RsrcDeallocated( kHeapKind, itsSize );
    itsData = nullptr;
    itsSize = 0;
}
