#include "Messaging/XRemoteMessage.h"

#include "Core/Streams/XMemStream.h"
#include "Messaging/XMessage.h"
#include "Messaging/XNetJobMessage.h"
#include "Testing.h"

TEST( XRemoteMessageTest, TravelsAsAnObjectInBothByteOrders )
{
    const XNetJobMessage message( nullptr, 7, 0x01020304 );
    for ( const auto order : { kIntelOrder, kMotorolaOrder } )
    {
        XMemStream stream;
        stream.SetByteOrder( order );
        stream.WriteObject( message );
        EXPECT_EQ( static_cast<USize64>( stream.GetPosition() ), 4 + message.GetStreamUsage() );
        stream.SeekTo( 0 );
        const std::unique_ptr<XStorable> read( stream.ReadObject() );
        const auto* const copy = dynamic_cast<const XNetJobMessage*>( read.get() );
        ASSERT_TRUE( copy );
        EXPECT_EQ( copy->GetID(), 7u );
        EXPECT_EQ( copy->GetJobID(), 0x01020304u );
        EXPECT_TRUE( static_cast<const XMessage&>( message ) == *copy );
        EXPECT_TRUE( copy->IsA( XRemoteMessage::GetClassVersion() ) );
    }
}

TEST( XRemoteMessageTest, RefusesDamagedBytes )
{
    const auto errorFrom = []( std::uint32_t inVersion )
    {
        XMemStream stream;
        XRemoteMessage( nullptr, 7 ).WriteStream2( stream );
        stream.WriteVersion( inVersion );
        stream.SeekTo( 0 );
        XNetJobMessage message;
        return ErrorOf( [&] { message.ReadStream2( stream ); } );
    };
    const std::uint32_t version = XNetJobMessage::GetClassVersion();
    EXPECT_EQ( errorFrom( version ), 1260u );
    EXPECT_EQ( errorFrom( version + 0x10000 ), 1015u );
    EXPECT_EQ( errorFrom( XRemoteMessage::GetClassVersion() ), 1005u );
}
