// The messages that travel to other processes. What can be read is written and read again as the same message,
// and goes through the queue of the main thread with the others of its stream; anything else is refused with a
// documented number.

#include "FuzzTools.h"

#include "Messaging/XListener.h"
#include "Messaging/XRemoteMessage.h"
#include "Messaging/XSpeaker.h"

namespace
{

using Message = std::unique_ptr<XRemoteMessage>;

constexpr USize64 kEnvelopeBytes = 4;

class Counter : public XListener
{
public:
    ~Counter() override { StopListening(); }
    void HandleMessage( const XMessage& ) override { ++count; }

    USize count = 0;
};

/// The message comes back the same, in as many bytes as it says.
void CheckRoundTrip( const XRemoteMessage& inMessage )
{
    XMemStream stream;
    stream.WriteObject( inMessage );
    Require( stream.GetLength() == kEnvelopeBytes + inMessage.GetStreamUsage() );
    stream.SeekTo( 0 );
    const std::unique_ptr<XStorable> again( stream.ReadObject() );
    Require( stream.IsAtEOF() );
    Require( dynamic_cast<const XMessage&>( *again ) == inMessage );
}

/// The queue finds what may coalesce by its key.
void CheckKeys( const XMessage& inFirst, const XMessage& inSecond )
{
    if ( inFirst.ShouldCoalesceQueueMessage( inSecond ) != XMessage::kCoalesceNone )
        Require( inFirst.GetCoalesceKey() == inSecond.GetCoalesceKey() );
}

void ReadMessages( XStream& ioStream, XVector<Message>& outMessages )
{
    ioStream.ReadStreamInfo();
    while ( !ioStream.IsAtEOF() )
    {
        std::unique_ptr<XStorable> object( ioStream.ReadObject() );
        auto* const message = dynamic_cast<XRemoteMessage*>( object.get() );
        if ( !message )
            continue;
        object.release();
        outMessages.emplace_back( message );
        CheckRoundTrip( *message );
    }
}

void QueueMessages( const XVector<Message>& inMessages )
{
    XSpeaker speaker;
    Counter listener;
    listener.Subscribe( speaker );
    for ( USize i = 0; i < inMessages.size(); ++i )
    {
        CheckKeys( *inMessages[i], *inMessages[i / 2] );
        speaker.SpeakMessage( *inMessages[i], XSpeaker::kWhenNextEvent );
    }
    const USize queued = XSpeaker::GetDeferredCount();
    XSpeaker::ProcessAllNextEventMessages();
    Require( listener.count == queued && queued <= inMessages.size() );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    XMemStream stream( inData, inSize );
    XVector<Message> messages;
    RequireDocumentedErrors(
        { 1003, 1004, 1005, 1006, 1013, 1015, 1260 }, [&] { ReadMessages( stream, messages ); } );
    QueueMessages( messages );
    return 0;
}
