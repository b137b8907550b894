#pragma once

#include "Ground/XFileMappingBase.h"
#include "Ground/XTypes.h"
#include "Threads/XMutex.h"

#include <array>
#include <memory>

/// A page-file mapping with its view; empty without a mapping. Internal to the library.
struct XSpareView
{
    std::unique_ptr<XFileMappingBase> mapping;
    USize64 size = 0;  ///< of the view
    USize64 bytes = 0; ///< counted against the budget
};

/// Page-file views that blocks have released, kept for new blocks of the same size: clearing memory takes a
/// fraction of the time that the system needs to provide new pages.
///
/// Internal to the library.
/// Threads: any.
class XSpareViews
{
public:
    XSpareViews() = default;
    XSpareViews( const XSpareViews& ) = delete;
    XSpareViews& operator=( const XSpareViews& ) = delete;

    /// Returns false and changes nothing if there are too many views.
    bool Keep( XSpareView& ioView );
    /// The most recently kept view of this size, with its old contents.
    XSpareView Take( USize64 inSize );
    XSpareView TakeOldest();
    bool IsEmpty() const;

private:
    static constexpr std::size_t kMaxCount = 64;

    XSpareView TakeAt( std::size_t inIndex );

    mutable XMutex itsMutex; // guards the members below
    std::size_t itsCount = 0;
    std::array<XSpareView, kMaxCount> itsViews; // oldest first
};
