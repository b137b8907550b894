#include "Memory/Internal/XMappedStorage.h"

#include "Memory/Internal/XSpareViews.h"
#include "Memory/XMemoryManager.h"
#include "Memory/XResourceTracker.h"

#include <algorithm>
#include <cstring>

// A view, its bytes in the budget (itsReservation) and its entry in the resource tracker exist together: each
// function that maps, resizes or unmaps keeps the three in step, also when it fails. The budget counts whole
// pages, as the system does.
//
// Memory of the page file that a block gives up is kept as a spare view, still mapped and still counted, for
// the next block of the same size: mapping and first touching pages costs more than clearing them. The
// manager frees spare views when it needs room.

namespace
{
constexpr const char* kMappedKind = "Mapped Block";
} // namespace

void XMappedStorage::MapView( USize64 inSize, XFileMappingBase::XPageProtection inAccess )
{
    const USize64 bytes = XMemoryManager::AlignSizeToPageSize( inSize );
    XResourceTracker::RsrcAllocated( kMappedKind, bytes ); // nothing may fail once there is a view
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
        XResourceTracker::RsrcDeallocated( kMappedKind, bytes );
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
    // Fails here, if at all: afterwards the reservation only shrinks.
    itsReservation.Set( std::max( before, after ) );
    const bool isDone = itsMapping->ResizeView( inSize );
    itsReservation.Set( isDone ? after : before );
    if ( !isDone )
        return false;
    itsViewData = itsMapping->GetViewData();
    itsViewSize = inSize;
    XResourceTracker::RsrcSizeChanged( kMappedKind, before, after );
    return true;
}

void XMappedStorage::UnmapView()
{
    if ( !GetViewData() )
        return;
    itsViewData = nullptr;
    itsMapping->UnmapView();
    XResourceTracker::RsrcDeallocated( kMappedKind, itsReservation.GetBytes() );
    itsReservation.Set( 0 );
}

void XMappedStorage::GiveUpView()
{
    if ( !GetViewData() || itsPageFileSize == 0 )
        return UnmapView();
    XResourceTracker::RsrcDeallocated( kMappedKind, itsReservation.GetBytes() );
    itsViewData = nullptr;
    itsManager.KeepSpareView( { std::move( itsMapping ), itsViewSize, itsReservation.Release() } );
}
