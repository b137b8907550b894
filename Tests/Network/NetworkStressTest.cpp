#include "Network/ConnectionStorm.h"

TEST( NetworkStressTest, ConnectionsEndFromEverySide )
{
    const auto make = [] { return XNetEndpoint(); };
    EndConnectionsFromEverySide( make, make, 100 );
}
