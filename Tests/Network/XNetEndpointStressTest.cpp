#include "Network/ConnectionStorm.h"

TEST( XNetEndpointStressTest, ConnectionsEndFromEverySide )
{
    const auto make = [] { return XNetEndpoint(); };
    EndConnectionsFromEverySide( make, make, 100 );
}
