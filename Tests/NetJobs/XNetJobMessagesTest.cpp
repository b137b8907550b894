#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XMemStream.h"
#include "Messaging/Recorder.h"
#include "NetJobs/XNetJobCompletedMessage.h"
#include "NetJobs/XNetJobQueuePositionChangedMessage.h"
#include "Testing.h"

namespace
{

class CountResult : public XNetJobResult
{
public:
    explicit CountResult( std::uint32_t inJobID = 0, std::uint32_t inCount = 0 )
        : XNetJobResult( inJobID ), count( inCount )
    {
    }

    static XVersion GetClassVersion() { return XVersion( 60101, 0 ); }
    static XVersion GetSuperClassVersion() { return XNetJobResult::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    CountResult* Clone() const override { return new CountResult( *this ); }
    USize64 GetStreamUsage() const override { return XNetJobResult::GetStreamUsage() + 8; }

    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        XNetJobResult::ReadStream2( inStream, inOptions );
        ReadCheckedVersion( inStream, GetClassVersion() );
        count = inStream.Read32();
    }
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        XNetJobResult::WriteStream2( inStream, inOptions );
        inStream.WriteVersion( GetClassVersion() );
        inStream.Write32( count );
    }

    std::uint32_t count;
};

std::uint32_t CountOf( const XNetJobCompletedMessage& inMessage )
{
    return dynamic_cast<const CountResult&>( inMessage.GetResult() ).count;
}

XNetJobQueuePositionChangedMessage MakePosition( std::uint32_t inJobQueueID, std::uint32_t inPosition )
{
    return { nullptr, inJobQueueID, 7, inPosition, 100, 4, 8, 1500 };
}

} // namespace

TEST( XNetJobMessagesTest, ACompletionCarriesAResultOfADerivedClass )
{
    XClassRegistry::RegisterClass<CountResult>( "Count" );
    const XNetJobCompletedMessage message( nullptr, 3, 7, XTime( 9 ), CountResult( 7, 42 ) );
    XMemStream stream;
    stream.WriteObject( message );
    stream.SeekTo( 0 );
    const auto read = stream.ReadObjectOf<XNetJobCompletedMessage>();
    EXPECT_EQ( CountOf( *read ), 42u );
    EXPECT_EQ( read->GetID(), 3u );
    EXPECT_EQ( read->GetJobID(), 7u );
    EXPECT_EQ( read->GetCompletionTime(), XTime( 9 ) );
    EXPECT_TRUE( static_cast<const XMessage&>( *read ) == message );

    XClassRegistry::UnregisterClassA( CountResult::GetClassVersion() );
    stream.SeekTo( 0 );
    EXPECT_EQ( ErrorOf( [&] { stream.ReadObjectOf<XNetJobCompletedMessage>(); } ), 1003u );
}

TEST( XNetJobMessagesTest, CopiesOfACompletionHaveAResultOfTheirOwn )
{
    XNetJobCompletedMessage copy;
    {
        const XNetJobCompletedMessage message( nullptr, 3, 7, XTime( 9 ), CountResult( 7, 42 ) );
        copy = message;
        copy = XNetJobCompletedMessage( copy );
    }
    EXPECT_EQ( CountOf( copy ), 42u );
    const XNetJobCompletedMessage other( nullptr, 3, 7, XTime( 9 ), CountResult( 7, 43 ) );
    EXPECT_FALSE( static_cast<const XMessage&>( copy ) == other );
}

TEST( XNetJobMessagesTest, EveryCompletionIsTold )
{
    XSpeaker speaker;
    Recorder listener( speaker );
    const XNetJobCompletedMessage message( nullptr, 3, 7, XTime( 9 ), XNetJobResult( 7, 0 ) );
    speaker.SpeakMessage( message, XSpeaker::kWhenNextEvent );
    speaker.SpeakMessage( message, XSpeaker::kWhenNextEvent );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( listener.heard.size(), 2u );
}

TEST( XNetJobMessagesTest, OnlyTheNewestPositionOfAJobQueueIsTold )
{
    XSpeaker speaker;
    Numbers heard;
    Recorder listener(
        speaker,
        [&]( const XMessage& inMessage )
        {
            const auto& message = dynamic_cast<const XNetJobQueuePositionChangedMessage&>( inMessage );
            heard.push_back( static_cast<int>( message.GetPosition() ) );
        } );
    for ( const auto& message : { MakePosition( 1, 10 ), MakePosition( 2, 20 ), MakePosition( 1, 9 ) } )
        speaker.SpeakMessage( message, XSpeaker::kWhenNextEvent );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( heard, ( Numbers{ 20, 9 } ) );
}
