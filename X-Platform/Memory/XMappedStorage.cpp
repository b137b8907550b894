#include "Memory/XMappedStorage.h"

#include "Memory/XMemoryManager.h"
#include "Memory/XResourceTracker.h"

#include <algorithm>

namespace
{
constexpr const char* kKind = "Mapped Block";
} // namespace

void XMappedStorage::MapView( USize64 inSize, XFileMappingBase::XPageProtection inAccess )
{
    itsReservation.SetAround(
        XMemoryManager::AlignSizeToPageSize( inSize ), [&] { itsMapping->MapView( inSize, inAccess ); } );
    itsViewSize = inSize;
    XResourceTracker::RsrcAllocated( kKind, itsReservation.GetBytes() );
}

bool XMappedStorage::ResizeView( USize64 inSize )
{
    const USize64 before = itsReservation.GetBytes();
    const USize64 after = XMemoryManager::AlignSizeToPageSize( inSize );
    itsReservation.Set( std::max( before, after ) );
    const bool isDone = itsMapping->ResizeView( inSize );
    itsReservation.Set( isDone ? after : before );
    if ( !isDone )
        return false;
    itsViewSize = inSize;
    XResourceTracker::RsrcSizeChanged( kKind, before, after );
    return true;
}

void XMappedStorage::UnmapView()
{
    if ( !GetViewData() )
        return;
    itsMapping->UnmapView();
    XResourceTracker::RsrcDeallocated( kKind, itsReservation.GetBytes() );
    itsReservation.Set( 0 );
}
