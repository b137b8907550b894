#include "Jobs/RegisterJobsClasses.h"

#include "Core/XClassRegistry.h"
#include "Jobs/XProgressChangedMessage.h"

void RegisterJobsClasses()
{
    XClassRegistry::RegisterClass<XThreadProgressStrategy::XProgressChangedMessage>( "Progress Message" );
}
