#include "Messaging/XMessage.h"

#include "Core/Streams/XMemStream.h"
#include "Messaging/XIsMessageEqual.h"
#include "Messaging/XIsMessageTypeOfPairEqual.h"
#include "Messaging/XMessageVoid.h"
#include "Recorder.h"

TEST( XMessageTest, CopiesKeepTheSenderAndHaveATimeOfTheirOwn )
{
    XSpeaker speaker;
    std::unique_ptr<XMessage> message;
    OnWorker( [&] { message = std::make_unique<NumberMessage>( 1, &speaker ); } );
    const std::unique_ptr<XMessage> clone( message->Clone() );
    EXPECT_NE( message->GetSenderThreadID(), XThread::GetCurrentThreadID() );
    EXPECT_EQ( clone->GetSenderThreadID(), message->GetSenderThreadID() );
    EXPECT_EQ( clone->GetSpeaker(), &speaker );
    EXPECT_EQ( clone->GetTimeMetric(), message->GetTimeMetric() + 1 );
}

TEST( XMessageTest, OrdersUnequalMessagesByCreation )
{
    int info = 0;
    const XMessageVoid first( nullptr, &info );
    const NumberMessage second( 1 );
    const XMessageVoid third( nullptr, &info );
    const XMessage& one = first;
    EXPECT_TRUE( one < second && !( second < one ) );
    EXPECT_TRUE( one == third && !( one < third ) && one != second );
    EXPECT_TRUE( one != XMessageVoid() );
    XSpeaker speaker;
    EXPECT_TRUE( one != XMessageVoid( &speaker, &info ) );
}

TEST( XMessageTest, PredicatesSelectInContainers )
{
    const NumberMessage one( 1 );
    EXPECT_TRUE( XIsMessageTypeEqual( typeid( NumberMessage ) )( &one ) );
    EXPECT_FALSE( XIsMessageTypeEqual( typeid( XMessage ) )( &one ) );
    EXPECT_FALSE( XIsMessageTypeEqual( typeid( NumberMessage ) )( nullptr ) );
    EXPECT_TRUE( XIsMessageEqual( NumberMessage( 1 ) )( &one ) );
    EXPECT_FALSE( XIsMessageEqual( NumberMessage( 2 ) )( &one ) );
    const std::pair<const int, std::string> name( 1, typeid( one ).name() );
    EXPECT_TRUE( XIsMessageTypeOfPairEqual( typeid( NumberMessage ) )( name ) );
    EXPECT_FALSE( XIsMessageTypeOfPairEqual( typeid( OtherMessage ) )( name ) );
}
