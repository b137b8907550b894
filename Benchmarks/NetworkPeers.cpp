#include "NetworkPeers.h"

#include "Echo.capnp.h"

#include <botan/block_cipher.h>
#include <capnp/ez-rpc.h>
#include <zmq.h>

#include <atomic>
#include <memory>
#include <thread>

namespace peers
{

namespace
{

class ZeroMQEcho : public Echo
{
public:
    explicit ZeroMQEcho( const Prepare& inPrepareServer )
        : itsContext( zmq_ctx_new() ), itsServer( zmq_socket( itsContext, ZMQ_REP ) ),
          itsClient( zmq_socket( itsContext, ZMQ_REQ ) )
    {
        zmq_bind( itsServer, "tcp://127.0.0.1:*" );
        char name[256];
        std::size_t size = sizeof( name );
        zmq_getsockopt( itsServer, ZMQ_LAST_ENDPOINT, name, &size );
        zmq_connect( itsClient, name );
        itsThread = std::thread(
            [this, inPrepareServer]
            {
                inPrepareServer();
                char bytes[4096];
                for ( int count; ( count = zmq_recv( itsServer, bytes, sizeof( bytes ), 0 ) ) > 0; )
                    zmq_send( itsServer, bytes, static_cast<std::size_t>( count ), 0 );
            } );
    }
    ~ZeroMQEcho() override
    {
        zmq_send( itsClient, nullptr, 0, 0 ); // ends the server
        itsThread.join();
        zmq_close( itsClient );
        zmq_close( itsServer );
        zmq_ctx_term( itsContext );
    }

    void Call( std::vector<std::uint8_t>& ioBytes ) override
    {
        zmq_send( itsClient, ioBytes.data(), ioBytes.size(), 0 );
        zmq_recv( itsClient, ioBytes.data(), ioBytes.size(), 0 );
    }

private:
    void* itsContext;
    void* itsServer;
    void* itsClient;
    std::thread itsThread;
};

class CapnpServer : public ::Echo::Server
{
protected:
    kj::Promise<void> call( CallContext ioContext ) override
    {
        ioContext.getResults().setBytes( ioContext.getParams().getBytes() );
        return kj::READY_NOW;
    }
};

class CapnpEcho : public Echo
{
public:
    explicit CapnpEcho( const Prepare& inPrepareServer )
    {
        std::atomic<unsigned> number = 0;
        itsThread = std::thread(
            [&number, this, inPrepareServer]
            {
                inPrepareServer();
                capnp::EzRpcServer server( kj::heap<CapnpServer>(), "127.0.0.1" );
                number = server.getPort().wait( server.getWaitScope() );
                auto end = kj::newPromiseAndCrossThreadFulfiller<void>();
                itsEnd = kj::mv( end.fulfiller );
                itsIsReady = true;
                end.promise.wait( server.getWaitScope() );
            } );
        while ( !itsIsReady )
            std::this_thread::yield();
        itsClient = std::make_unique<capnp::EzRpcClient>( "127.0.0.1", number );
        itsMain = std::make_unique<::Echo::Client>( itsClient->getMain<::Echo>() );
    }
    ~CapnpEcho() noexcept override
    {
        itsMain.reset();
        itsClient.reset();
        itsEnd->fulfill();
        itsThread.join();
    }

    void Call( std::vector<std::uint8_t>& ioBytes ) override
    {
        auto request = itsMain->callRequest();
        request.setBytes( kj::arrayPtr( ioBytes.data(), ioBytes.size() ) );
        request.send().wait( itsClient->getWaitScope() );
    }

private:
    std::thread itsThread;
    std::atomic<bool> itsIsReady = false;
    kj::Own<kj::CrossThreadPromiseFulfiller<void>> itsEnd;
    std::unique_ptr<capnp::EzRpcClient> itsClient;
    std::unique_ptr<::Echo::Client> itsMain;
};

Botan::BlockCipher& GetXTEA( const char* inKey )
{
    static const auto sCipher = Botan::BlockCipher::create_or_throw( "XTEA" );
    sCipher->set_key( reinterpret_cast<const std::uint8_t*>( inKey ), 16 );
    return *sCipher;
}

} // namespace

Echo* MakeZeroMQEcho( const Prepare& inPrepareServer )
{
    return new ZeroMQEcho( inPrepareServer );
}

Echo* MakeCapnpEcho( const Prepare& inPrepareServer )
{
    return new CapnpEcho( inPrepareServer );
}

void EncryptXTEA( std::vector<std::uint8_t>& ioBytes, const char* inKey )
{
    GetXTEA( inKey ).encrypt_n( ioBytes.data(), ioBytes.data(), ioBytes.size() / 8 );
}

void DecryptXTEA( std::vector<std::uint8_t>& ioBytes, const char* inKey )
{
    GetXTEA( inKey ).decrypt_n( ioBytes.data(), ioBytes.data(), ioBytes.size() / 8 );
}

} // namespace peers
