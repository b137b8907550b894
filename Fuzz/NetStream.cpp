// The receiving side of a network stream with each cipher. The first byte chooses cipher, byte order and buffer, the
// second the order of the reads; the others are what the peer has sent. Reads end with a documented number, and what a
// stream peeks, it reads.

#include "FuzzTools.h"
#include "MemoryEndpoint.h"

#include "Network/XEncryptedNetStream.h"

namespace
{

constexpr char kKey[] = "sixteen bytes ok";

/// What is peeked comes with the next read of the size.
void ReadAfterPeek( XStream& ioStream, bool inIsPeekable )
{
    const std::uint32_t peeked = inIsPeekable ? ioStream.Peek32() : 0;
    const std::uint32_t value = ioStream.Read32();
    Require( !inIsPeekable || value == peeked );
}

void ReadSomething( XStream& ioStream, unsigned inKind, bool inIsPeekable )
{
    XVector<std::uint16_t> values;
    switch ( inKind % 7 )
    {
    case 0:
        return ReadAfterPeek( ioStream, inIsPeekable );
    case 1:
        ioStream.ReadString();
        return;
    case 2:
        delete ioStream.ReadObject();
        return;
    case 3:
        return ioStream.ReadCounted( values, ioStream.Read32() );
    case 4:
        ioStream.ReadBool();
        return;
    case 5:
        ioStream.ReadLine();
        return;
    default:
        ioStream.Read64();
    }
}

void ReadAll( XStream& ioStream, unsigned inOrder, bool inIsPeekable )
{
    for ( unsigned kind = inOrder;; kind = kind * 3 + 1 )
        ReadSomething( ioStream, kind, inIsPeekable );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    if ( inSize < 2 )
        return 0;
    const auto algorithm = static_cast<XEncryptedNetStream::XAlgorithm>( inData[0] % 3 );
    const bool isTEA = algorithm == XEncryptedNetStream::kAlgorithmTEA;
    const bool isRC4 =
        algorithm == XEncryptedNetStream::kAlgorithmRC4; // whose peeks take the bytes, by design
    XNetEndpoint endpoint( std::make_unique<MemoryEndpointImp>( inData + 2, inSize - 2 ) );
    XEncryptedNetStream stream(
        endpoint, kKey, algorithm, kNoTimeout, kNoTimeout, isTEA ? 0 : inData[0] / 6 );
    stream.SetByteOrder( inData[0] / 3 % 2 == 0 ? kIntelOrder : kMotorolaOrder );
    RequireDocumentedErrors(
        { 1003, 1004, 1005, 1006, 1013, 1015, 1262, 3100 }, [&] { ReadAll( stream, inData[1], !isRC4 ); } );
    return 0;
}
