#pragma once

#include <cstdint>
#include <vector>

/// How far the rows at vertical distance 0, 1, ... `inRadius` of a disc reach to either side: the disc consists
/// of the pixels whose distance from the centre is at most the radius.
inline std::vector<std::uint32_t> XGetDiscReaches( std::uint32_t inRadius )
{
    std::vector<std::uint32_t> reaches;
    auto reach = inRadius;
    for ( std::uint32_t y = 0; y <= inRadius; ++y )
    {
        while ( reach * reach + y * y > inRadius * inRadius )
            --reach;
        reaches.push_back( reach );
    }
    return reaches;
}
