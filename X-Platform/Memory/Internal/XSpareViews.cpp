#include "Memory/Internal/XSpareViews.h"

#include "Threads/XThreadLock.h"

#include <algorithm>
#include <utility>

bool XSpareViews::Keep( XSpareView& ioView )
{
    const XThreadLock lock( itsMutex );
    if ( itsCount == kMaxCount )
        return false;
    itsViews[itsCount++] = std::move( ioView );
    return true;
}

XSpareView XSpareViews::Take( USize64 inSize )
{
    const XThreadLock lock( itsMutex );
    for ( std::size_t i = itsCount; i > 0; --i )
        if ( itsViews[i - 1].size == inSize )
            return TakeAt( i - 1 );
    return {};
}

XSpareView XSpareViews::TakeOldest()
{
    const XThreadLock lock( itsMutex );
    return itsCount > 0 ? TakeAt( 0 ) : XSpareView();
}

bool XSpareViews::IsEmpty() const
{
    const XThreadLock lock( itsMutex );
    return itsCount == 0;
}

/// Under the mutex.
XSpareView XSpareViews::TakeAt( std::size_t inIndex )
{
    XSpareView view = std::move( itsViews[inIndex] );
    std::move( itsViews.begin() + inIndex + 1, itsViews.begin() + itsCount, itsViews.begin() + inIndex );
    --itsCount;
    return view;
}
