// Connections beside hand-written blocking sockets, ZeroMQ, Cap'n Proto's calls and a hand-written OpenSSL loop, and
// ciphers beside OpenSSL's, Botan's and the reference loop. Both ends of a connection are threads of this process, each
// with a processor of its own or on one together.

#include "NetworkPeers.h"

#include "Network/XEncryptedNetStream.h"
#include "Network/XTLSEndpointImp.h"
#include "Servers/XNetResponder.h"
#include "Servers/XNetServer.h"
#include "Sockets/WCertificates.h"
#include "Sockets/WTLSContext.h"
#include "Startup/WInitCore.h"
#include "StressMemory.h"

#include <benchmark/benchmark.h>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/provider.h>
#include <openssl/ssl.h>

#include <cstring>
#include <ctime>
#include <list>
#include <memory>
#include <thread>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr char kKey[] = "sixteen bytes ok";
constexpr std::size_t kEcho = 64;
constexpr std::size_t kPiece = 64 * 1024;
constexpr std::size_t kPieces = 1024;

/// Binds the calling thread to a processor.
void BindTo( int inProcessor )
{
    cpu_set_t processors;
    CPU_ZERO( &processors );
    CPU_SET( inProcessor, &processors );
    sched_setaffinity( 0, sizeof( processors ), &processors );
}

// ---- Connections under the same names: two ends that send and receive

/// What one writes by hand.
class HandWritten
{
public:
    class Listener
    {
    public:
        Listener() : itsSocket( socket( AF_INET, SOCK_STREAM, 0 ) )
        {
            itsAddress.sin_family = AF_INET;
            itsAddress.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
            socklen_t size = sizeof( itsAddress );
            bind( itsSocket, GetAddress(), size );
            getsockname( itsSocket, GetAddress(), &size );
            listen( itsSocket, SOMAXCONN );
        }
        ~Listener() { close( itsSocket ); }

        std::unique_ptr<HandWritten> Accept()
        {
            return std::make_unique<HandWritten>( accept( itsSocket, nullptr, nullptr ) );
        }
        std::unique_ptr<HandWritten> Connect()
        {
            const int descriptor = socket( AF_INET, SOCK_STREAM, 0 );
            connect( descriptor, GetAddress(), sizeof( itsAddress ) );
            return std::make_unique<HandWritten>( descriptor );
        }

    private:
        sockaddr* GetAddress() { return reinterpret_cast<sockaddr*>( &itsAddress ); }

        int itsSocket;
        sockaddr_in itsAddress{};
    };

    explicit HandWritten( int inDescriptor ) : itsDescriptor( inDescriptor )
    {
        const int isOn = 1;
        setsockopt( itsDescriptor, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof( isOn ) );
    }
    ~HandWritten() { close( itsDescriptor ); }

    void Send( const std::uint8_t* inBytes, std::size_t inCount )
    {
        while ( inCount > 0 )
        {
            const ssize_t sent = send( itsDescriptor, inBytes, inCount, MSG_NOSIGNAL );
            if ( sent <= 0 )
                return;
            inBytes += sent;
            inCount -= static_cast<std::size_t>( sent );
        }
    }
    bool Receive( std::uint8_t* outBytes, std::size_t inCount )
    {
        while ( inCount > 0 )
        {
            const ssize_t received = recv( itsDescriptor, outBytes, inCount, 0 );
            if ( received <= 0 )
                return false;
            outBytes += received;
            inCount -= static_cast<std::size_t>( received );
        }
        return true;
    }

    int GetDescriptor() const { return itsDescriptor; }

private:
    int itsDescriptor;
};

/// Two sides that trust each other, for both makes of TLS.
struct Certificates
{
    static const Certificates& Get()
    {
        static const Certificates sCertificates;
        return sCertificates;
    }

    const WCertificates::Validity validity{ -60, 3600 };
    const WCertificates::Certificate authority = WCertificates::MakeAuthority( "benchmark", validity );
    const WCertificates::Certificate own = WCertificates::Make( authority, "benchmark", validity );
    const std::shared_ptr<const WTLSContext> context = std::make_shared<WTLSContext>(
        WTLSContext::Settings{ own.text, own.privateKey, authority.text, "benchmark" } );
};

/// What one writes by hand with OpenSSL, with the same certificates and cipher.
class HandWrittenTLS
{
public:
    class Listener
    {
    public:
        std::unique_ptr<HandWrittenTLS> Accept()
        {
            return std::make_unique<HandWrittenTLS>( itsListener.Accept(), false );
        }
        std::unique_ptr<HandWrittenTLS> Connect()
        {
            return std::make_unique<HandWrittenTLS>( itsListener.Connect(), true );
        }

    private:
        HandWritten::Listener itsListener;
    };

    HandWrittenTLS( std::unique_ptr<HandWritten> inConnection, bool inIsClient )
        : itsConnection( std::move( inConnection ) ), itsContext( SSL_CTX_new( TLS_method() ) )
    {
        const auto read = []( const std::string& inText, auto inRead )
        {
            BIO* const source = BIO_new_mem_buf( inText.data(), static_cast<int>( inText.size() ) );
            auto* const object = inRead( source, nullptr, nullptr, nullptr );
            BIO_free( source );
            return object;
        };
        const Certificates& certificates = Certificates::Get();
        SSL_CTX_set_min_proto_version( itsContext, TLS1_3_VERSION );
        SSL_CTX_set_ciphersuites( itsContext, "TLS_AES_128_GCM_SHA256" );
        SSL_CTX_use_certificate( itsContext, read( certificates.own.text, PEM_read_bio_X509 ) );
        SSL_CTX_use_PrivateKey( itsContext, read( certificates.own.privateKey, PEM_read_bio_PrivateKey ) );
        X509_STORE_add_cert(
            SSL_CTX_get_cert_store( itsContext ), read( certificates.authority.text, PEM_read_bio_X509 ) );
        SSL_CTX_set_verify( itsContext, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr );
        itsSession = SSL_new( itsContext );
        SSL_set_fd( itsSession, itsConnection->GetDescriptor() );
        inIsClient ? SSL_set_connect_state( itsSession ) : SSL_set_accept_state( itsSession );
    }
    ~HandWrittenTLS()
    {
        SSL_free( itsSession );
        SSL_CTX_free( itsContext );
    }

    void Send( const std::uint8_t* inBytes, std::size_t inCount )
    {
        SSL_write( itsSession, inBytes, static_cast<int>( inCount ) );
    }
    bool Receive( std::uint8_t* outBytes, std::size_t inCount )
    {
        while ( inCount > 0 )
        {
            const int received = SSL_read( itsSession, outBytes, static_cast<int>( inCount ) );
            if ( received <= 0 )
                return false;
            outBytes += received;
            inCount -= static_cast<std::size_t>( received );
        }
        return true;
    }

private:
    std::unique_ptr<HandWritten> itsConnection;
    SSL_CTX* itsContext;
    SSL* itsSession = nullptr;
};

XNetEndpoint MakeEndpoint( bool inHasTLS )
{
    if ( !inHasTLS )
        return XNetEndpoint();
    return XNetEndpoint( std::make_unique<XTLSEndpointImp>( Certificates::Get().context ) );
}

/// Our streams.
template<XEncryptedNetStream::XAlgorithm kAlgorithm, USize64 kBufferSize, bool kHasTLS = false>
class Ours
{
public:
    class Listener
    {
    public:
        Listener()
        {
            itsEndpoint.Bind( 0 );
            itsAddress = XNetAddress::GetLoopBackAddress( itsEndpoint.GetLocalPort() );
        }

        std::unique_ptr<Ours> Accept() { return std::make_unique<Ours>( itsEndpoint.Listen() ); }
        std::unique_ptr<Ours> Connect()
        {
            auto* const endpoint = new XNetEndpoint( MakeEndpoint( kHasTLS ) );
            endpoint->Connect( itsAddress, kNoTimeout );
            return std::make_unique<Ours>( endpoint );
        }

    private:
        XNetEndpoint itsEndpoint = MakeEndpoint( kHasTLS );
        XNetAddress itsAddress;
    };

    explicit Ours( XNetEndpoint* inEndpoint )
        : itsEndpoint( inEndpoint ),
          itsStream( *inEndpoint, kKey, kAlgorithm, kNoTimeout, kNoTimeout, kBufferSize )
    {
    }

    void Send( const std::uint8_t* inBytes, std::size_t inCount )
    {
        itsStream.WriteBuffer8( inBytes, inCount );
        itsStream.Flush();
    }
    bool Receive( std::uint8_t* outBytes, std::size_t inCount )
    {
        try
        {
            itsStream.ReadBuffer8( outBytes, inCount );
            return true;
        }
        catch ( const XException& )
        {
            return false;
        }
    }

private:
    std::unique_ptr<XNetEndpoint> itsEndpoint;
    XEncryptedNetStream itsStream;
};

using Plain = Ours<XEncryptedNetStream::kAlgorithmNone, 4096>;
using RC4 = Ours<XEncryptedNetStream::kAlgorithmRC4, 4096>;
using TEA = Ours<XEncryptedNetStream::kAlgorithmTEA, 0>;
using TLS = Ours<XEncryptedNetStream::kAlgorithmNone, 4096, true>;

/// A connection whose other end runs `inServe` on a thread until the client closes.
template<class TConnection>
class Session
{
public:
    template<class TServe>
    Session( int inProcessors, TServe inServe )
    {
        BindTo( 0 );
        itsThread = std::thread(
            [this, inProcessors, inServe]
            {
                BindTo( inProcessors - 1 );
                inServe( *itsListener.Accept() );
            } );
        itsClient = itsListener.Connect();
    }
    ~Session()
    {
        itsClient.reset();
        itsThread.join();
    }

    TConnection& operator*() { return *itsClient; }

private:
    typename TConnection::Listener itsListener;
    std::unique_ptr<TConnection> itsClient;
    std::thread itsThread;
};

template<class TConnection>
void Echo( benchmark::State& ioState )
{
    Session<TConnection> session(
        static_cast<int>( ioState.range( 0 ) ),
        []( TConnection& ioConnection )
        {
            for ( Bytes bytes( kEcho ); ioConnection.Receive( bytes.data(), kEcho ); )
                ioConnection.Send( bytes.data(), kEcho );
        } );
    Bytes bytes( kEcho );
    for ( auto _ : ioState )
    {
        ( *session ).Send( bytes.data(), kEcho );
        ( *session ).Receive( bytes.data(), kEcho );
    }
    ioState.SetItemsProcessed( static_cast<std::int64_t>( ioState.iterations() ) );
}

template<peers::Echo* ( *kMake )( const peers::Prepare& )>
void PeerEcho( benchmark::State& ioState )
{
    const auto processors = static_cast<int>( ioState.range( 0 ) );
    BindTo( 0 );
    const std::unique_ptr<peers::Echo> echo( kMake( [processors] { BindTo( processors - 1 ); } ) );
    Bytes bytes( kEcho );
    for ( auto _ : ioState )
        echo->Call( bytes );
    ioState.SetItemsProcessed( static_cast<std::int64_t>( ioState.iterations() ) );
}

/// 64 MiB one way, and a byte back when all has come; 1 GiB in all.
template<class TConnection>
void Bulk( benchmark::State& ioState )
{
    Session<TConnection> session(
        2,
        []( TConnection& ioConnection )
        {
            Bytes bytes( kPiece );
            for ( std::size_t piece = 1; ioConnection.Receive( bytes.data(), kPiece ); ++piece )
                if ( piece % kPieces == 0 )
                    ioConnection.Send( bytes.data(), 1 );
        } );
    Bytes bytes( kPiece, 7 );
    for ( auto _ : ioState )
    {
        for ( std::size_t piece = 0; piece < kPieces; ++piece )
            ( *session ).Send( bytes.data(), kPiece );
        ( *session ).Receive( bytes.data(), 1 );
    }
    ioState.SetBytesProcessed( static_cast<std::int64_t>( ioState.iterations() * kPiece * kPieces ) );
}

template<class TConnection>
void ConnectAndClose( benchmark::State& ioState )
{
    typename TConnection::Listener listener;
    BindTo( 0 );
    for ( auto _ : ioState )
    {
        const auto client = listener.Connect();
        const auto server = listener.Accept();
    }
    ioState.SetItemsProcessed( static_cast<std::int64_t>( ioState.iterations() ) );
}

BENCHMARK_TEMPLATE( Echo, HandWritten )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( PeerEcho, peers::MakeZeroMQEcho )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( PeerEcho, peers::MakeCapnpEcho )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( Echo, Plain )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( Echo, RC4 )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( Echo, TEA )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( Echo, HandWrittenTLS )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( Echo, TLS )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, HandWritten )->Iterations( 16 )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, Plain )->Iterations( 16 )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, RC4 )->Iterations( 16 )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, TEA )->Iterations( 16 )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, HandWrittenTLS )->Iterations( 16 )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, TLS )->Iterations( 16 )->UseRealTime();
BENCHMARK_TEMPLATE( ConnectAndClose, HandWritten )->UseRealTime();
BENCHMARK_TEMPLATE( ConnectAndClose, Plain )->UseRealTime();

// ---- A server with connections that say nothing

class IdleResponder : public XNetResponder
{
public:
    IdleResponder() : XNetResponder( "idle" ) {}
    ~IdleResponder() override { StopResponding(); }

protected:
    void RespondSelf() override
    {
        XNetEndpoint endpoint = GetEndpoint();
        for ( char byte = 0;; )
        {
            endpoint.ReceiveData( &byte, 1, kNoTimeout );
            SetAuthenticated();
            endpoint.SendData( &byte, 1, kNoTimeout );
        }
    }
};

/// Resident memory of a connection, both its ends; processor time while nobody says anything; the stop of the server.
void IdleConnections( benchmark::State& ioState )
{
    constexpr int kConnections = 1000;
    const bool hasTLS = ioState.range( 0 ) != 0;
    for ( auto _ : ioState )
    {
        XNetServer server( "idle" );
        server.SetOnlyResponder( [] { return std::make_unique<IdleResponder>(); } );
        if ( hasTLS )
            server.UseTLS( Certificates::Get().context );
        server.Start( 0 );
        const XNetAddress address = XNetAddress::GetLoopBackAddress( server.GetPort() );
        std::list<XNetEndpoint> clients;
        const std::uint64_t memory = GetMemoryInUse();
        for ( int i = 0; i < kConnections; ++i )
        {
            XNetEndpoint& client = clients.emplace_back( MakeEndpoint( hasTLS ) );
            client.Connect( address, kNoTimeout );
            char byte = 'x';
            client.SendData( &byte, 1, kNoTimeout );
            client.ReceiveData( &byte, 1, kNoTimeout );
        }
        ioState.counters["bytes_per_connection"] =
            static_cast<double>( GetMemoryInUse() - memory ) / kConnections;
        std::this_thread::sleep_for( std::chrono::milliseconds( 500 ) ); // what they did before ends
        const std::clock_t before = std::clock();
        std::this_thread::sleep_for( std::chrono::seconds( 2 ) );
        ioState.counters["processor_share"] =
            static_cast<double>( std::clock() - before ) / CLOCKS_PER_SEC / 2;
        const auto begin = std::chrono::steady_clock::now();
        server.Stop();
        ioState.counters["stop_ms"] =
            std::chrono::duration<double, std::milli>( std::chrono::steady_clock::now() - begin ).count();
    }
}

BENCHMARK( IdleConnections )->Arg( 0 )->Arg( 1 )->ArgName( "tls" )->Iterations( 1 )->UseRealTime();

// ---- Ciphers

template<class TCipher>
void Cipher( benchmark::State& ioState, TCipher inCipher )
{
    Bytes bytes( 1024 * 1024, 7 );
    for ( auto _ : ioState )
    {
        inCipher( bytes );
        benchmark::DoNotOptimize( bytes.data() );
    }
    ioState.SetBytesProcessed( static_cast<std::int64_t>( ioState.iterations() * bytes.size() ) );
}

void OpenSSLRC4( Bytes& ioBytes )
{
    static OSSL_PROVIDER* const sProviders[] = {
        OSSL_PROVIDER_load( nullptr, "legacy" ), OSSL_PROVIDER_load( nullptr, "default" ) };
    benchmark::DoNotOptimize( sProviders );
    static EVP_CIPHER* const sCipher = EVP_CIPHER_fetch( nullptr, "RC4", nullptr );
    static EVP_CIPHER_CTX* const sContext = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex2(
        sContext, sCipher, reinterpret_cast<const unsigned char*>( kKey ), nullptr, nullptr );
    int length = 0;
    EVP_EncryptUpdate(
        sContext, ioBytes.data(), &length, ioBytes.data(), static_cast<int>( ioBytes.size() ) );
}

/// The algorithm as it is published, a block at a time.
[[gnu::noinline]] void ReferenceTEABack( std::uint32_t* ioBlock, const std::uint32_t* inKey )
{
    std::uint32_t y = ioBlock[0], z = ioBlock[1], sum = 0xC6EF3720;
    for ( int round = 0; round < 32; ++round )
    {
        z -= ( ( y << 4 ) + inKey[2] ) ^ ( y + sum ) ^ ( ( y >> 5 ) + inKey[3] );
        y -= ( ( z << 4 ) + inKey[0] ) ^ ( z + sum ) ^ ( ( z >> 5 ) + inKey[1] );
        sum -= 0x9E3779B9;
    }
    ioBlock[0] = y;
    ioBlock[1] = z;
}

[[gnu::noinline]] void ReferenceTEA( std::uint32_t* ioBlock, const std::uint32_t* inKey )
{
    std::uint32_t y = ioBlock[0], z = ioBlock[1], sum = 0;
    for ( int round = 0; round < 32; ++round )
    {
        sum += 0x9E3779B9;
        y += ( ( z << 4 ) + inKey[0] ) ^ ( z + sum ) ^ ( ( z >> 5 ) + inKey[1] );
        z += ( ( y << 4 ) + inKey[2] ) ^ ( y + sum ) ^ ( ( y >> 5 ) + inKey[3] );
    }
    ioBlock[0] = y;
    ioBlock[1] = z;
}

template<void ( *kCode )( std::uint32_t*, const std::uint32_t* )>
void ReferenceLoop( Bytes& ioBytes )
{
    std::uint32_t key[4], block[2];
    std::memcpy( key, kKey, sizeof( key ) );
    for ( std::size_t i = 0; i < ioBytes.size(); i += sizeof( block ) )
    {
        std::memcpy( block, &ioBytes[i], sizeof( block ) );
        kCode( block, key );
        std::memcpy( &ioBytes[i], block, sizeof( block ) );
    }
}

void OurRC4( Bytes& ioBytes )
{
    XEncryption::EncryptRC4( ioBytes.data(), ioBytes.data(), ioBytes.size(), kKey, nullptr );
}

void OurTEA( Bytes& ioBytes )
{
    XEncryption::EncryptTEA( ioBytes.data(), ioBytes.data(), ioBytes.size(), kKey );
}

void OurTEABack( Bytes& ioBytes )
{
    XEncryption::DecryptTEA( ioBytes.data(), ioBytes.data(), ioBytes.size(), kKey );
}

BENCHMARK_CAPTURE( Cipher, OpenSSLRC4, OpenSSLRC4 );
BENCHMARK_CAPTURE( Cipher, OurRC4, OurRC4 );
BENCHMARK_CAPTURE( Cipher, ReferenceTEA, ReferenceLoop<ReferenceTEA> );
BENCHMARK_CAPTURE( Cipher, ReferenceTEABack, ReferenceLoop<ReferenceTEABack> );
BENCHMARK_CAPTURE( Cipher, BotanXTEA, []( Bytes& ioBytes ) { peers::EncryptXTEA( ioBytes, kKey ); } );
BENCHMARK_CAPTURE( Cipher, BotanXTEABack, []( Bytes& ioBytes ) { peers::DecryptXTEA( ioBytes, kKey ); } );
BENCHMARK_CAPTURE( Cipher, OurTEA, OurTEA );
BENCHMARK_CAPTURE( Cipher, OurTEABack, OurTEABack );

} // namespace

int main( int inArgCount, char** inArgs )
{
    const WInitCore core;
    benchmark::Initialize( &inArgCount, inArgs );
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
