#pragma once

#include "Ground/XFileMappingBase.h"
#include "Memory/Internal/XSpillFile.h"
#include "Memory/XMemoryReservation.h"

#include <memory>

/// A mapping whose view counts against the manager's budget while it is there. Memory of the page file comes with its
/// view and goes with it.
/// Internal to the library.
/// Threads: the owner's.
class XMappedStorage
{
public:
    /// `inSize` bytes of the page file, above 0.
    XMappedStorage( XMemoryManager& inManager, USize64 inSize )
        : itsManager( inManager ), itsPageFileSize( inSize ), itsReservation( inManager )
    {
    }
    /// `inRange` is what is mapped, where that is a part of a spill file.
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

    /// Throws 1012 when the budget has no room, 1020 when the system refuses; then there is no view.
    void MapView( USize64 inSize, XFileMappingBase::XPageProtection inAccess );
    /// Makes mapping and view larger or smaller where the bytes are, which may move. False, with everything as it was,
    /// where the mapping cannot. Throws 1012 when the budget has no room for what is new.
    bool ResizeView( USize64 inSize );
    void UnmapView();
    /// Unmaps the view for good. Memory of the page file may be kept for another block.
    void GiveUpView();

    /// Bytes of the view, 0 while there is none.
    USize64 GetViewSize() const { return GetViewData() ? itsViewSize : 0; }
    /// Null while there is no view.
    void* GetViewData() const { return itsViewData; }
    bool IsViewIntact() const { return itsMapping->IsViewIntact(); }
    /// Null for what is not in a spill file.
    const XSpillRange* GetRange() const { return itsRange.get(); }

private:
    bool TakeSpareView( USize64 inSize );

    XMemoryManager& itsManager;
    const USize64 itsPageFileSize = 0;            // 0 for files
    std::unique_ptr<XSpillRange> itsRange;        // given back when nothing is mapped any more
    std::unique_ptr<XFileMappingBase> itsMapping; // null while memory of the page file has no view
    XMemoryReservation itsReservation;
    void* itsViewData = nullptr; // the mapping's, which every lock asks for
    USize64 itsViewSize = 0;
};
