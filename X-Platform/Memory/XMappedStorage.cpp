#include "Memory/XMappedStorage.h"

#include "Memory/XMemoryManager.h"
#include "Memory/XResourceTracker.h"

namespace
{
constexpr const char* kKind = "Mapped Block";
} // namespace

void XMappedStorage::MapView( USize64 inSize, XFileMappingBase::XPageProtection inAccess )
{
    itsReservation.SetAround(
        XMemoryManager::AlignSizeToPageSize( inSize ), [&] { itsMapping->MapView( inSize, inAccess ); } );
    XResourceTracker::RsrcAllocated( kKind, itsReservation.GetBytes() );
}

void XMappedStorage::UnmapView()
{
    if ( !GetViewData() )
        return;
    itsMapping->UnmapView();
    XResourceTracker::RsrcDeallocated( kKind, itsReservation.GetBytes() );
    itsReservation.Set( 0 );
}
