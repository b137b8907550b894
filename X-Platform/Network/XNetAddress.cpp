#include "Network/XNetAddress.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/WLastErrorException.h"
#include "Core/Streams/XStream.h"
#include "Network/Internal/XHostNameCache.h"
#include "Sockets/WNetwork.h"
#include "Sockets/WSystemAddress.h"

#include <utility>

// An address has an IP address, a host name, or both. The missing part is looked up on request and stored in
// mutable members; therefore const functions that may look up must not run at the same time on a shared
// object. A name counts as resolved (itsIsNameResolved) if it was given or has been asked for, even without
// success, so a failing look-up is not repeated. Look-ups of names go through a cache of the process, because
// a name server without an answer may take seconds.

namespace
{

constexpr std::int32_t kMostPort = 65535;

} // namespace

XNetAddress::XNetAddress( std::uint32_t inIPAddress, std::int32_t inPort )
    : itsIPAddress( inIPAddress ), itsPort( inPort )
{
}

XNetAddress::XNetAddress( const XString& inHostName, std::int32_t inPort )
    : itsHostName( inHostName ), itsIsNameResolved( true ), itsPort( inPort )
{
}

XNetAddress::~XNetAddress() = default;

XNetAddress XNetAddress::GetLoopBackAddress( std::int32_t inPort )
{
    return XNetAddress( kLoopBackIP, inPort );
}

XNetAddress XNetAddress::GetLocalAddress( std::int32_t inPort )
{
    XNetAddress address;
    address.SetToLocalAddress();
    address.SetPort( inPort );
    return address;
}

XString XNetAddress::GetLocalHostName()
{
    return WNetwork::GetLocalName();
}

// ---- Queries

std::uint32_t XNetAddress::GetIPAddress( bool inLookUp ) const
{
    if ( itsIPAddress == 0 && inLookUp && !itsHostName.IsEmpty() )
        XSwallowErrors( [this] { AskForIPAddress(); } );
    return itsIPAddress;
}

const XString& XNetAddress::GetHostName( bool inLookUp ) const
{
    if ( inLookUp && !itsIsNameResolved && itsIPAddress != 0 )
    {
        itsIsNameResolved = true;
        AskForHostName();
    }
    return itsHostName;
}

XString XNetAddress::GetIPString( bool inLookUp ) const
{
    const std::uint32_t ip = GetIPAddress( inLookUp );
    XString text;
    text += ip >> 24;
    for ( int shift = 16; shift >= 0; shift -= 8 )
    {
        text += '.';
        text += ip >> shift & 0xFF;
    }
    return text;
}

XString XNetAddress::GetDescription( bool inLookUp ) const
{
    const XString name = GetHostName( inLookUp ); // looking up the IP address may change it
    const XString ip = GetIPString( inLookUp );
    return name.IsEmpty() ? ip : name + " (" + ip + ")";
}

void XNetAddress::GetSockAddress( sockaddr_in& outAddress ) const
{
    if ( itsPort < 0 || itsPort > kMostPort )
        XThrow( kErrorBadParameters );
    WSystemAddress::Set( outAddress, GetIPAddress( true ), static_cast<std::uint16_t>( itsPort ) );
}

// ---- Changes

void XNetAddress::SetHostName( const XString& inHostName )
{
    itsHostName = inHostName;
    itsIsNameResolved = true;
}

void XNetAddress::SetFromSockAddress( const sockaddr_in& inAddress )
{
    *this = XNetAddress( WSystemAddress::GetIP( inAddress ), WSystemAddress::GetPort( inAddress ) );
}

void XNetAddress::SetToLocalAddress()
{
    SetHostName( GetLocalHostName() );
    itsIPAddress = 0;
    itsLocalIPNetAdapters.clear();
    WNetwork::Host host;
    if ( WNetwork::LookUpHost( itsHostName, host ) != 0 )
        return;
    itsLocalIPNetAdapters = std::move( host.addresses );
    itsIPAddress = itsLocalIPNetAdapters.front();
}

void XNetAddress::LookupIPAddress()
{
    AskForIPAddress();
}

void XNetAddress::AskForIPAddress() const
{
    WNetwork::Host host;
    if ( const std::uint32_t error = WNetwork::LookUpHost( itsHostName, host ); error != 0 )
        throw WLastErrorException(
            error ); // which has numbers of its own for what means a time-out or a disconnection
    itsIPAddress = host.addresses.front();
    if ( !host.name.empty() )
        itsHostName = host.name;
}

void XNetAddress::LookupHostNameFromAddress()
{
    AskForHostName();
}

void XNetAddress::AskForHostName() const
{
    if ( itsIPAddress == 0 )
        AskForIPAddress();
    XHostNameCache& cache = XHostNameCache::GetInstance();
    XString name;
    if ( !cache.Find( itsIPAddress, name ) )
    {
        name = WNetwork::LookUpName( itsIPAddress );
        cache.Insert( itsIPAddress, name );
    }
    if ( !name.IsEmpty() )
        itsHostName = name;
}

// ---- Comparison

bool XNetAddress::operator==( const XNetAddress& inOther ) const
{
    const std::uint32_t ip = GetIPAddress( true );
    const std::uint32_t otherIP = inOther.GetIPAddress( true );
    if ( ip != 0 || otherIP != 0 )
        return ip == otherIP;
    return itsHostName.CaselessEqual( inOther.itsHostName );
}

bool XNetAddress::operator<( const XNetAddress& ) const
{
    return false;
}

bool XNetAddress::operator>( const XNetAddress& ) const
{
    return false;
}

// ---- Storage

XVersion XNetAddress::GetClassVersion()
{
    return XVersion( kClassNetAddress, 0 );
}

XVersion XNetAddress::GetSuperClassVersion()
{
    return XVersion( kClassNone, 0 );
}

XVersion XNetAddress::GetVersion() const
{
    return GetClassVersion();
}

XNetAddress* XNetAddress::Clone() const
{
    return new XNetAddress( *this );
}

USize64 XNetAddress::GetStreamUsage() const
{
    constexpr USize64 kFixedFields = 5; // version, IP address, two lengths, port
    return ( kFixedFields + itsLocalIPNetAdapters.size() ) * sizeof( std::uint32_t ) +
        itsHostName.GetLength();
}

void XNetAddress::ReadStream2( XStream& inStream, XOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
    ReadStreamSelf( inStream );
}

void XNetAddress::WriteStream2( XStream& inStream, XOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
    WriteStreamSelf( inStream );
}

void XNetAddress::ReadStreamSelf( XStream& inStream )
{
    itsIPAddress = inStream.Read32();
    const std::uint32_t adapters = inStream.Read32();
    inStream.ReadCounted( itsLocalIPNetAdapters, adapters );
    inStream.ReadString( itsHostName );
    itsPort = inStream.Read32S();
    itsIsNameResolved = !itsHostName.IsEmpty();
}

void XNetAddress::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsIPAddress );
    inStream.Write32( static_cast<std::uint32_t>( itsLocalIPNetAdapters.size() ) );
    inStream.WriteBuffer32( itsLocalIPNetAdapters.data(), itsLocalIPNetAdapters.size() );
    inStream.WriteString( itsHostName );
    inStream.Write32S( itsPort );
}
