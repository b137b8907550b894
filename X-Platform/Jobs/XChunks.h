#pragma once

#include "Jobs/XProgress.h"

#include <algorithm>
#include <cstdint>

/// Chunk sizes that let an abort take effect within about a millisecond at negligible cost.
constexpr std::uint64_t kPixelsAtOnce = 64 * 1024;
constexpr std::uint64_t kTableRowsAtOnce = 512;

/// Calls `inWork( first, end )` for consecutive chunks of the indices from 0 to below `inCount`. Updates the
/// thread's progress after each chunk; throws 1001 on an abort.
template<class TWork>
void XForEachChunk( std::uint64_t inCount, std::uint64_t inChunkSize, TWork inWork )
{
    XProgress progress( inCount );
    for ( std::uint64_t first = 0; first < inCount; )
    {
        const auto end = ( std::min )( first + inChunkSize, inCount );
        inWork( first, end );
        first = end;
        progress.SetProgress( static_cast<double>( end ) );
        progress.YieldAndCheckAbort();
    }
}

/// Calls `inWork( row )` for each row of a page, in chunks of about kPixelsAtOnce pixels; see XForEachChunk.
template<class TWork>
void XForEachRow( std::uint32_t inHeight, std::uint32_t inWidth, TWork inWork )
{
    const auto rowsAtOnce = std::max<std::uint64_t>( kPixelsAtOnce / ( std::max )( inWidth, 1u ), 1 );
    XForEachChunk(
        inHeight, rowsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto row = inFirst; row < inEnd; ++row )
                inWork( static_cast<std::uint32_t>( row ) );
        } );
}
