// Small GETs over 50 connections that stay open, of our server, nginx and Python's http.server: each is a process of its
// own and serves the same file from the same folder; nginx has a worker for each processor. One thread of this process is
// all 50 clients. `Handler` is our server without a file.

#include "Servers/XHTTPServer.h"
#include "Startup/WInitCore.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <csignal>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int kConnections = 50;
constexpr int kRequests = 10'000; // of an iteration

/// The folder that is served, with nginx's own files beside it.
class Site
{
public:
    Site()
    {
        char name[] = "/tmp/korvale-bench-XXXXXX";
        itsPath = mkdtemp( name );
        std::filesystem::permissions( itsPath, std::filesystem::perms( 0755 ) );
        std::ofstream( itsPath / "small.txt" ) << std::string( 64, 'x' );
    }
    ~Site() { std::filesystem::remove_all( itsPath ); }
    const std::filesystem::path& GetPath() const { return itsPath; }

private:
    std::filesystem::path itsPath;
};

const Site& GetSite()
{
    static const Site sSite;
    return sSite;
}

sockaddr_in MakeAddress( int inPort )
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
    address.sin_port = htons( static_cast<std::uint16_t>( inPort ) );
    return address;
}

int FindFreePort()
{
    const int probe = socket( AF_INET, SOCK_STREAM, 0 );
    sockaddr_in address = MakeAddress( 0 );
    socklen_t size = sizeof( address );
    bind( probe, reinterpret_cast<sockaddr*>( &address ), size );
    getsockname( probe, reinterpret_cast<sockaddr*>( &address ), &size );
    close( probe );
    return ntohs( address.sin_port );
}

/// A connected socket, or -1.
int Connect( int inPort )
{
    const int descriptor = socket( AF_INET, SOCK_STREAM, 0 );
    const sockaddr_in address = MakeAddress( inPort );
    if ( connect( descriptor, reinterpret_cast<const sockaddr*>( &address ), sizeof( address ) ) == 0 )
        return descriptor;
    close( descriptor );
    return -1;
}

/// A process that listens on a port; ends with the object.
class ServerProcess
{
public:
    ServerProcess( std::vector<std::string> inCommand, int inPort ) : itsPort( inPort ), itsProcess( fork() )
    {
        if ( itsProcess == 0 )
            Execute( inCommand );
        for ( int tries = 0; tries < 500; ++tries, usleep( 20'000 ) )
            if ( const int probe = Connect( inPort ); probe >= 0 )
            {
                close( probe );
                return;
            }
        std::fprintf( stderr, "%s does not listen\n", inCommand[0].c_str() );
    }
    ~ServerProcess()
    {
        kill( itsProcess, SIGTERM );
        waitpid( itsProcess, nullptr, 0 );
    }
    int GetPort() const { return itsPort; }

private:
    [[noreturn]] static void Execute( std::vector<std::string>& ioCommand )
    {
        std::vector<char*> arguments;
        for ( std::string& argument : ioCommand )
            arguments.push_back( argument.data() );
        arguments.push_back( nullptr );
        [[maybe_unused]] const auto output = std::freopen( "/dev/null", "w", stderr );
        execvp( arguments[0], arguments.data() );
        _exit( 127 );
    }

    const int itsPort;
    const pid_t itsProcess;
};

ServerProcess StartOurs()
{
    const int port = FindFreePort();
    return ServerProcess(
        { "/proc/self/exe", "--serve", GetSite().GetPath(), std::to_string( port ) }, port );
}

ServerProcess StartNginx()
{
    const int port = FindFreePort();
    const std::string folder = GetSite().GetPath(), config = folder + "/nginx.conf";
    std::ofstream( config )
        << ( geteuid() == 0 ? "user root;\n" : "" ) << "worker_processes auto;\ndaemon off;\npid " << folder
        << "/pid;\nerror_log " << folder
        << "/error.log;\nevents {}\nhttp { access_log off; keepalive_requests 1000000000;\n"
        << "server { listen 127.0.0.1:" << port << "; location /files/ { alias " << folder << "/; } } }\n";
    return ServerProcess( { "nginx", "-p", folder, "-c", config }, port );
}

ServerProcess StartPython()
{
    const int port = FindFreePort();
    const std::string code =
        "import http.server, os, sys\n"
        "class Handler(http.server.SimpleHTTPRequestHandler):\n"
        "    protocol_version = 'HTTP/1.1'\n"
        "    def log_message(self, *_): pass\n"
        "os.chdir(sys.argv[1])\n"
        "http.server.ThreadingHTTPServer(('127.0.0.1', int(sys.argv[2])), Handler).serve_forever()\n";
    std::error_code error; // where it is there already
    std::filesystem::create_directory_symlink( ".", GetSite().GetPath() / "files", error );
    return ServerProcess( { "python3", "-c", code, GetSite().GetPath(), std::to_string( port ) }, port );
}

/// 50 connections, each of which asks again as soon as it has its answer.
class Clients
{
public:
    Clients( int inPort, const char* inPath )
        : itsRequest( std::string( "GET " ) + inPath + " HTTP/1.1\r\nHost: localhost\r\n\r\n" ),
          itsEvents( epoll_create1( 0 ) )
    {
        for ( int i = 0; i < kConnections; ++i )
        {
            const int descriptor = Connect( inPort );
            const int isOn = 1;
            setsockopt( descriptor, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof( isOn ) );
            itsDescriptors.push_back( descriptor );
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.fd = i;
            epoll_ctl( itsEvents, EPOLL_CTL_ADD, descriptor, &event );
        }
        itsAnswers.resize( kConnections );
    }
    ~Clients()
    {
        for ( const int descriptor : itsDescriptors )
            close( descriptor );
        close( itsEvents );
    }

    /// False when a connection ends or an answer is not the right one.
    bool Ask( int inCount )
    {
        int asked = 0;
        for ( ; asked < kConnections; ++asked )
            Send( asked );
        epoll_event events[kConnections];
        for ( int answered = 0; answered < inCount + kConnections; )
        {
            const int ready = epoll_wait( itsEvents, events, kConnections, 10'000 );
            if ( ready <= 0 )
                return false;
            for ( int i = 0; i < ready; ++i )
            {
                const int index = events[i].data.fd;
                bool isComplete = false;
                if ( !Receive( index, isComplete ) )
                    return false;
                if ( !isComplete )
                    continue;
                ++answered;
                if ( asked++ < inCount + kConnections )
                    Send( index );
            }
        }
        return true;
    }

private:
    void Send( int inIndex )
    {
        [[maybe_unused]] const auto sent = send(
            itsDescriptors[static_cast<std::size_t>( inIndex )], itsRequest.data(), itsRequest.size(),
            MSG_NOSIGNAL );
    }

    bool Receive( int inIndex, bool& outIsComplete )
    {
        char bytes[4096];
        const ssize_t count =
            recv( itsDescriptors[static_cast<std::size_t>( inIndex )], bytes, sizeof( bytes ), 0 );
        if ( count <= 0 )
            return false;
        std::string& answer = itsAnswers[static_cast<std::size_t>( inIndex )];
        answer.append( bytes, static_cast<std::size_t>( count ) );
        const std::size_t end = answer.find( "\r\n\r\n" );
        outIsComplete = end != std::string::npos && answer.size() == end + 4 + 64;
        const bool isRight =
            answer.compare( 0, 12, "HTTP/1.1 200", std::min<std::size_t>( answer.size(), 12 ) ) == 0;
        if ( outIsComplete )
            answer.clear();
        return isRight;
    }

    const std::string itsRequest;
    const int itsEvents;
    std::vector<int> itsDescriptors;
    std::vector<std::string> itsAnswers;
};

template<class TStart>
void Gets( benchmark::State& ioState, TStart inStart, const char* inPath )
{
    const ServerProcess server = inStart();
    Clients clients( server.GetPort(), inPath );
    for ( auto _ : ioState )
        if ( !clients.Ask( kRequests ) )
            return ioState.SkipWithError( "a request was not answered" );
    ioState.SetItemsProcessed( static_cast<std::int64_t>( ioState.iterations() ) * kRequests );
}

BENCHMARK_CAPTURE( Gets, Nginx, StartNginx, "/files/small.txt" )->UseRealTime();
BENCHMARK_CAPTURE( Gets, Python, StartPython, "/files/small.txt" )->UseRealTime();
BENCHMARK_CAPTURE( Gets, Ours, StartOurs, "/files/small.txt" )->UseRealTime();
BENCHMARK_CAPTURE( Gets, Handler, StartOurs, "/handler" )->UseRealTime();

[[noreturn]] void Serve( const char* inFolder, int inPort )
{
    XHTTPServer server( "bench" );
    server.ServeFolder( "/files/", inFolder );
    server.HandleGet(
        "/handler", []( const XHTTPRequest& ) { return XHTTPResponse::Text( std::string( 64, 'x' ) ); } );
    server.Start( inPort );
    for ( ;; )
        pause();
}

} // namespace

int main( int inArgCount, char** inArgs )
{
    const WInitCore core;
    if ( inArgCount == 4 && std::strcmp( inArgs[1], "--serve" ) == 0 )
        Serve( inArgs[2], std::atoi( inArgs[3] ) );
    GetSite();
    benchmark::Initialize( &inArgCount, inArgs );
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
