#include "Images/WDeflateUnpacker.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <zlib.h>

class WDeflateUnpacker::Inflater : public z_stream
{
public:
    Inflater() : z_stream{}
    {
        if ( inflateInit( this ) != Z_OK )
            throw std::bad_alloc();
    }
    ~Inflater() { inflateEnd( this ); }
    Inflater( const Inflater& ) = delete;
    Inflater& operator=( const Inflater& ) = delete;
};

WDeflateUnpacker::WDeflateUnpacker( WTIFFPackedBytes inPacked )
    : WTIFFUnpacker( std::move( inPacked ) ), itsInflater( std::make_unique<Inflater>() )
{
}

WDeflateUnpacker::~WDeflateUnpacker() = default;

void WDeflateUnpacker::Reset()
{
    inflateReset( itsInflater.get() );
    itsHasEnded = false;
}

void WDeflateUnpacker::Unpack( std::byte* outBytes, std::size_t inCount )
{
    while ( inCount > 0 )
    {
        const auto count = UnpackSome( outBytes, inCount );
        if ( count == 0 )
            RefuseTooShort();
        outBytes += count;
        inCount -= count;
    }
}

/// zlib compares the checksum when it comes to the end of the stream. One byte more is asked for, so that it does.
void WDeflateUnpacker::Finish( std::uint64_t inUnused )
{
    std::array<std::byte, 4096> unused;
    // Rows beyond the page are unpacked and dropped.
    for ( auto left = inUnused + 1; left > 0 && !itsHasEnded; )
    {
        const auto count = UnpackSome( unused.data(), std::min<std::uint64_t>( unused.size(), left ) );
        if ( count == 0 && !itsHasEnded )
            RefuseTooShort();
        left -= count;
    }
    if ( !itsHasEnded )
        Refuse( "deflate data exceed the strip or tile" );
}

/// Returns fewer bytes than requested at the end of the stream or of the packed bytes.
std::size_t WDeflateUnpacker::UnpackSome( std::byte* outBytes, std::size_t inCount )
{
    auto& stream = *itsInflater;
    const auto room = static_cast<uInt>( std::min<std::size_t>( inCount, std::numeric_limits<uInt>::max() ) );
    stream.next_out = reinterpret_cast<Bytef*>( outBytes );
    stream.avail_out = room;
    while ( stream.avail_out > 0 && !itsHasEnded )
    {
        if ( itsPacked.GetCount() == 0 && !itsPacked.ReadMore() )
            break;
        stream.next_in = const_cast<Bytef*>( itsPacked.GetBytes() );
        stream.avail_in = static_cast<uInt>( itsPacked.GetCount() );
        const auto result = inflate( &stream, Z_NO_FLUSH );
        itsPacked.Skip( itsPacked.GetCount() - stream.avail_in );
        itsHasEnded = result == Z_STREAM_END;
        if ( result == Z_MEM_ERROR )
            throw std::bad_alloc();
        if ( result != Z_OK && !itsHasEnded )
            Refuse( stream.msg ? stream.msg : "deflate" );
    }
    return room - stream.avail_out;
}
