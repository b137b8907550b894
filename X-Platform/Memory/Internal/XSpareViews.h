#pragma once

#include "Ground/XFileMappingBase.h"
#include "Ground/XTypes.h"
#include "Threads/XMutex.h"

#include <array>
#include <memory>

/// A mapping of the page file that has a view. Without a mapping: none. Internal to the library.
struct XSpareView
{
    std::unique_ptr<XFileMappingBase> mapping;
    USize64 size = 0;  ///< of the view
    USize64 bytes = 0; ///< that count against the budget
};

/// Views of the page file that blocks have given up, for the next blocks of the same size: to clear memory takes a
/// fraction of the time for which the system gives it anew, page by page.
///
/// Internal to the library.
/// Threads: any.
class XSpareViews
{
public:
    XSpareViews() = default;
    XSpareViews( const XSpareViews& ) = delete;
    XSpareViews& operator=( const XSpareViews& ) = delete;

    /// Returns false, with nothing done, when there are too many.
    bool Keep( XSpareView& ioView );
    /// The youngest view of this size, with the bytes that are in it.
    XSpareView Take( USize64 inSize );
    XSpareView TakeOldest();
    bool IsEmpty() const;

private:
    static constexpr std::size_t kMaxCount = 64;

    XSpareView TakeAt( std::size_t inIndex );

    mutable XMutex itsMutex; // guards the rest
    std::size_t itsCount = 0;
    std::array<XSpareView, kMaxCount> itsViews; // oldest first
};
