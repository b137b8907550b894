#include "Core/XClassRegistry.h"
#include "Messaging/RegisterMessagingClasses.h"
#include "Pivot/RegisterPivotClasses.h"

void XClassRegistry::RegisterStandardClasses()
{
    RegisterCoreClasses();
    RegisterMessagingClasses();
    RegisterPivotClasses();
}
