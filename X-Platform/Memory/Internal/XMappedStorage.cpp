#include "Memory/Internal/XMappedStorage.h"

#include "Memory/Internal/XSpareViews.h"
#include "Memory/XMemoryManager.h"
#include "Memory/XResourceTracker.h"

#include <algorithm>
#include <cstring>

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
        const auto map = [&]
        {
            if ( !itsMapping )
                itsMapping = itsManager.MakePageFileMapping( itsPageFileSize );
            itsMapping->MapView( inSize, inAccess );
        };
        if ( !TakeSpareView( inSize ) )
            itsReservation.ReserveDuring( bytes, map );
    }
    catch ( ... )
    {
        XResourceTracker::RsrcDeallocated( kKind, bytes );
        throw;
    }
    itsViewData = itsMapping->GetViewData();
    itsViewSize = inSize;
}

/// Takes a spare view, if there is one, and clears its old contents.
bool XMappedStorage::TakeSpareView( USize64 inSize )
{
    if ( itsMapping || inSize != itsPageFileSize )
        return false;
    XSpareView view = itsManager.TakeSpareView( inSize );
    if ( !view.mapping )
        return false;
    std::memset( view.mapping->GetViewData(), 0, inSize );
    itsMapping = std::move( view.mapping );
    itsReservation.Adopt( view.bytes );
    return true;
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

void XMappedStorage::GiveUpView()
{
    if ( !GetViewData() || itsPageFileSize == 0 )
        return UnmapView();
    XResourceTracker::RsrcDeallocated( kKind, itsReservation.GetBytes() );
    itsViewData = nullptr;
    itsManager.KeepSpareView( { std::move( itsMapping ), itsViewSize, itsReservation.Release() } );
}
