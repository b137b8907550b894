#pragma once

#include "Images/WImageFile.h"

/// Calls `inWork` with a pointer, of the samples' type, to the sample of a channel in the page's first pixel; that in the
/// next pixel lies as many samples further as there are channels. Returns what `inWork` returns.
template<class Work>
auto XVisitSamples( const WImagePage& inPage, std::uint32_t inChannel, Work inWork )
{
    return VisitSampleType(
        inPage.type,
        [&]<class T>( std::type_identity<T> ) { return inWork( inPage.GetSamples<T>() + inChannel ); } );
}
