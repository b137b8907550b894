#include "RemoteCalls/TestBridge.h"

#include "Core/Streams/XMemStream.h"
#include "Core/Times/XTimer.h"

#include <limits>

namespace
{

class XRPCBridgeTest : public testing::Test
{
protected:
    TestServer itsServer;
    TestServices& itsServices = itsServer.services;
    XRefPtr<TestBridge> itsClient = MakeTestClient( itsServer );
};

/// An object that notes how it is read.
class WaryObject : public NamedObject
{
public:
    using NamedObject::NamedObject;
    static XVersion GetClassVersion() { return XVersion( 40005, 0 ); }
    static XVersion GetSuperClassVersion() { return NamedObject::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        isUntrusted = ( inOptions & kUntrustedSource ) != 0;
        NamedObject::ReadStream2( inStream, inOptions );
    }

    bool isUntrusted = false;
};

/// An object with another one in it.
class NestingObject : public NamedObject
{
public:
    using NamedObject::NamedObject;
    static XVersion GetClassVersion() { return XVersion( 40004, 0 ); }
    static XVersion GetSuperClassVersion() { return NamedObject::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        name = inStream.ReadObjectOf<NamedObject>( inOptions )->name;
    }
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        inStream.WriteObject( NamedObject( name ), inOptions );
    }
};

/// An object that fails after a part of it has been written.
class UnwritableObject : public NamedObject
{
public:
    explicit UnwritableObject( bool inHasNumber ) : itsHasNumber( inHasNumber ) {}
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        NamedObject::WriteStream2( inStream, inOptions );
        if ( itsHasNumber )
            XThrow( kErrorBadParameters );
        throw std::runtime_error( "no number" );
    }

private:
    const bool itsHasNumber;
};

// What is to be refused by the compiler.
static_assert(
    !XRPCType<const char*> && !XRPCType<std::string> && !XRPCType<XVector<bool>> && !XRPCType<long double> );
static_assert(
    !XRPCType<XVector<XVector<int>>> && !XRPCType<std::unique_ptr<int>> && !XRPCType<XRefPtr<TestBridge*>> );

} // namespace

TEST_F( XRPCBridgeTest, CallsInAllForms )
{
    EXPECT_EQ( itsClient->Divide( 3, 4 ), 0.75 );
    EXPECT_EQ( itsClient->Divide_NoThrow( 1, 4 ), 0.25 );
    itsClient->Note_NoWaitForReturn( 7 );
    itsServices.hasNoted.Wait( kPatience );
    EXPECT_EQ( itsServices.noted, 7u );
    EXPECT_TRUE( itsClient->Note_NoThrow( 8 ) );
    EXPECT_EQ( itsServices.noted, 8u );
    EXPECT_FALSE( itsClient->Fail_NoThrow( 1013 ) );
    EXPECT_EQ( ErrorOf( [&] { itsClient->Fail( 1023 ); } ), 1023u );
    EXPECT_EQ( ErrorOf( [&] { itsClient->Fail( 3100 ); } ), 3100u ); // the method's, not the connection's
    EXPECT_EQ( ErrorOf( [&] { itsClient->Fail( 0 ); } ), 3090u );
    EXPECT_EQ( ErrorOf( [&] { itsClient->Nowhere(); } ), 3091u );
    itsClient->Fail_NoWaitForReturn( 1013 );
    EXPECT_EQ( itsClient->Divide( 8, 4 ), 2 );
}

TEST_F( XRPCBridgeTest, SendsCallsWithoutReturnSoonAndInOrder )
{
    const auto awaitNoted = [&]( std::uint32_t inNumber )
    {
        for ( const XTimer timer( kPatience ); itsServices.noted != inNumber && !timer.HasExpired(); )
            XThread::YieldCurrentThread();
        EXPECT_EQ( itsServices.noted, inNumber );
    };
    for ( std::uint32_t number = 1; number <= 1000; ++number )
        itsClient->Note_NoWaitForReturn( number );
    awaitNoted( 1000 ); // although nothing follows
    for ( std::uint32_t number = 1; number <= 3; ++number )
        itsClient->Note_NoWaitForReturn( number );
    itsClient->CheckAlive();
    EXPECT_EQ( itsServices.noted, 3u );
    for ( std::uint32_t number = 4; number <= 9; ++number )
        itsClient->Note_NoWaitForReturn( number );
    itsClient->Disconnect( kPatience );
    awaitNoted( 9 );
    itsClient->Connect( itsServer.GetAddress(), kPatience );
    itsServer->Stop();
    const XTimer timer( kPatience ); // what is lost, a later call reports
    const auto note = [&]
    {
        while ( !timer.HasExpired() )
            itsClient->Note_NoWaitForReturn( 1 );
    };
    EXPECT_EQ( ErrorOf( note ), 3100u );
}

TEST_F( XRPCBridgeTest, SendsDeferredCallsOnceTheSenderIsFree )
{
    const auto note = [&]( std::uint32_t inNumber, std::uint32_t inTimeMS )
    {
        itsClient->Note_NoWaitForReturn( 0 );
        itsClient->Note_NoWaitForReturn( inNumber ); // deferred
        if ( inTimeMS > 0 )
        {
            const XMakeRPCCall call( *itsClient, 2000, true );
            XThread::SleepCurrentThread( inTimeMS ); // the flusher tries in vain
        }
        EXPECT_TRUE( Await( [&] { return itsServices.noted == inNumber; } ) );
    };
    for ( std::uint32_t round = 1; round <= 10; ++round )
        note( round, 3 );
    const std::uint32_t threads = XThread::GetRunningThreadCount();
    EXPECT_TRUE( Await( [&] { return XThread::GetRunningThreadCount() < threads; } ) ); // it has ended
    for ( std::uint32_t round = 11; round <= 20; ++round )
        note( round, 0 );
}

TEST_F( XRPCBridgeTest, ClosesTheConnectionOfACallThatCannotBeWritten )
{
    for ( const bool hasNumber : { true, false } )
    {
        const std::uint32_t before = itsServices.disconnections;
        EXPECT_ANY_THROW( itsClient->Pass( std::make_unique<UnwritableObject>( hasNumber ), true ) );
        EXPECT_TRUE( Await( [&] { return itsServices.disconnections > before; } ) );
        EXPECT_ERROR( 3100, itsClient->CheckAlive() );
        itsClient->Connect( itsServer.GetAddress(), kPatience );
    }
}

TEST_F( XRPCBridgeTest, VanishesWithUnsentCalls )
{
    for ( int round = 0; round < 20; ++round )
    {
        auto client = MakeTestClient( itsServer );
        client->Note_NoWaitForReturn( 1 );
        client->Note_NoWaitForReturn( 2 );
        client.Reset();
    }
    itsClient->CheckAlive();
}

TEST_F( XRPCBridgeTest, KnowsItsStateAndItsCalls )
{
    EXPECT_EQ( itsClient->GetState(), XRPCBridge::kAuthenticated );
    EXPECT_TRUE( itsClient->CanSend() && !itsClient->CanRecv() && itsClient->IsClient() );
    EXPECT_EQ( itsClient->GetRemoteAddress().GetPort(), itsServer->GetPort() );
    EXPECT_TRUE( itsClient->IsRPCCallSupported( 2000 ) );
    EXPECT_TRUE( itsClient->IsRPCCallSupported( 1007 ) );
    EXPECT_FALSE( itsClient->IsRPCCallSupported( 1999 ) );
    const std::uint32_t sent = XRPCBridge::GetTotalRPCCallsSent();
    const std::uint32_t received = XRPCBridge::GetTotalRPCCallsReceived();
    itsClient->CheckAlive();
    itsClient->CheckAlive_NoThrow();
    EXPECT_EQ( XRPCBridge::GetTotalRPCCallsSent(), sent + 2 );
    EXPECT_EQ( XRPCBridge::GetTotalRPCCallsReceived(), received + 2 );
    itsClient->Disconnect();
    EXPECT_EQ( itsClient->GetState(), XRPCBridge::kNotConnected );
    EXPECT_EQ( ErrorOf( [&] { itsClient->CheckAlive(); } ), 3100u );
    itsClient->Connect( itsServer.GetAddress(), kPatience );
    itsClient->CheckAlive();
    TestServerBridge server( &itsServices, MakeTestCipher() );
    EXPECT_EQ( ErrorOf( [&] { server.CheckAlive(); } ), 3099u );
}

TEST_F( XRPCBridgeTest, CarriesEveryTypeWithEachCipherInBothOrders )
{
    using Stream = XEncryptedNetStream;
    XClassRegistry::RegisterClass<NestingObject>( "Nesting" );
    for ( const auto algorithm : { Stream::kAlgorithmNone, Stream::kAlgorithmTEA, Stream::kAlgorithmRC4 } )
        for ( const XByteOrder order : { kIntelOrder, kMotorolaOrder } )
        {
            SCOPED_TRACE( std::to_string( algorithm ) + ", " + std::to_string( order ) );
            TestServer server( MakeTestCipher( algorithm ) );
            const auto client = MakeTestClient( server, MakeTestCipher( algorithm ) );
            client->NegotiateByteOrder( order );
            EXPECT_EQ(
                client->Numbers( true, -128, 65535, -7, 0xFFFFFFFFFFFFFFFF, 1.5f ),
                "yes -128 65535 -7 18446744073709551615 1.5" );
            const XUUID id( "f81d4fae-7dec-11d0-a765-00a0c91e6bf6" );
            EXPECT_EQ(
                client->Values(
                    "t", XTime( 5 ), XTimePeriod( 2, XTimePeriod::kSeconds ), id, XVersion( 1, 1 ),
                    Shade::kDark ),
                "t 5 2 " + id.UUIDToString() + " 65537 200" );
            XVector<double> values( 100'000, 1.25 );
            values.front() = std::numeric_limits<double>::infinity();
            const XVector<double> scaled = client->Scale( values, 2 );
            EXPECT_EQ( scaled.size(), values.size() );
            EXPECT_EQ( scaled.front(), values.front() );
            EXPECT_EQ( scaled.back(), 2.5 );
            EXPECT_TRUE( client->Scale( {}, 2 ).empty() );
            EXPECT_EQ( client->Reverse( { "a", "", "c" } ), ( XVector<XString>{ "c", "", "a" } ) );
            EXPECT_EQ( client->Rename( NamedObject( "a" ), "b" ).name, "ab" );
            const auto passed = client->Pass( std::make_unique<DerivedObject>( "d" ), true );
            EXPECT_TRUE( dynamic_cast<DerivedObject*>( passed.get() ) && passed->name == "d" );
            EXPECT_FALSE( client->Pass( std::make_unique<NamedObject>(), false ) );
            const auto nesting = client->Pass( std::make_unique<NestingObject>( "n" ), true );
            EXPECT_TRUE( nesting && nesting->name == "n" );
            EXPECT_EQ( client->Share( XMakeRef<NamedObject>( "s" ) )->name, "s" );
            EXPECT_FALSE( client->Share( nullptr ) );
        }
}

TEST_F( XRPCBridgeTest, RefusesObjectsOfAnotherClass )
{
    EXPECT_EQ( ErrorOf( [&] { itsClient->Rename( DerivedObject( "d" ), "cut off" ); } ), 3095u );
    EXPECT_EQ( itsClient->Rename( NamedObject( "a" ), "b" ).name, "ab" ); // the conversation goes on
    EXPECT_EQ(
        ErrorOf( [&] { itsClient->SpeakRemoteMessage( std::unique_ptr<XRemoteMessage>() ); } ), 3095u );
    XClassRegistry::UnregisterClassA( DerivedObject::GetClassVersion() );
    const auto unknown = [&] { itsClient->Pass( std::make_unique<DerivedObject>( "d" ), true ); };
    EXPECT_EQ( ErrorOf( unknown ), 1003u ); // the length of the object is not known
    EXPECT_EQ( ErrorOf( [&] { itsClient->CheckAlive(); } ), 3100u );
}

TEST_F( XRPCBridgeTest, ReadsObjectsAsThoseOfAnUntrustedSource )
{
    XClassRegistry::RegisterClass<WaryObject>( "Wary" );
    XMemStream stream;
    stream.WriteObject( WaryObject() );
    XWriteVector( stream, XVector<WaryObject>( 1 ) );
    stream.SeekTo( 0 );
    WaryObject object;
    XVector<WaryObject> objects;
    ASSERT_TRUE( XRPCDetail::Read( stream, object ) && XRPCDetail::Read( stream, objects ) );
    EXPECT_TRUE( object.isUntrusted && objects.at( 0 ).isUntrusted );
}

TEST_F( XRPCBridgeTest, ServesThreadsOneAfterTheOther )
{
    RunOnThreads(
        8,
        [&]( unsigned inThread )
        {
            for ( unsigned i = 1; i <= 100; ++i )
            {
                EXPECT_EQ( itsClient->Divide( inThread, i ), double( inThread ) / i );
                itsClient->Note_NoWaitForReturn( i );
            }
        } );
}

TEST_F( XRPCBridgeTest, ThreadsThatAreSuspendedOrStoppedLeaveTheirTurnToOthers )
{
    const auto call = [&] { itsClient->CheckAlive(); };
    TestThread blocked( [&] { itsClient->Block(); } );
    TestThread suspended( call ), stopped( call ), last( call );
    blocked.StartThread();
    itsServices.isBlocked.Wait( kPatience );
    for ( TestThread* thread : { &suspended, &stopped, &last } )
    {
        thread->StartThread();
        XThread::SleepCurrentThread( 20 ); // so that it is likely to wait for the bridge in this order
    }
    suspended.SuspendThread();
    stopped.StopThread();
    itsServices.mayGoOn.Set();
    blocked.WaitForTerminate( kPatience );
    last.WaitForTerminate( kPatience );
    suspended.ResumeThread();
    suspended.WaitForTerminate( kPatience );
    {
        const XMakeRPCCall note( *itsClient, 2001, false ); // needs no turn
        stopped.StartThread();
        XThread::SleepCurrentThread( 20 ); // so that it is likely to have its turn and wait for the sender
        stopped.StopThread();
    }
    itsClient->CheckAlive();
}

TEST_F( XRPCBridgeTest, AbortsCalls )
{
    itsClient->AbortSenderRPCCall( 2000 );
    EXPECT_EQ( ErrorOf( [&] { itsClient->Divide( 1, 1 ); } ), 3098u );
    itsClient->AbortSenderRPCCall( 2000 );
    itsClient->CheckAlive(); // another call takes it back
    EXPECT_EQ( itsClient->Divide( 1, 1 ), 1 );
    itsClient->AbortSenderRPCCall( 2000 );
    itsClient->ResetSenderAbortRPCCall();
    EXPECT_EQ( itsClient->Divide( 1, 1 ), 1 );

    RunTogether(
        [&] { EXPECT_EQ( ErrorOf( [&] { itsClient->Block(); } ), 3098u ); },
        [&]
        {
            itsServices.isBlocked.Wait( kPatience );
            itsClient->AbortSenderRPCCall( 2011 );
        } );
    EXPECT_EQ( itsClient->Divide( 1, 1 ), 1 ); // over a new connection
    itsServices.mayGoOn.Set();
    {
        const XMakeRPCCall call( *itsClient, 2000, true );
        itsClient->AbortSenderRPCCall( 2000 ); // too late: nothing waits any more
    }
    EXPECT_EQ( itsClient->GetSenderState(), XRPCBridge::kNotConnected );
    EXPECT_EQ( itsClient->Divide( 1, 1 ), 1 );
}

TEST_F( XRPCBridgeTest, EndsCallsWithItsConnection )
{
    RunTogether(
        [&] { EXPECT_EQ( ErrorOf( [&] { itsClient->Block(); } ), 3100u ); },
        [&]
        {
            itsServices.isBlocked.Wait( kPatience );
            itsClient->ForceDisconnect();
            itsServices.mayGoOn.Set();
        } );
    EXPECT_EQ( ErrorOf( [&] { itsClient->CheckAlive(); } ), 3100u );
    itsClient->Connect( itsServer.GetAddress(), kPatience );
    itsServer->Stop();
    EXPECT_EQ( itsServices.disconnections, 2u );
    EXPECT_EQ( ErrorOf( [&] { itsClient->CheckAlive(); } ), 3100u );
    EXPECT_EQ( ErrorOf( [&] { itsClient->Connect( itsServer.GetAddress(), 100 ); } ), 3106u );
}

TEST_F( XRPCBridgeTest, ReleasesTheSenderEarly )
{
    const XMakeRPCCall call( *itsClient, 2000, true );
    EXPECT_EQ( ErrorOf( [&] { XMakeRPCCall( *itsClient, 2000, true ); } ), 1006u ); // no call within a call
    itsClient->ReleaseSenderEarly( 2001 );
    EXPECT_EQ( ErrorOf( [&] { XMakeRPCCall( *itsClient, 2000, true ); } ), 1006u ); // of another call
    itsClient->ReleaseSenderEarly( 2000 );
    RunOnThreads( 2, [&]( unsigned ) { itsClient->CheckAlive(); } );
}
