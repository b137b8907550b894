#include "Messaging/XMessageCentre.h"

XMessageCentre::XMessageCentre( bool inIsAsynchronous ) : XListener( inIsAsynchronous ) {}

XMessageCentre::~XMessageCentre()
{
    StopListening();
    StopSpeaking();
}

void XMessageCentre::HandleMessage( const XMessage& inMessage )
{
    SpeakMessage( inMessage, kWhenDefault );
}
