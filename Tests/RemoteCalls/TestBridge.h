#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Core/Streams/XClassRegistry.h"
#include "Core/Times/XTime.h"
#include "Core/Times/XTimePeriod.h"
#include "Network/TestConnection.h"
#include "RemoteCalls/XRPCResponder.h"
#include "Servers/XNetServer.h"

#include <functional>
#include <stdexcept>
#include <string>

inline constexpr char kTestKey[] = "sixteen bytes ok";

inline XRPCCipher
MakeTestCipher( XEncryptedNetStream::XAlgorithm inAlgorithm = XEncryptedNetStream::kAlgorithmRC4 )
{
    return XRPCCipher( inAlgorithm, kTestKey );
}

/// An object with a name, shared or not.
class NamedObject : public XRefCountable, public XStorable
{
public:
    NamedObject( const XString& inName = XString() ) : name( inName ) {}

    static XVersion GetClassVersion() { return XVersion( 40001, 0 ); }
    static XVersion GetSuperClassVersion() { return XVersion( kClassNone ); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    NamedObject* Clone() const override { return new NamedObject( *this ); }
    USize64 GetStreamUsage() const override { return 4; }
    void ReadStream2( XStream& inStream, XOptions ) override
    {
        ReadCheckedVersion( inStream, GetClassVersion() );
        name = inStream.ReadString();
    }
    void WriteStream2( XStream& inStream, XOptions ) const override
    {
        inStream.WriteVersion( GetClassVersion() );
        inStream.WriteString( name );
    }

    XString name;
};

class DerivedObject : public NamedObject
{
public:
    using NamedObject::NamedObject;
    static XVersion GetClassVersion() { return XVersion( 40002, 0 ); }
    static XVersion GetSuperClassVersion() { return NamedObject::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    DerivedObject* Clone() const override { return new DerivedObject( *this ); }
};

enum class Shade : std::uint8_t
{
    kLight,
    kDark = 200
};

/// What client and server share.
class TestBridge : public XRPCBridge
{
public:
    using XRPCBridge::XRPCBridge;
    ~TestBridge() override { StopBridge(); }

    static XVersion GetClassVersion() { return XVersion( 40100, 3 ); }
    XVersion GetVersion() const override { return GetClassVersion(); }

    XREMOTE_METHOD( 2000, double, Divide, double, double )
    XREMOTE_METHOD( 2001, void, Note, std::uint32_t )
    XREMOTE_METHOD(
        2002, XString, Numbers, bool, std::int8_t, std::uint16_t, std::int32_t, std::uint64_t, float )
    XREMOTE_METHOD( 2003, XString, Values, XString, XTime, XTimePeriod, XUUID, XVersion, Shade )
    XREMOTE_METHOD( 2004, XVector<double>, Scale, XVector<double>, double )
    XREMOTE_METHOD( 2005, XVector<XString>, Reverse, XVector<XString> )
    XREMOTE_METHOD( 2006, NamedObject, Rename, NamedObject, XString )
    XREMOTE_METHOD( 2007, std::unique_ptr<NamedObject>, Pass, std::unique_ptr<NamedObject>, bool )
    XREMOTE_METHOD( 2008, XRefPtr<NamedObject>, Share, XRefPtr<NamedObject> )
    XREMOTE_METHOD( 2009, std::unique_ptr<DerivedObject>, Narrow, XString )
    XREMOTE_METHOD( 2010, void, Fail, std::uint32_t )
    XREMOTE_METHOD( 2011, void, Block )
    XREMOTE_METHOD( 2012, std::uint32_t, CallBack, std::uint32_t )
    XREMOTE_METHOD( 2013, std::uint32_t, Count )
    XREMOTE_METHOD_ONCE( 2014, std::uint32_t, CountOnce )
    XREMOTE_METHOD( 2015, void, Nowhere )
    XREMOTE_METHOD_ONCE( 2016, void, Record, std::uint32_t )
};

/// What a server's bridges share with the test.
struct TestServices
{
    WEvent hasNoted;
    std::atomic<std::uint32_t> noted = 0;
    WEvent isBlocked;
    WEvent mayGoOn;
    std::atomic<std::uint32_t> count = 0;
    std::atomic<std::uint32_t> disconnections = 0;
};

class TestServerBridge : public TestBridge
{
public:
    TestServerBridge( TestServices* inServices, const XRPCCipher& inCipher, XBridgeType inType = kServer )
        : TestBridge( inType, inCipher ), itsServices( *inServices )
    {
    }
    ~TestServerBridge() override { StopBridge(); }

    double DivideSelf( double inLeft, double inRight ) override { return inLeft / inRight; }
    void NoteSelf( std::uint32_t inNumber ) override
    {
        itsServices.noted = inNumber;
        itsServices.hasNoted.Set();
    }
    XString NumbersSelf(
        bool inBool, std::int8_t inByte, std::uint16_t inShort, std::int32_t inInt, std::uint64_t inLong,
        float inFloat ) override
    {
        return XString( inBool ? "yes" : "no" ) + " " + XString( inByte ) + " " + XString( inShort ) + " " +
            XString( inInt ) + " " + XString( inLong ) + " " + XString( double( inFloat ) );
    }
    XString ValuesSelf(
        XString inText, XTime inTime, XTimePeriod inPeriod, XUUID inID, XVersion inVersion,
        Shade inShade ) override
    {
        return inText + " " + XString( inTime.GetMicroSeconds() ) + " " + XString( inPeriod.GetValue() ) +
            " " + inID.UUIDToString() + " " + XString( std::uint32_t( inVersion ) ) + " " +
            XString( static_cast<std::uint32_t>( inShade ) );
    }
    XVector<double> ScaleSelf( XVector<double> inValues, double inFactor ) override
    {
        for ( double& value : inValues )
            value *= inFactor;
        return inValues;
    }
    XVector<XString> ReverseSelf( XVector<XString> inTexts ) override
    {
        std::reverse( inTexts.begin(), inTexts.end() );
        return inTexts;
    }
    NamedObject RenameSelf( NamedObject inObject, XString inName ) override
    {
        return NamedObject( inObject.name + inName );
    }
    std::unique_ptr<NamedObject> PassSelf( std::unique_ptr<NamedObject> inObject, bool inIsWanted ) override
    {
        return inIsWanted ? std::move( inObject ) : nullptr;
    }
    XRefPtr<NamedObject> ShareSelf( XRefPtr<NamedObject> inObject ) override { return inObject; }
    void FailSelf( std::uint32_t inNumber ) override
    {
        if ( inNumber == 0 )
            throw std::runtime_error( "no number" );
        XThrow( inNumber );
    }
    void BlockSelf() override
    {
        itsServices.isBlocked.Set();
        itsServices.mayGoOn.Wait( kPatience );
    }
    std::uint32_t CallBackSelf( std::uint32_t inNumber ) override { return CallBack( inNumber ) + 1; }
    std::uint32_t CountSelf() override { return ++itsServices.count; }
    std::uint32_t CountOnceSelf() override { return ++itsServices.count; }

private:
    void ReceiverDisconnectedSelf() override { ++itsServices.disconnections; }

    TestServices& itsServices;
};

/// A server on a free port.
class TestServer
{
public:
    explicit TestServer( const XRPCCipher& inCipher = MakeTestCipher() ) : itsServer( "test" )
    {
        XClassRegistry::RegisterClass<NamedObject>( "Named" );
        XClassRegistry::RegisterClass<DerivedObject>( "Derived" );
        XServeBridge<TestServerBridge>( itsServer, &services, inCipher );
        itsServer.Start( 0 );
    }

    XNetAddress GetAddress() const { return XNetAddress::GetLoopBackAddress( itsServer.GetPort() ); }
    XNetServer& operator*() { return itsServer; }
    XNetServer* operator->() { return &itsServer; }

    /// Ends all connections and listens on the same port again.
    void Restart()
    {
        const std::int32_t port = itsServer.GetPort();
        itsServer.Stop();
        itsServer.Start( port );
    }

    TestServices services;

private:
    XNetServer itsServer;
};

/// A connected client.
inline XRefPtr<TestBridge> MakeTestClient(
    const TestServer& inServer, const XRPCCipher& inCipher = MakeTestCipher(),
    bool inUseAutoReconnect = false, XRPCBridgeBase::XBridgeType inType = XRPCBridgeBase::kClient )
{
    auto bridge = XMakeRef<TestBridge>( inType, inCipher );
    bridge->Connect( inServer.GetAddress(), 10'000, true, false, inUseAutoReconnect );
    return bridge;
}
