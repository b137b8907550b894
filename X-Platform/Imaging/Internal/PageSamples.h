#pragma once

#include "Images/WImageFile.h"

/// Calls `inWork` with a pointer, of the samples' type, to the sample of a channel in the page's first pixel; that in the
/// next pixel lies as many samples further as there are channels. Returns what `inWork` returns.
template<class Work>
auto VisitSamples( const WImagePage& inPage, std::uint32_t inChannel, Work inWork )
{
    switch ( inPage.type )
    {
    case WImagePage::kUInt8:
        return inWork( inPage.GetSamples<std::uint8_t>() + inChannel );
    case WImagePage::kUInt16:
        return inWork( inPage.GetSamples<std::uint16_t>() + inChannel );
    default:
        return inWork( inPage.GetSamples<float>() + inChannel );
    }
}
