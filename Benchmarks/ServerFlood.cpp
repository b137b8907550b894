#include "ServerFlood.h"

#include "Core/Errors/XException.h"
#include "Servers/XNetResponder.h"
#include "Servers/XNetServer.h"
#include "Services/XSessionLogManager.h"
#include "StressMemory.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr XVersion kPreamble{ 1301, 2 };
constexpr std::uint8_t kPreambleBytes[] = { 0x00, 0x02, 0x05, 0x15 };
constexpr int kStrangers = 20'000;
constexpr std::uint32_t kMessageBytes = 64;
constexpr std::uint32_t kPatience = 60'000;
constexpr std::uint64_t kMostGrowth = 64 * 1024 * 1024;
constexpr std::uintmax_t kMostLogBytes = 64 * 1024;

/// Authenticates at the first message and sends each back.
class EchoResponder : public XNetResponder
{
public:
    EchoResponder() : XNetResponder( "echo" ) {}
    ~EchoResponder() override { StopResponding(); }

protected:
    void RespondSelf() override
    {
        XNetEndpoint endpoint = GetEndpoint();
        for ( char bytes[kMessageBytes];; )
        {
            endpoint.ReceiveData( bytes, kMessageBytes, kNoTimeout );
            SetAuthenticated();
            endpoint.SendData( bytes, kMessageBytes, kNoTimeout );
        }
    }
};

class Conversation
{
public:
    explicit Conversation( const XNetAddress& inAddress )
    {
        itsEndpoint.Connect( inAddress, kPatience );
        itsEndpoint.SendData( kPreambleBytes, sizeof( kPreambleBytes ), kPatience );
    }

    /// Calls per second, until `inIsOver`.
    template<class TIsOver>
    double Talk( TIsOver inIsOver )
    {
        const Clock::time_point begin = Clock::now();
        char bytes[kMessageBytes] = {};
        std::uint64_t calls = 0;
        for ( ; !inIsOver(); ++calls )
        {
            itsEndpoint.SendData( bytes, kMessageBytes, kPatience );
            itsEndpoint.ReceiveData( bytes, kMessageBytes, kPatience );
        }
        return static_cast<double>( calls ) / std::chrono::duration<double>( Clock::now() - begin ).count();
    }

private:
    XNetEndpoint itsEndpoint;
};

/// Connects again and again and sends up to 64 bytes of anything. Some connections stay until others take their places.
void Flood( const XNetAddress& inAddress, unsigned inNumber, std::atomic<int>& ioLeft )
{
    std::minstd_rand random( inNumber + 1 );
    XNetEndpoint staying[32];
    while ( ioLeft-- > 0 )
        try
        {
            XNetEndpoint endpoint;
            endpoint.Connect( inAddress, kPatience );
            std::uint8_t bytes[64];
            std::generate( std::begin( bytes ), std::end( bytes ), [&] { return std::uint8_t( random() ); } );
            endpoint.SendData( bytes, random() % sizeof( bytes ), kPatience );
            if ( random() % 4 == 0 )
                staying[random() % std::size( staying )] = endpoint;
        }
        catch ( const XException& )
        {
        }
}

} // namespace

bool FloodServer()
{
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "korvale-flood.log";
    std::filesystem::remove( path );
    XSessionLogManager::XOptions options;
    options.path = path;
    XSessionLogManager log( options );
    XNetServer server( "flooded" );
    server.RegisterResponder( kPreamble, [] { return std::make_unique<EchoResponder>(); } );
    server.Start( 0 );
    const XNetAddress address = XNetAddress::GetLoopBackAddress( server.GetPort() );
    Conversation conversation( address );
    const auto forASecond = [end = Clock::now() + std::chrono::seconds( 1 )] { return Clock::now() >= end; };
    const double before = conversation.Talk( forASecond );

    const std::uint64_t memory = GetMemoryInUse();
    std::uint64_t mostMemory = memory;
    std::atomic<int> left = kStrangers;
    std::vector<std::thread> threads;
    const Clock::time_point begin = Clock::now();
    for ( unsigned number = 0; number < 4; ++number )
        threads.emplace_back( [&, number] { Flood( address, number, left ); } );
    std::uint32_t turn = 0;
    const double during = conversation.Talk(
        [&]
        {
            if ( ++turn % 256 == 0 )
                mostMemory = std::max( mostMemory, GetMemoryInUse() );
            return left <= 0;
        } );
    for ( std::thread& thread : threads )
        thread.join();
    const double seconds = std::chrono::duration<double>( Clock::now() - begin ).count();
    server.Stop();
    log.Flush();
    std::error_code error;
    const std::uintmax_t logBytes =
        std::filesystem::exists( path ) ? std::filesystem::file_size( path, error ) : 0;
    std::printf(
        "server flooded with %d strangers in %.1f s: %.0f calls/s before, %.0f during, %llu KiB more memory, "
        "%llu bytes of log\n",
        kStrangers, seconds, before, during,
        static_cast<unsigned long long>( ( mostMemory - memory ) / 1024 ),
        static_cast<unsigned long long>( logBytes ) );
    return during >= before / 3 && mostMemory - memory <= kMostGrowth && logBytes <= kMostLogBytes;
}
