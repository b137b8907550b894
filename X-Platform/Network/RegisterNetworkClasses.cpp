#include "Network/RegisterNetworkClasses.h"

#include "Core/XClassRegistry.h"
#include "Network/XNetAddress.h"

void RegisterNetworkClasses()
{
    XClassRegistry::RegisterClass<XNetAddress>( "Network Address" );
}
