// What a server does with the first bytes of a connection: it makes a responder if they are a preamble it knows, and that
// responder reads what follows them; any other connection ends without one.

#include "FuzzTools.h"
#include "MemoryEndpoint.h"

#include "Servers/XNetResponder.h"
#include "Servers/XServer.h"

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <vector>

namespace
{

constexpr XVersion kPreamble{ 1301, 2 };
constexpr std::uint8_t kPreambleBytes[] = { 0x00, 0x02, 0x05, 0x15 };

// Never destroyed: the server's threads wait until the process ends.
std::mutex& sMutex = *new std::mutex;
std::condition_variable& sHasChanged = *new std::condition_variable;
// Guarded by sMutex:
const std::uint8_t* sData = nullptr; // of the next connection
std::size_t sSize = 0;
bool sHasEnded = true;
bool sHasResponder = false;
std::vector<std::uint8_t> sReceived;

/// A connection that tells its end.
class ConnectionImp : public MemoryEndpointImp
{
public:
    using MemoryEndpointImp::MemoryEndpointImp;
    ~ConnectionImp() override
    {
        const std::lock_guard lock( sMutex );
        sHasEnded = true;
        sHasChanged.notify_all();
    }
};

/// Accepts the connections of the fuzzer.
class ListenerImp : public MemoryEndpointImp
{
public:
    ListenerImp() : MemoryEndpointImp( nullptr, 0 ) {}

    XNetEndpoint* Listen() override
    {
        std::unique_lock lock( sMutex );
        sHasChanged.wait( lock, [] { return sData != nullptr; } );
        auto imp = std::make_unique<ConnectionImp>( sData, sSize );
        sData = nullptr;
        return new XNetEndpoint( std::move( imp ) );
    }
};

class Responder : public XNetResponder
{
public:
    Responder() : XNetResponder( "fuzz" )
    {
        const std::lock_guard lock( sMutex );
        sHasResponder = true;
    }
    ~Responder() override { StopResponding(); }

protected:
    void RespondSelf() override
    {
        XNetEndpoint endpoint = GetEndpoint();
        for ( std::uint8_t byte = 0;; )
        {
            endpoint.ReceiveData( &byte, 1, kNoTimeout );
            const std::lock_guard lock( sMutex );
            sReceived.push_back( byte );
        }
    }
};

class Server : public XServer
{
public:
    Server() : XServer( "fuzz", {} )
    {
        RegisterResponder( kPreamble, [] { return std::make_unique<Responder>(); } );
        StartAccepting( XNetEndpoint( std::make_unique<ListenerImp>() ) );
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    static Server& sServer = *new Server; // ends with the process
    Require( sServer.IsRunning() );
    static const std::uint8_t sNothing = 0;
    std::unique_lock lock( sMutex );
    sReceived.clear();
    sHasResponder = sHasEnded = false;
    sData = inSize > 0 ? inData : &sNothing;
    sSize = inSize;
    sHasChanged.notify_all();
    sHasChanged.wait( lock, [] { return sHasEnded; } );
    const bool isKnown = inSize >= sizeof( kPreambleBytes ) &&
        std::memcmp( inData, kPreambleBytes, sizeof( kPreambleBytes ) ) == 0;
    Require( sHasResponder == isKnown );
    Require(
        !isKnown ||
        std::equal(
            sReceived.begin(), sReceived.end(), inData + sizeof( kPreambleBytes ), inData + inSize ) );
    return 0;
}
