#include "Core/XClassRegistry.h"

void XClassRegistry::RegisterStandardClasses()
{
    RegisterCoreClasses();
}
