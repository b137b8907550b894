#include "Services/Internal/RegisterServicesClasses.h"

#include "Core/Streams/XClassRegistry.h"
#include "Services/XAppAndComputerInfo.h"

void RegisterServicesClasses()
{
    XClassRegistry::RegisterClass<XAppVersion>( "Application Version" );
    XClassRegistry::RegisterClass<XAppVersion::XAppAndComputerInfo>( "Application and Computer" );
}
