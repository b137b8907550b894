#pragma once

#include "Imaging/Objects/XConnectedComponents.h"
#include "Jobs/XChunks.h"

/// Calls `inWork( run )` for every run of an object, in raster order. An abort throws 1001 between chunks of
/// runs.
template<class TWork>
void XForEachObjectRun( const XLabelledObjects& inObjects, TWork inWork )
{
    constexpr std::uint64_t kRunsAtOnce = 1024;
    XForEachChunk(
        inObjects.runs.size(), kRunsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                if ( inObjects.runs[i].object != XPixelRun::kNoObject )
                    inWork( inObjects.runs[i] );
        } );
}
