#pragma once

#include "Images/WImageFile.h"

/// Calls `inWork` with a typed pointer to the channel's sample of the first pixel, and returns its result.
/// Samples of adjacent pixels are as many elements apart as there are channels.
template<class TWork>
auto XVisitSamples( const WImagePage& inPage, std::uint32_t inChannel, TWork inWork )
{
    return VisitSampleType(
        inPage.type,
        [&]<class T>( std::type_identity<T> ) { return inWork( inPage.GetSamples<T>() + inChannel ); } );
}
