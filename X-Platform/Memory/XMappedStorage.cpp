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
    const USize64 bytes = XMemoryManager::AlignSizeToPageSize( inSize );
    XResourceTracker::RsrcAllocated( kKind, bytes ); // nothing may fail once there is a view
    try
    {
        itsReservation.SetAround( bytes, [&] { itsMapping->MapView( inSize, inAccess ); } );
    }
    catch ( ... )
    {
        XResourceTracker::RsrcDeallocated( kKind, bytes );
        throw;
    }
    itsViewData = itsMapping->GetViewData();
    itsViewSize = inSize;
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
    itsViewData = itsMapping->GetViewData();
    itsViewSize = inSize;
    XResourceTracker::RsrcSizeChanged( kKind, before, after );
    return true;
}

void XMappedStorage::UnmapView()
{
    if ( !GetViewData() )
        return;
    itsViewData = nullptr;
    itsMapping->UnmapView();
    XResourceTracker::RsrcDeallocated( kKind, itsReservation.GetBytes() );
    itsReservation.Set( 0 );
}
