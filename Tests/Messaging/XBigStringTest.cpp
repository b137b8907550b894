#include "Messaging/XBigString.h"

#include "Messaging/XBigStringChangedMessage.h"
#include "Recorder.h"
#include "Threads/XLock.h"

TEST( XBigStringTest, FollowsTheRulesOfXString )
{
    XBigString text( "  Mary had a Lamb  " );
    EXPECT_EQ( text.Strip().Lower().GetText(), XString( "mary had a lamb" ) );
    EXPECT_EQ( text.Replace( "a", "o" ), 4u );
    EXPECT_EQ( text.StripFirst( 5 ).StripLast( 5 ).Truncate( 3 ).GetText(), XString( "hod" ) );
    text = -3;
    text += "7";
    const XBigString copy( text );
    text += "x";
    EXPECT_EQ( static_cast<std::int32_t>( copy ), -37 );
    EXPECT_EQ( XBigString( 7, XString::kIntZeroPadded, 3 ).GetText(), XString( "007" ) );
}

TEST( XBigStringTest, AnnouncesManyChangesOnce )
{
    XBigString text( "a" );
    text += "b";
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
    XString heard;
    Recorder listener(
        text,
        [&]( const XMessage& inMessage )
        {
            EXPECT_NE( dynamic_cast<const XBigStringChangedMessage*>( &inMessage ), nullptr );
            heard = text.GetText();
        } );
    OnWorker(
        [&]
        {
            text += "c";
            text += "d";
        } );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( listener.heard.size(), 1u );
    EXPECT_EQ( heard, XString( "abcd" ) );
}

TEST( XBigStringTest, ALockKeepsOtherThreadsOut )
{
    XBigString text( "0" );
    std::atomic<bool> isTried = false;
    std::thread other;
    {
        const XLock lock( text, kLockForRead );
        other = std::thread(
            [&]
            {
                isTried = true;
                text += "2";
            } );
        while ( !isTried )
            std::this_thread::yield();
        text += "1"; // the holder goes on
        EXPECT_EQ( text.GetText(), XString( "01" ) );
    }
    other.join();
    EXPECT_EQ( text.GetText(), XString( "012" ) );
}
