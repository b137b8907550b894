#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

/// What the network benchmarks measure others with. Apart from the rest, since the headers of the peers are large.
namespace peers
{

/// Prepares a thread of a peer.
using Prepare = std::function<void()>;

/// A server and a client that send messages of a size to and fro.
class Echo
{
public:
    virtual ~Echo() = default;
    virtual void Call( std::vector<std::uint8_t>& ioBytes ) = 0;
};

Echo* MakeZeroMQEcho( const Prepare& inPrepareServer );
Echo* MakeCapnpEcho( const Prepare& inPrepareServer );

/// A server of gRPC, until the function that gets its port returns; and a client of the server on a port. Each in a
/// process of its own: in one they would share the library's threads.
void ServeGRPC( const std::function<void( int )>& inServe );
Echo* MakeGRPCEcho( int inPort );

/// XTEA, which has the same number of rounds as TEA.
void EncryptXTEA( std::vector<std::uint8_t>& ioBytes, const char* inKey );
void DecryptXTEA( std::vector<std::uint8_t>& ioBytes, const char* inKey );

} // namespace peers
