#include "Memory/Internal/RegisterMemoryClasses.h"

#include "Core/Streams/XClassRegistry.h"
#include "Memory/XMemoryHandle.h"

void RegisterMemoryClasses()
{
    XClassRegistry::RegisterClass<XMemoryHandle>( "Memory Handle" );
}
