#include "Network/Internal/XByteQueue.h"

#include <algorithm>
#include <cstring>

std::uint8_t* XByteQueue::MakeRoom( USize64 inCount )
{
    if ( itsBegin == itsEnd )
        itsBegin = itsEnd = 0;
    if ( itsCapacity - itsEnd < inCount )
        Move(
            0,
            GetCount() + inCount <= itsCapacity ? itsCapacity
                                                : std::max( 2 * itsCapacity, GetCount() + inCount ) );
    return itsBytes.get() + itsEnd;
}

USize64 XByteQueue::Take( std::uint8_t* outBytes, USize64 inCount )
{
    const USize64 count = std::min( inCount, GetCount() );
    if ( count > 0 )
        std::memcpy( outBytes, GetData(), count );
    itsBegin += count;
    return count;
}

void XByteQueue::PutBack( const std::uint8_t* inBytes, USize64 inCount )
{
    if ( inCount == 0 )
        return;
    if ( itsBegin < inCount )
        Move( inCount, std::max( itsCapacity, inCount + GetCount() ) );
    itsBegin -= inCount;
    std::memcpy( itsBytes.get() + itsBegin, inBytes, inCount );
}

/// Moves the bytes so that they begin at `inBegin` of a block of this capacity.
void XByteQueue::Move( USize64 inBegin, USize64 inCapacity )
{
    const USize64 count = GetCount();
    if ( inCapacity > itsCapacity )
    {
        auto bytes = std::make_unique_for_overwrite<std::uint8_t[]>( inCapacity );
        if ( count > 0 )
            std::memcpy( bytes.get() + inBegin, GetData(), count );
        itsBytes = std::move( bytes );
        itsCapacity = inCapacity;
    }
    else if ( count > 0 )
        std::memmove( itsBytes.get() + inBegin, GetData(), count );
    itsBegin = inBegin;
    itsEnd = inBegin + count;
}
