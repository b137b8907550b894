#include "Messaging/Internal/RegisterMessagingClasses.h"

#include "Core/Streams/XClassRegistry.h"
#include "Messaging/XNetJobMessage.h"
#include "Messaging/XRemoteNotifyMessage.h"

void RegisterMessagingClasses()
{
    XClassRegistry::RegisterClass<XRemoteMessage>( "Remote Message" );
    XClassRegistry::RegisterClass<XNetJobMessage>( "Network Job Message" );
    XClassRegistry::RegisterClass<XRemoteNotifyMessage>( "Remote Notification" );
}
