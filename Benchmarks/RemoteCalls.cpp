// Remote calls beside Cap'n Proto's, gRPC's, ZeroMQ's push and pull, and hand-written blocking sockets with the same bytes.
// Both ends are threads of this process, each with a processor of its own or on one together; gRPC's server is a process.

#include "NetworkPeers.h"

#include "Network/XEncryptedNetStream.h"
#include "RemoteCalls/XRPCResponder.h"
#include "Servers/XNetServer.h"
#include "Startup/WInitCore.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zmq.h>

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr char kKey[] = "sixteen bytes ok";
constexpr std::size_t kPayload = 64;
constexpr std::size_t kDoubles = 1024 * 1024;
constexpr int kBatch = 100'000;

void BindTo( int inProcessor )
{
    cpu_set_t processors;
    CPU_ZERO( &processors );
    CPU_SET( inProcessor, &processors );
    sched_setaffinity( 0, sizeof( processors ), &processors );
}

void BindToAll()
{
    cpu_set_t processors;
    CPU_ZERO( &processors );
    for ( int i = 0; i < CPU_SETSIZE; ++i )
        CPU_SET( i, &processors );
    sched_setaffinity( 0, sizeof( processors ), &processors );
}

// ---- Ours

class BenchBridge : public XRPCBridge
{
public:
    using XRPCBridge::XRPCBridge;
    ~BenchBridge() override { StopBridge(); }

    static XVersion GetClassVersion() { return XVersion( 40300, 0 ); }
    XVersion GetVersion() const override { return GetClassVersion(); }

    XREMOTE_METHOD( 2000, XString, Echo, XString )
    XREMOTE_METHOD( 2001, void, Take, XString )
    XREMOTE_METHOD( 2002, XVector<double>, Fetch )
    XREMOTE_METHOD( 2003, void, Nothing )
};

class BenchServer : public BenchBridge
{
public:
    using BenchBridge::BenchBridge;
    ~BenchServer() override { StopBridge(); }

    XString EchoSelf( XString inText ) override { return inText; }
    void TakeSelf( XString ) override {}
    XVector<double> FetchSelf() override { return XVector<double>( kDoubles, 1.5 ); }
};

using Algorithm = XEncryptedNetStream::XAlgorithm;

class Conversations
{
public:
    /// The threads of the server run on the last of the processors; 0 processors leave the choice to the system.
    Conversations( int inProcessors, Algorithm inAlgorithm )
        : itsCipher( inAlgorithm, kKey ), itsServer( "benchmark" )
    {
        inProcessors > 0 ? BindTo( inProcessors - 1 ) : BindToAll();
        XServeBridge<BenchServer>( itsServer, XRPCBridge::kServer, itsCipher );
        itsServer.Start( 0 );
        if ( inProcessors > 0 )
            BindTo( 0 );
    }

    XRefPtr<BenchBridge> Connect() const
    {
        auto bridge = XMakeRef<BenchBridge>( XRPCBridge::kClient, itsCipher );
        bridge->Connect( XNetAddress::GetLoopBackAddress( itsServer.GetPort() ), kNoTimeout );
        return bridge;
    }

private:
    const XRPCCipher itsCipher;
    XNetServer itsServer;
};

// ---- Hand-written

bool Receive( int inSocket, void* outBytes, std::size_t inCount )
{
    for ( auto* bytes = static_cast<char*>( outBytes ); inCount > 0; )
    {
        const ssize_t received = recv( inSocket, bytes, inCount, 0 );
        if ( received <= 0 )
            return false;
        bytes += received;
        inCount -= static_cast<std::size_t>( received );
    }
    return true;
}

void Send( int inSocket, const void* inBytes, std::size_t inCount )
{
    for ( const auto* bytes = static_cast<const char*>( inBytes ); inCount > 0; )
    {
        const ssize_t sent = send( inSocket, bytes, inCount, MSG_NOSIGNAL );
        if ( sent <= 0 )
            return;
        bytes += sent;
        inCount -= static_cast<std::size_t>( sent );
    }
}

/// A listener and a thread that serves its connections, one after the other.
class HandWritten
{
public:
    template<class TServe>
    HandWritten( int inProcessors, TServe inServe ) : itsListener( socket( AF_INET, SOCK_STREAM, 0 ) )
    {
        itsAddress.sin_family = AF_INET;
        itsAddress.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
        socklen_t size = sizeof( itsAddress );
        bind( itsListener, GetAddress(), size );
        getsockname( itsListener, GetAddress(), &size );
        listen( itsListener, SOMAXCONN );
        itsThread = std::thread(
            [this, inProcessors, inServe]
            {
                BindTo( inProcessors - 1 );
                for ( int peer; ( peer = accept( itsListener, nullptr, nullptr ) ) >= 0; close( peer ) )
                    inServe( SetNoDelay( peer ) );
            } );
        BindTo( 0 );
    }
    ~HandWritten()
    {
        shutdown( itsListener, SHUT_RDWR );
        itsThread.join();
        close( itsListener );
    }

    int Connect()
    {
        const int connection = SetNoDelay( socket( AF_INET, SOCK_STREAM, 0 ) );
        connect( connection, GetAddress(), sizeof( itsAddress ) );
        return connection;
    }

private:
    static int SetNoDelay( int inSocket )
    {
        const int isOn = 1;
        setsockopt( inSocket, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof( isOn ) );
        return inSocket;
    }
    sockaddr* GetAddress() { return reinterpret_cast<sockaddr*>( &itsAddress ); }

    int itsListener;
    sockaddr_in itsAddress{};
    std::thread itsThread;
};

void CountCalls( benchmark::State& ioState, std::int64_t inCallsPerIteration = 1 )
{
    ioState.SetItemsProcessed( static_cast<std::int64_t>( ioState.iterations() ) * inCallsPerIteration );
}

// ---- A call with 64 bytes each way

void CallOurs( benchmark::State& ioState )
{
    const Conversations conversations(
        static_cast<int>( ioState.range( 0 ) ), XEncryptedNetStream::kAlgorithmRC4 );
    const auto client = conversations.Connect();
    const XString text( std::string( kPayload, 'x' ) );
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( client->Echo( text ) );
    CountCalls( ioState );
}

void CallHandWritten( benchmark::State& ioState )
{
    HandWritten server(
        static_cast<int>( ioState.range( 0 ) ),
        []( int inPeer )
        {
            for ( Bytes bytes( kPayload + 8 ); Receive( inPeer, bytes.data(), bytes.size() ); )
                Send( inPeer, bytes.data(), bytes.size() );
        } );
    const int connection = server.Connect();
    Bytes bytes( kPayload + 8 );
    for ( auto _ : ioState )
    {
        Send( connection, bytes.data(), bytes.size() );
        Receive( connection, bytes.data(), bytes.size() );
    }
    close( connection );
    CountCalls( ioState );
}

void CallEcho( benchmark::State& ioState, peers::Echo& ioEcho )
{
    Bytes bytes( kPayload );
    for ( auto _ : ioState )
        ioEcho.Call( bytes );
    CountCalls( ioState );
}

void CallCapnp( benchmark::State& ioState )
{
    const auto processors = static_cast<int>( ioState.range( 0 ) );
    BindTo( 0 );
    CallEcho(
        ioState,
        *std::unique_ptr<peers::Echo>( peers::MakeCapnpEcho( [processors] { BindTo( processors - 1 ); } ) ) );
}

constexpr char kServeGRPC[] = "--serve-grpc";

/// This program as a server of gRPC, in a process of its own.
class GRPCProcess
{
public:
    explicit GRPCProcess( int inProcessors )
    {
        int sockets[2];
        socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets );
        const std::string processors = std::to_string( inProcessors );
        itsProcess = fork();
        if ( itsProcess == 0 )
        {
            dup2( sockets[1], STDIN_FILENO );
            execl( "/proc/self/exe", "bench_rpc", kServeGRPC, processors.c_str(), nullptr );
            _exit( 1 );
        }
        close( sockets[1] );
        itsSocket = sockets[0];
    }
    ~GRPCProcess()
    {
        close( itsSocket );
        waitpid( itsProcess, nullptr, 0 );
    }

    int ReadPort() const
    {
        int port = 0;
        Receive( itsSocket, &port, sizeof( port ) );
        return port;
    }

    /// In the process: until the other end has been closed.
    static void Run( int inProcessors )
    {
        BindTo( inProcessors - 1 );
        peers::ServeGRPC(
            []( int inPort )
            {
                Send( STDIN_FILENO, &inPort, sizeof( inPort ) );
                Receive( STDIN_FILENO, &inPort, sizeof( inPort ) );
            } );
    }

private:
    pid_t itsProcess;
    int itsSocket;
};

void CallGRPC( benchmark::State& ioState )
{
    const GRPCProcess server( static_cast<int>( ioState.range( 0 ) ) );
    BindTo( 0 );
    CallEcho( ioState, *std::unique_ptr<peers::Echo>( peers::MakeGRPCEcho( server.ReadPort() ) ) );
}

BENCHMARK( CallHandWritten )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK( CallOurs )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK( CallCapnp )->Arg( 1 )->Arg( 2 )->UseRealTime();
BENCHMARK( CallGRPC )->Arg( 1 )->Arg( 2 )->UseRealTime();

// ---- Calls without a return, 64 bytes each, until the last has arrived

void CallWithoutReturnOurs( benchmark::State& ioState )
{
    const Conversations conversations( 2, XEncryptedNetStream::kAlgorithmNone );
    const auto client = conversations.Connect();
    const XString text( std::string( kPayload, 'x' ) );
    for ( auto _ : ioState )
    {
        for ( int i = 0; i < kBatch; ++i )
            client->Take_NoWaitForReturn( text );
        client->CheckAlive();
    }
    CountCalls( ioState, kBatch );
}

void PushZeroMQ( benchmark::State& ioState )
{
    void* const context = zmq_ctx_new();
    void* const pull = zmq_socket( context, ZMQ_PULL );
    zmq_bind( pull, "tcp://127.0.0.1:*" );
    char name[256];
    std::size_t size = sizeof( name );
    zmq_getsockopt( pull, ZMQ_LAST_ENDPOINT, name, &size );
    void* const push = zmq_socket( context, ZMQ_PUSH );
    zmq_connect( push, name );
    BindToAll();
    const auto receive = [&]
    {
        char bytes[kPayload + 8];
        for ( int i = 0; i < kBatch; ++i )
            zmq_recv( pull, bytes, sizeof( bytes ), 0 );
    };
    const Bytes bytes( kPayload + 8 );
    for ( auto _ : ioState )
    {
        std::thread receiver( receive );
        for ( int i = 0; i < kBatch; ++i )
            zmq_send( push, bytes.data(), bytes.size(), 0 );
        receiver.join();
    }
    CountCalls( ioState, kBatch );
    zmq_close( push );
    zmq_close( pull );
    zmq_ctx_term( context );
}

BENCHMARK( PushZeroMQ )->UseRealTime();
BENCHMARK( CallWithoutReturnOurs )->UseRealTime();

// ---- 8 MiB of doubles as a result

void FetchOurs( benchmark::State& ioState )
{
    const Conversations conversations( 2, XEncryptedNetStream::kAlgorithmNone );
    const auto client = conversations.Connect();
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( client->Fetch().data() );
    CountCalls( ioState );
}

void FetchHandWritten( benchmark::State& ioState )
{
    HandWritten server(
        2,
        []( int inPeer )
        {
            for ( std::uint32_t word = 0; Receive( inPeer, &word, sizeof( word ) ); )
            {
                const std::vector<double> values( kDoubles, 1.5 );
                Send( inPeer, values.data(), kDoubles * sizeof( double ) );
            }
        } );
    const int connection = server.Connect();
    for ( auto _ : ioState )
    {
        const std::uint32_t word = 0;
        Send( connection, &word, sizeof( word ) );
        std::vector<double> values( kDoubles );
        Receive( connection, values.data(), kDoubles * sizeof( double ) );
        benchmark::DoNotOptimize( values.data() );
    }
    close( connection );
    CountCalls( ioState );
}

BENCHMARK( FetchHandWritten )->UseRealTime();
BENCHMARK( FetchOurs )->UseRealTime();

// ---- Threads that call, over one bridge or one each

void CallOnThreads( benchmark::State& ioState )
{
    const auto threads = static_cast<unsigned>( ioState.range( 0 ) );
    const auto bridges = static_cast<unsigned>( ioState.range( 1 ) );
    constexpr int kCalls = 1000;
    const Conversations conversations( 0, XEncryptedNetStream::kAlgorithmRC4 );
    std::vector<XRefPtr<BenchBridge>> clients;
    for ( unsigned i = 0; i < bridges; ++i )
        clients.push_back( conversations.Connect() );
    const XString text( std::string( kPayload, 'x' ) );
    for ( auto _ : ioState )
    {
        std::vector<std::thread> callers;
        for ( unsigned i = 0; i < threads; ++i )
            callers.emplace_back(
                [&, i]
                {
                    for ( int call = 0; call < kCalls; ++call )
                        benchmark::DoNotOptimize( clients[i % bridges]->Echo( text ) );
                } );
        for ( std::thread& caller : callers )
            caller.join();
    }
    CountCalls( ioState, std::int64_t( threads ) * kCalls );
}

BENCHMARK( CallOnThreads )
    ->ArgNames( { "threads", "bridges" } )
    ->Args( { 1, 1 } )
    ->Args( { 16, 1 } )
    ->Args( { 16, 16 } )
    ->UseRealTime();

// ---- Many bridges at once, called one after the other

/// A number of this process that the system reports under a name.
double ReadStatus( const std::string& inName )
{
    std::ifstream status( "/proc/self/status" );
    for ( std::string word; status >> word; )
        if ( double number = 0; word == inName && status >> number )
            return number;
    return 0;
}

void CallOnManyBridges( benchmark::State& ioState )
{
    rlimit files{};
    getrlimit( RLIMIT_NOFILE, &files );
    files.rlim_cur = files.rlim_max;
    setrlimit( RLIMIT_NOFILE, &files );
    const Conversations conversations( 0, XEncryptedNetStream::kAlgorithmRC4 );
    const double threads = ReadStatus( "Threads:" );
    const double memory = ReadStatus( "VmRSS:" );
    std::vector<XRefPtr<BenchBridge>> clients;
    for ( auto i = ioState.range( 0 ); i > 0; --i )
        clients.push_back( conversations.Connect() );
    const XString text( std::string( kPayload, 'x' ) );
    for ( auto _ : ioState )
        for ( const auto& client : clients )
            benchmark::DoNotOptimize( client->Echo( text ) );
    CountCalls( ioState, ioState.range( 0 ) );
    const auto bridges = static_cast<double>( clients.size() );
    ioState.counters["threads/bridge"] = ( ReadStatus( "Threads:" ) - threads ) / bridges;
    ioState.counters["KiB/bridge"] = ( ReadStatus( "VmRSS:" ) - memory ) / bridges; // of both ends
}

BENCHMARK( CallOnManyBridges )->Arg( 1 )->Arg( 1000 )->UseRealTime();

// ---- Opening a conversation

void OpenOurs( benchmark::State& ioState )
{
    const Conversations conversations( 2, XEncryptedNetStream::kAlgorithmRC4 );
    for ( auto _ : ioState )
        conversations.Connect()->Disconnect();
    CountCalls( ioState );
}

/// The same bytes: the preamble with the first of three exchanges.
void OpenHandWritten( benchmark::State& ioState )
{
    HandWritten server(
        2,
        []( int inPeer )
        {
            char bytes[16];
            for ( const std::size_t size : { 16, 12, 8 } )
                if ( Receive( inPeer, bytes, size ) )
                    Send( inPeer, bytes, 8 );
            Receive( inPeer, bytes, 1 );
        } );
    char bytes[16] = {};
    for ( auto _ : ioState )
    {
        const int connection = server.Connect();
        for ( const std::size_t size : { 16, 12, 8 } )
        {
            Send( connection, bytes, size );
            Receive( connection, bytes, 8 );
        }
        close( connection );
    }
    CountCalls( ioState );
}

BENCHMARK( OpenHandWritten )->UseRealTime();
BENCHMARK( OpenOurs )->UseRealTime();

// ---- A call from its code to its method and back, without a connection

class DispatchBridge : public BenchServer
{
public:
    DispatchBridge() : BenchServer( kServer )
    {
        itsReceiverStream = std::make_unique<XEncryptedNetStream>(
            itsEndpoint, kKey, XEncryptedNetStream::kAlgorithmNone, 0, 0, 0 );
        SetReceiverState( kAuthenticated );
    }
    void NothingSelf() override { benchmark::DoNotOptimize( ++itsCount ); }
    void Dispatch() { HandleRPCCall( 2003 | kAsynchronousCall ); }

private:
    XNetEndpoint itsEndpoint;
    int itsCount = 0;
};

void DispatchOurs( benchmark::State& ioState )
{
    DispatchBridge bridge;
    for ( auto _ : ioState )
        bridge.Dispatch();
}

void DispatchThroughMap( benchmark::State& ioState )
{
    struct Slot
    {
        virtual ~Slot() = default;
        virtual void Call() { benchmark::DoNotOptimize( ++count ); }
        int count = 0;
    };
    std::map<std::uint32_t, std::unique_ptr<Slot>> slots;
    for ( std::uint32_t code = 1000; code < 1008; ++code )
        slots[code] = std::make_unique<Slot>();
    slots[2003] = std::make_unique<Slot>();
    std::uint32_t code = 2003;
    for ( auto _ : ioState )
    {
        benchmark::DoNotOptimize( code );
        slots.find( code )->second->Call();
    }
}

BENCHMARK( DispatchThroughMap );
BENCHMARK( DispatchOurs );

} // namespace

int main( int inCount, char** inArguments )
{
    if ( inCount == 3 && std::string( inArguments[1] ) == kServeGRPC )
    {
        GRPCProcess::Run( std::stoi( inArguments[2] ) );
        return 0;
    }
    const WInitCore core;
    benchmark::Initialize( &inCount, inArguments );
    benchmark::RunSpecifiedBenchmarks();
}
