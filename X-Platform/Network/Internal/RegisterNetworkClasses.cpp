#include "Network/Internal/RegisterNetworkClasses.h"

#include "Core/Streams/XClassRegistry.h"
#include "Network/XNetAddress.h"

void RegisterNetworkClasses()
{
    XClassRegistry::RegisterClass<XNetAddress>( "Network Address" );
}
