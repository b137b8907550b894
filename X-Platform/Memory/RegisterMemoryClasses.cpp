#include "Memory/RegisterMemoryClasses.h"

#include "Core/XClassRegistry.h"
#include "Memory/XMemoryHandle.h"

void RegisterMemoryClasses()
{
    XClassRegistry::RegisterClass<XMemoryHandle>( "Memory Handle" );
}
