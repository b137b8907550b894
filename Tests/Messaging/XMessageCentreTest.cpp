#include "Messaging/XMessageCentre.h"

#include "Messaging/XAppMessageCentre.h"
#include "Recorder.h"

TEST( XMessageCentreTest, RelaysFromManySpeakersToManyListeners )
{
    XMessageCentre& centre = XAppMessageCentre::GetAppMessageCentre();
    XSpeaker first, second;
    centre.Subscribe( first );
    centre.Subscribe( second );
    XSpeaker* heardFrom = nullptr;
    Recorder listener( centre, [&]( const XMessage& inMessage ) { heardFrom = inMessage.GetSpeaker(); } );
    first.SpeakMessage( NumberMessage( 1, &first ) );
    EXPECT_EQ( heardFrom, &first );

    // Passed on from a worker by a centre that hears there, the message is queued as the centre's own.
    centre.SetAsynchronous( true );
    OnWorker( [&] { second.SpeakMessage( NumberMessage( 2, &second ) ); } );
    EXPECT_EQ( listener.heard, Numbers{ 1 } );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 2 } ) );
    EXPECT_EQ( heardFrom, &centre );
    centre.SetAsynchronous( false );
    centre.StopListening();
}
