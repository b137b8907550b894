#include "Core/Streams/XClassRegistry.h"
#include "Jobs/Internal/RegisterJobsClasses.h"
#include "Memory/Internal/RegisterMemoryClasses.h"
#include "Messaging/Internal/RegisterMessagingClasses.h"
#include "NetJobs/Internal/RegisterNetJobsClasses.h"
#include "Network/Internal/RegisterNetworkClasses.h"
#include "Pivot/Internal/RegisterPivotClasses.h"
#include "RemoteCalls/Internal/RegisterRemoteCallsClasses.h"
#include "Services/Internal/RegisterServicesClasses.h"

void XClassRegistry::RegisterStandardClasses()
{
    RegisterCoreClasses();
    RegisterServicesClasses();
    RegisterMessagingClasses();
    RegisterJobsClasses();
    RegisterMemoryClasses();
    RegisterPivotClasses();
    RegisterNetworkClasses();
    RegisterRemoteCallsClasses();
    RegisterNetJobsClasses();
}
