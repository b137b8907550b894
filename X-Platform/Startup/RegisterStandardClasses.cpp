#include "Core/XClassRegistry.h"
#include "Pivot/RegisterPivotClasses.h"

void XClassRegistry::RegisterStandardClasses()
{
    RegisterCoreClasses();
    RegisterPivotClasses();
}
