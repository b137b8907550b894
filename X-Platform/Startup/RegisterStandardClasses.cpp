#include "Core/XClassRegistry.h"
#include "Jobs/RegisterJobsClasses.h"
#include "Memory/RegisterMemoryClasses.h"
#include "Messaging/RegisterMessagingClasses.h"
#include "Network/RegisterNetworkClasses.h"
#include "Pivot/RegisterPivotClasses.h"

void XClassRegistry::RegisterStandardClasses()
{
    RegisterCoreClasses();
    RegisterMessagingClasses();
    RegisterJobsClasses();
    RegisterMemoryClasses();
    RegisterPivotClasses();
    RegisterNetworkClasses();
}
