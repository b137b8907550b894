#pragma once

#include "Imaging/ConnectedComponents.h"
#include "Jobs/XChunks.h"

/// Calls `inWork( run )` for every run of an object, in raster order, in pieces between which the user's abort is obeyed
/// (1001).
template<class Work>
void ForEachObjectRun( const LabelledObjects& inObjects, Work inWork )
{
    constexpr std::uint64_t kRunsAtOnce = 1024;
    ForEachChunk(
        inObjects.runs.size(), kRunsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                if ( inObjects.runs[i].object != PixelRun::kNoObject )
                    inWork( inObjects.runs[i] );
        } );
}
