#pragma once

#include "Images/WImageFile.h"

#include <limits>

/// A page of one channel, of the size and resolution of another page; its samples are uninitialised.
inline WImagePage XMakeChannelPage( const WImageFormat& inFormat, WImageFormat::SampleType inType )
{
    WImagePage page;
    static_cast<WImageFormat&>( page ) = inFormat;
    page.channels = 1;
    page.type = inType;
    page.Allocate( ( std::numeric_limits<std::uint64_t>::max )() );
    return page;
}
