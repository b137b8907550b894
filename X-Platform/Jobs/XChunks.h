#pragma once

#include "Jobs/XProgress.h"

#include <algorithm>
#include <cstdint>

/// Chunk sizes for which an abort takes effect within about a millisecond at hardly any cost.
constexpr std::uint64_t kPixelsAtOnce = 64 * 1024;
constexpr std::uint64_t kTableRowsAtOnce = 512;

/// Processes the indices from 0 up to `inCount` in chunks: calls `inWork( first, end )` for each. Between chunks the
/// thread's progress moves on, and an abort throws 1001.
template<class Work>
void XForEachChunk( std::uint64_t inCount, std::uint64_t inChunkSize, Work inWork )
{
    XProgress progress( inCount );
    for ( std::uint64_t first = 0; first < inCount; )
    {
        const auto end = std::min( first + inChunkSize, inCount );
        inWork( first, end );
        first = end;
        progress.SetProgress( static_cast<double>( end ) );
        progress.YieldAndCheckAbort();
    }
}

/// Processes the rows of a page in chunks of about kPixelsAtOnce pixels, as XForEachChunk does: calls `inWork( row )`.
template<class Work>
void XForEachRow( std::uint32_t inHeight, std::uint32_t inWidth, Work inWork )
{
    const auto rowsAtOnce = std::max<std::uint64_t>( kPixelsAtOnce / std::max( inWidth, 1u ), 1 );
    XForEachChunk(
        inHeight, rowsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto row = inFirst; row < inEnd; ++row )
                inWork( static_cast<std::uint32_t>( row ) );
        } );
}
