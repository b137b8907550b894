#include "RemoteCalls/TestBridge.h"

#include "Core/Times/XTimer.h"
#include "TestFolder.h"

#include <cstdlib>
#include <set>
#include <string>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// Keeps the numbers that it is called with, beyond its own end.
class RecordingServer : public TestServerBridge
{
public:
    RecordingServer( TestServices* inServices, int inFile )
        : TestServerBridge( inServices, MakeTestCipher() ), itsFile( inFile )
    {
    }
    ~RecordingServer() override { StopBridge(); }

    std::uint32_t CountSelf() override { return 1; }
    void RecordSelf( std::uint32_t inNumber ) override
    {
        EXPECT_EQ( write( itsFile, &inNumber, sizeof( inNumber ) ), ssize_t( sizeof( inNumber ) ) );
    }

private:
    const int itsFile;
};

/// This program, running `DISABLED_Server` until it is killed.
class ServerProcess
{
public:
    ServerProcess( std::int32_t inPort, const std::string& inFile )
    {
        setenv( "KORVALE_TEST_PORT", std::to_string( inPort ).c_str(), 1 );
        setenv( "KORVALE_TEST_FILE", inFile.c_str(), 1 );
        std::string program = "/proc/self/exe";
        std::string filter = "--gtest_filter=XRPCBridgeKilledServerTest.DISABLED_Server";
        std::string disabled = "--gtest_also_run_disabled_tests";
        char* const arguments[] = { program.data(), filter.data(), disabled.data(), nullptr };
        EXPECT_EQ( posix_spawn( &itsID, "/proc/self/exe", nullptr, nullptr, arguments, environ ), 0 );
    }
    ~ServerProcess()
    {
        kill( itsID, SIGKILL );
        waitpid( itsID, nullptr, 0 );
    }

private:
    pid_t itsID = 0;
};

} // namespace

TEST( XRPCBridgeKilledServerTest, DISABLED_Server )
{
    const char* const port = std::getenv( "KORVALE_TEST_PORT" );
    const char* const name = std::getenv( "KORVALE_TEST_FILE" );
    if ( !port || !name )
        GTEST_SKIP() << "started by ClientsGoOn only";
    const int file = open( name, O_WRONLY | O_APPEND | O_CREAT, 0600 );
    TestServices services;
    XNetServer server( "killed" );
    XServeBridge<RecordingServer>( server, &services, file );
    server.Start( std::stoi( port ) );
    pause();
}

TEST( XRPCBridgeKilledServerTest, ClientsGoOn )
{
    const TestFolder folder;
    const std::string file = folder / "numbers";
    const std::int32_t port = TestListener().GetAddress().GetPort(); // free for now
    auto server = std::make_unique<ServerProcess>( port, file );
    const auto client = XMakeRef<TestBridge>( XRPCBridge::kClient, MakeTestCipher() );
    for ( XTimer timer( kPatience ); !client->CanSend() && !timer.HasExpired(); )
        try
        {
            client->Connect( XNetAddress::GetLoopBackAddress( port ), 20'000, true, false, true );
        }
        catch ( const XException& )
        {
            XThread::SleepCurrentThread( 10 ); // it has not begun to listen
        }
    std::uint32_t number = 0;
    const auto record = [&]
    {
        try
        {
            client->Record( ++number );
        }
        catch ( const XException& error )
        {
            EXPECT_EQ( error.GetErrorNumber(), 3100u );
        }
    };
    std::int64_t quickestMS = kPatience; // from the restart on, after an outage that makes for long pauses
    for ( int kills = 0; kills < 6; ++kills )
    {
        std::atomic<bool> hasBeenRestarted = false;
        XTimer timer;
        RunTogether(
            [&]
            {
                while ( !hasBeenRestarted )
                    record();
                EXPECT_EQ( client->Count(), 1u );
                if ( kills % 3 == 0 )
                    quickestMS = std::min( quickestMS, timer.GetElapsedMS() );
            },
            [&]
            {
                XThread::SleepCurrentThread( 20 );
                server.reset();
                XThread::SleepCurrentThread( kills % 3 == 0 ? 2000 : 0 );
                timer.Restart();
                server = std::make_unique<ServerProcess>( port, file );
                hasBeenRestarted = true;
            } );
    }
    EXPECT_LT( quickestMS, 2000 );
    server.reset();
    const std::string bytes = folder.Read( "numbers" );
    std::set<std::string> numbers;
    for ( std::size_t i = 0; i + 4 <= bytes.size(); i += 4 )
        EXPECT_TRUE( numbers.insert( bytes.substr( i, 4 ) ).second ) << "ran twice";
    EXPECT_GT( numbers.size(), 5u );
}
