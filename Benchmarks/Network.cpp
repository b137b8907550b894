// Connections beside hand-written blocking sockets, and ciphers beside OpenSSL's and the reference loop. Both ends of a
// connection are threads of this process, each with a processor of its own or on one together.

#include "Network/XEncryptedNetStream.h"
#include "Startup/WInitCore.h"

#include <benchmark/benchmark.h>

#include <openssl/evp.h>
#include <openssl/provider.h>

#include <cstring>
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

private:
    int itsDescriptor;
};

/// Our streams.
template<XEncryptedNetStream::XAlgorithm kAlgorithm, USize64 kBufferSize>
class Ours
{
public:
    class Listener
    {
    public:
        Listener()
        {
            itsEndpoint.Bind( 0 );
            itsAddress = XNetAddress::GetLoopBackAddress( itsEndpoint.GetLocalAddress().GetPort() );
        }

        std::unique_ptr<Ours> Accept() { return std::make_unique<Ours>( itsEndpoint.Listen() ); }
        std::unique_ptr<Ours> Connect()
        {
            auto* const endpoint = new XNetEndpoint;
            endpoint->Connect( itsAddress, kNoTimeout );
            return std::make_unique<Ours>( endpoint );
        }

    private:
        XNetEndpoint itsEndpoint;
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

/// A connection whose other end runs `inServe` on a thread until the client closes.
template<class TConnection>
class Session
{
public:
    template<class TServe>
    Session( int inProcessors, TServe inServe )
    {
        BindTo( 0 );
        itsClient = itsListener.Connect();
        itsThread = std::thread(
            [inProcessors, inServe, connection = itsListener.Accept()]
            {
                BindTo( inProcessors - 1 );
                inServe( *connection );
            } );
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

/// 64 MiB one way, and a byte back when all has come.
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
BENCHMARK_TEMPLATE( Echo, Plain )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( Echo, RC4 )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( Echo, TEA )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, HandWritten )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, Plain )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, RC4 )->UseRealTime();
BENCHMARK_TEMPLATE( Bulk, TEA )->UseRealTime();
BENCHMARK_TEMPLATE( ConnectAndClose, HandWritten )->UseRealTime();
BENCHMARK_TEMPLATE( ConnectAndClose, Plain )->UseRealTime();

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

void ReferenceTEALoop( Bytes& ioBytes )
{
    std::uint32_t key[4], block[2];
    std::memcpy( key, kKey, sizeof( key ) );
    for ( std::size_t i = 0; i < ioBytes.size(); i += sizeof( block ) )
    {
        std::memcpy( block, &ioBytes[i], sizeof( block ) );
        ReferenceTEA( block, key );
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
BENCHMARK_CAPTURE( Cipher, ReferenceTEA, ReferenceTEALoop );
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
