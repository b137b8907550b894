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
    const NumberMessage two( 2 );
    const OtherMessage other;
    const XVector<const XMessage*> messages{ &one, &two, &other, nullptr };
    const auto count = [&]( auto inPredicate )
    { return std::count_if( messages.begin(), messages.end(), inPredicate ); };
    EXPECT_EQ( count( XIsMessageTypeEqual( typeid( NumberMessage ) ) ), 2 );
    EXPECT_EQ( count( XIsMessageTypeEqual( typeid( XMessage ) ) ), 0 );
    EXPECT_EQ( count( XIsMessageEqual( NumberMessage( 2 ) ) ), 1 );

    const std::multimap<int, std::string> names{ { 1, typeid( one ).name() }, { 2, typeid( other ).name() } };
    const XIsMessageTypeOfPairEqual isOther( typeid( OtherMessage ) );
    EXPECT_EQ( std::find_if( names.begin(), names.end(), isOther )->first, 2 );
}
