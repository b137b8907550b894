#include "Network/TestConnection.h"
#include "TestFolder.h"

#include <sched.h>
#include <sys/mount.h>

namespace
{

/// A file of hosts in the place of the system's, for one thread. False without the right to that.
bool UseHosts( const std::filesystem::path& inPath )
{
    return unshare( CLONE_NEWNS ) == 0 && mount( "none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr ) == 0 &&
        mount( inPath.c_str(), "/etc/hosts", nullptr, MS_BIND, nullptr ) == 0;
}

void ExpectNames()
{
    XNetAddress address( "OTHER-name", 80 );
    EXPECT_EQ( address.GetIPAddress( true ), 0x0A010203u );
    EXPECT_EQ( address.GetDescription( false ), "korvale-host.test (10.1.2.3)" ); // the name of the answer
    EXPECT_EQ( address, XNetAddress( "korvale-host.test", 81 ) );
    EXPECT_EQ( XNetAddress( 0x0A010204, 80 ).GetDescription( true ), "korvale-host.test (10.1.2.4)" );
    EXPECT_EQ( XNetAddress( 0x0A010205, 80 ).GetDescription( true ), "10.1.2.5" );

    const XNetAddress local = XNetAddress::GetLocalAddress( 80 );
    EXPECT_EQ( local.GetHostName( false ), XNetAddress::GetLocalHostName() );
    EXPECT_EQ( local.GetIPAddress( false ), 0x0A010206u );
    EXPECT_EQ( local.GetLocalIPNetAdapters(), ( XVector<std::uint32_t>{ 0x0A010206, 0x0A010207 } ) );

    TestListener listener;
    XNetEndpoint endpoint;
    endpoint.Connect( XNetAddress( "korvale-loop.test", listener.GetAddress().GetPort() ), kPatience );
    EXPECT_EQ( listener.Accept()->GetRemoteAddress(), local ); // which stands for the loop-back address
}

} // namespace

/// Look-ups both ways, against names and addresses that the test knows.
TEST( XNetAddressNamesTest, AreLookedUpBothWays )
{
    const TestFolder folder;
    const std::string own = XNetAddress::GetLocalHostName().GetConstCharPtr();
    folder.Write(
        "hosts",
        "127.0.0.1 korvale-loop.test\n10.1.2.3 korvale-host.test other-name\n10.1.2.4 korvale-host.test\n"
        "10.1.2.6 " +
            own + "\n10.1.2.7 " + own + "\n" );
    bool hasHosts = false;
    std::thread thread(
        [&]
        {
            hasHosts = UseHosts( folder / "hosts" );
            if ( hasHosts )
                ExpectNames();
        } );
    thread.join();
    if ( !hasHosts )
        GTEST_SKIP() << "needs the right to make mount namespaces";
}
