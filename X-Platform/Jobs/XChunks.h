#pragma once

#include "Jobs/XProgress.h"

#include <algorithm>
#include <cstdint>

/// So much work at a time that an abort is noticed within a millisecond or so, but hardly costs anything.
constexpr std::uint64_t kPixelsAtOnce = 64 * 1024;
constexpr std::uint64_t kTableRowsAtOnce = 512;

/// Goes through the numbers from 0 to `inCount` in pieces: calls `inWork( first, end )` for one after the other. Between
/// them the user's abort is obeyed (1001) and the thread's progress moves on.
template<class Work>
void ForEachChunk( std::uint64_t inCount, std::uint64_t inChunkSize, Work inWork )
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

/// The same for the rows of a page: calls `inWork( row )`.
template<class Work>
void ForEachRow( std::uint32_t inHeight, std::uint32_t inWidth, Work inWork )
{
    const auto rowsAtOnce = std::max<std::uint64_t>( kPixelsAtOnce / std::max( inWidth, 1u ), 1 );
    ForEachChunk(
        inHeight, rowsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto row = inFirst; row < inEnd; ++row )
                inWork( static_cast<std::uint32_t>( row ) );
        } );
}
