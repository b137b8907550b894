// Compressed bytes. The first byte selects the method, the second the size of the output that is accepted.

#include "FuzzTools.h"

#include "Compression/XLZOCompressor.h"
#include "Compression/XZlibCompressor.h"

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    if ( inSize < 2 )
        return 0;
    const XZlibCompressor zlib;
    const XLZOCompressor lzo;
    const bool isLZO = inData[0] != 0;
    const XCompressor& compressor = isLZO ? static_cast<const XCompressor&>( lzo ) : zlib;
    const XCompressor::Bytes bytes( inData + 2, inSize - 2 );
    const USize64 most = USize64{ 1 } << ( inData[1] % 24 );
    RequireDocumentedErrors(
        { 1005 },
        [&]
        {
            const auto output = compressor.Decompress( bytes, most );
            Require( output.size() <= most );
            Require( !isLZO || output.size() <= bytes.size() * XLZOCompressor::kMostRatio );
            Require( compressor.Decompress( compressor.Compress( output ), output.size() ) == output );
            XVector<std::uint8_t> same( output.size() );
            compressor.Decompress( bytes, same );
            Require( same == output );
        } );
    return 0;
}
