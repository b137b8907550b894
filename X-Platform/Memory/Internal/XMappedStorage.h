#pragma once

#include "Ground/XFileMappingBase.h"
#include "Memory/Internal/XSpillFile.h"
#include "Memory/XMemoryReservation.h"

#include <memory>

/// A mapping whose view, while mapped, counts against the manager's budget. Memory of the page file is
/// allocated with its view and freed with it.
/// Internal to the library.
/// Threads: those of its owner.
class XMappedStorage
{
public:
    /// Uses `inSize` bytes of the page file; `inSize` must be above 0.
    XMappedStorage( XMemoryManager& inManager, USize64 inSize )
        : itsManager( inManager ), itsPageFileSize( inSize ), itsReservation( inManager )
    {
    }
    /// `inRange` is the mapped range, if it belongs to a spill file.
    XMappedStorage(
        XMemoryManager& inManager, std::unique_ptr<XFileMappingBase> inMapping,
        std::unique_ptr<XSpillRange> inRange = nullptr )
        : itsManager( inManager ), itsRange( std::move( inRange ) ), itsMapping( std::move( inMapping ) ),
          itsReservation( inManager )
    {
    }
    XMappedStorage( const XMappedStorage& ) = delete;
    XMappedStorage& operator=( const XMappedStorage& ) = delete;
    ~XMappedStorage() { UnmapView(); }

    /// Throws 1012 if the budget has no room, 1020 if the system cannot map the view; then there is no view.
    void MapView( USize64 inSize, XFileMappingBase::XPageProtection inAccess );
    /// Resizes mapping and view without copying; the view may move. Returns false, with nothing changed, if
    /// the mapping does not support this. Throws 1012 if the budget has no room for the additional bytes.
    bool ResizeView( USize64 inSize );
    void UnmapView();
    /// Unmaps the view permanently. Page-file memory may be kept as a spare view for another block.
    void GiveUpView();

    /// The size of the view in bytes; 0 while there is none.
    USize64 GetViewSize() const { return GetViewData() ? itsViewSize : 0; }
    /// Null while there is no view.
    void* GetViewData() const { return itsViewData; }
    bool IsViewIntact() const { return itsMapping->IsViewIntact(); }
    /// Null if the mapping is not a range of a spill file.
    const XSpillRange* GetRange() const { return itsRange.get(); }

private:
    bool TakeSpareView( USize64 inSize );

    XMemoryManager& itsManager;
    const USize64 itsPageFileSize = 0;            // 0 for files
    std::unique_ptr<XSpillRange> itsRange;        // released after the mapping
    std::unique_ptr<XFileMappingBase> itsMapping; // null while page-file memory has no view
    XMemoryReservation itsReservation;
    void* itsViewData = nullptr; // the mapping's view, cached because every lock needs it
    USize64 itsViewSize = 0;
};
