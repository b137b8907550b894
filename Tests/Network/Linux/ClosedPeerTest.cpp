#include "Network/TestConnection.h"

/// The end of a connection is no wait for bytes that will not come. (The emulator that runs the tests of the other system
/// does not tell it while there are bytes left.)
TEST( ClosedPeerTest, EndsAPeekForMoreThanTheLastBytes )
{
    TestConnection connection;
    connection.client.SendData( "e", 1, kPatience );
    connection.client.ForceDisconnect();
    char bytes[4];
    EXPECT_ERROR( 3100, connection.server->PeekData( bytes, 4, kPatience ) );
}
