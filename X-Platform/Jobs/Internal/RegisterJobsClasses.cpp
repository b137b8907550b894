#include "Jobs/Internal/RegisterJobsClasses.h"

#include "Core/Streams/XClassRegistry.h"
#include "Jobs/XProgressChangedMessage.h"

void RegisterJobsClasses()
{
    XClassRegistry::RegisterClass<XThreadProgressStrategy::XProgressChangedMessage>( "Progress Message" );
}
