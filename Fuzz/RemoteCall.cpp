// Both ends of remote calls. The first byte chooses the end (server or client), whether the conversation has been opened by
// then, the order of bytes and whether there is a cipher; the others are what the peer sends, before the cipher. Every
// call ends with its result or a documented number, and a server serves nobody who has not authenticated.

#include "FuzzTools.h"
#include "MemoryEndpoint.h"

#include "Core/Identifiers/XUUID.h"
#include "Core/Times/XTime.h"
#include "Core/Times/XTimePeriod.h"
#include "RemoteCalls/XRPCBridge.h"

#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr char kKey[] = "sixteen bytes ok";

/// A peer whose bytes are never there before they are read, so that none of them comes unasked.
class AnsweringPeer : public MemoryEndpointImp
{
public:
    using MemoryEndpointImp::MemoryEndpointImp;
    std::uint32_t GetWaitingBytes() override { return 0; }
};

/// Slots of every type.
class EchoMethods : public XRPCBridge
{
public:
    using XRPCBridge::XRPCBridge;

    XREMOTE_METHOD( 1, bool, Bool, bool, std::int8_t, std::uint16_t )
    XREMOTE_METHOD( 2, double, Number, double, float, std::uint64_t )
    XREMOTE_METHOD( 3, XString, Text, XString )
    XREMOTE_METHOD( 4, XTime, Time, XTime, XTimePeriod, XUUID )
    XREMOTE_METHOD( 5, XVector<double>, Doubles, XVector<double> )
    XREMOTE_METHOD( 6, XVector<XString>, Texts, XVector<XString> )
    XREMOTE_METHOD( 7, XRemoteMessage, Object, XRemoteMessage )
    XREMOTE_METHOD( 8, std::unique_ptr<XRemoteMessage>, Pointer, std::unique_ptr<XRemoteMessage> )
};

/// Returns what it is given. A client has no buffer, with which it would receive later returns ahead and refuse them.
class EchoBridge : public EchoMethods
{
public:
    EchoBridge( XBridgeType inType, const XRPCCipher& inCipher, const Bytes& inBytes )
        : EchoMethods( inType, inCipher, inType == kClient ? 0 : kDefaultBufferSize ), itsBytes( inBytes )
    {
    }
    ~EchoBridge() override { StopBridge(); }

    bool BoolSelf( bool inValue, std::int8_t, std::uint16_t ) override { return NoteCall( inValue ); }
    double NumberSelf( double inValue, float, std::uint64_t ) override { return NoteCall( inValue ); }
    XString TextSelf( XString inText ) override { return NoteCall( inText ); }
    XTime TimeSelf( XTime inTime, XTimePeriod, XUUID ) override { return NoteCall( inTime ); }
    XVector<double> DoublesSelf( XVector<double> inValues ) override { return NoteCall( inValues ); }
    XVector<XString> TextsSelf( XVector<XString> inTexts ) override { return NoteCall( inTexts ); }
    XRemoteMessage ObjectSelf( XRemoteMessage inMessage ) override { return NoteCall( inMessage ); }
    std::unique_ptr<XRemoteMessage> PointerSelf( std::unique_ptr<XRemoteMessage> inMessage ) override
    {
        NoteCall( 0 );
        return inMessage;
    }

    bool HasAuthenticated() const { return itsHasAuthenticated; }

private:
    template<class T>
    T NoteCall( const T& inValue ) const
    {
        Require( itsHasAuthenticated );
        return inValue;
    }
    std::uint32_t DrawRandomNumber() override { return 3; }
    void ReceiverAuthenticatedSelf() override { itsHasAuthenticated = true; }
    XNetEndpoint MakeEndpoint() const override
    {
        return XNetEndpoint( std::make_unique<AnsweringPeer>( itsBytes.data(), itsBytes.size() ) );
    }

    const Bytes& itsBytes;
    bool itsHasAuthenticated = false;
};

void Append( Bytes& ioBytes, std::initializer_list<std::uint32_t> inNumbers )
{
    for ( const std::uint32_t number : inNumbers )
        for ( const int shift : { 24, 16, 8, 0 } )
            ioBytes.push_back( static_cast<std::uint8_t>( number >> shift ) );
}

void CallEverything( EchoBridge& ioBridge )
{
    ioBridge.Number( 1, 2, 3 );
    ioBridge.Text( "text" );
    ioBridge.Time( XTime( 1 ), XTimePeriod(), XUUID() );
    ioBridge.Doubles( { 1, 2 } );
    ioBridge.Texts( { "a" } );
    ioBridge.Object( XRemoteMessage( nullptr, 7 ) );
    ioBridge.Pointer( nullptr );
    ioBridge.Bool( true, 1, 2 );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    if ( inSize < 1 )
        return 0;
    const bool isServer = ( inData[0] & 1 ) != 0;
    const bool isOpen = ( inData[0] & 2 ) != 0;
    const std::uint32_t order = inData[0] >> 2 & 1;
    const bool hasCipher = ( inData[0] & 8 ) != 0;
    Bytes bytes;
    if ( isServer && isOpen )
        Append( bytes, { 1000, 1000, 0, 1001, 4, 3, 1002, order } );
    else if ( isOpen )
        Append( bytes, { 0, 1001, 0, 4, 0, order } );
    bytes.insert( bytes.end(), inData + 1, inData + inSize );
    XRPCCipher cipher;
    if ( hasCipher )
    {
        XEncryption::XRC4KeyState state( kKey );
        XEncryption::EncryptRC4( bytes.data(), bytes.data(), bytes.size(), kKey, &state );
        cipher = XRPCCipher( XEncryptedNetStream::kAlgorithmRC4, kKey );
    }
    EchoBridge bridge( isServer ? XRPCBridge::kServer : XRPCBridge::kClient, cipher, bytes );
    if ( isServer )
        RequireDocumentedErrors(
            { 1003, 1004, 1005, 1015 },
            [&]
            {
                bridge.Serve(
                    XNetEndpoint( std::make_unique<MemoryEndpointImp>( bytes.data(), bytes.size() ) ),
                    nullptr );
            } );
    else
        try
        {
            bridge.Connect( XNetAddress::GetLoopBackAddress( 1 ), kNoTimeout );
            CallEverything( bridge );
        }
        catch ( const XException& )
        {
            Require( !isOpen || bridge.GetSenderState() == XRPCBridge::kNotConnected || bridge.CanSend() );
        }
    return 0;
}
