#pragma once

#include "Core/Storables/XStorable.h"
#include "Core/Strings/XString.h"

struct sockaddr_in;

/// An IPv4 address with a port, defined by IP address, by host name, or by both. A missing part is looked up
/// once, on demand.
///
/// IP addresses are in the machine's byte order: 127.0.0.1 is 0x7F000001; 0 means not known yet. Look-ups use
/// the system, which may query servers and take seconds; they cannot be interrupted.
///
/// Threads: one thread at a time, including queries and comparisons, because they may look up and store the
/// answer.
/// Errors: WLastErrorException with the system's code: 11001 for an unknown host, 11002 if no server answers;
/// 2701 and 3100 if the system itself times out or is interrupted. Reading throws 1005, 1015, 1260.
class KORVALE_API XNetAddress : public XStorable
{
public:
    static constexpr std::uint32_t kLoopBackIP = 0x7F000001; ///< 127.0.0.1

    XNetAddress() = default;
    XNetAddress( std::uint32_t inIPAddress, std::int32_t inPort );
    /// The IP address is looked up on demand.
    XNetAddress( const XString& inHostName, std::int32_t inPort );
    XNetAddress( const XNetAddress& ) = default;
    XNetAddress& operator=( const XNetAddress& ) = default;
    ~XNetAddress() override;

    /// 127.0.0.1, without a name.
    static XNetAddress GetLoopBackAddress( std::int32_t inPort );

    /// The address of this machine; see `SetToLocalAddress`.
    static XNetAddress GetLocalAddress( std::int32_t inPort );

    /// The name of this machine; empty if not available.
    static XString GetLocalHostName();

    // ---- Queries

    /// With `inLookUp`, looks up the host name if the IP address is not known. 0 if that fails.
    std::uint32_t GetIPAddress( bool inLookUp ) const;

    /// With `inLookUp`, looks up the name of an IP address without one; this is done once, even if the address
    /// has no name. May be empty. Valid until the address is changed.
    const XString& GetHostName( bool inLookUp ) const;

    /// The IP address in dotted form: "10.0.0.5".
    XString GetIPString( bool inLookUp ) const;

    /// "server1 (10.0.0.5)", or "10.0.0.5" without a name.
    XString GetDescription( bool inLookUp ) const;

    std::int32_t GetPort() const { return itsPort; }

    /// The IP addresses of this machine's adapters; only for addresses from `SetToLocalAddress`.
    const XVector<std::uint32_t>& GetLocalIPNetAdapters() const { return itsLocalIPNetAdapters; }

    /// The system's form, with the IP address of `GetIPAddress( true )`. An invalid port is error 1013.
    void GetSockAddress( sockaddr_in& outAddress ) const;

    // ---- Changes

    void SetPort( std::int32_t inPort ) { itsPort = inPort; }
    /// Keeps the IP address.
    void SetHostName( const XString& inHostName );
    /// Keeps the host name.
    void SetIPAddress( std::uint32_t inIPAddress ) { itsIPAddress = inIPAddress; }
    void SetFromSockAddress( const sockaddr_in& inAddress );

    /// Sets the address of this machine: its host name, all its IPv4 addresses as adapters, and the first of
    /// them as IP address, or none if the name cannot be looked up. Keeps the port.
    void SetToLocalAddress();

    /// Looks up the host name and stores the first IP address and the canonical name of the answer. Throws if
    /// there is none.
    void LookupIPAddress();

    /// Looks up the name of the IP address, which is itself looked up first if it is not known. A host
    /// without a name keeps the current one.
    void LookupHostNameFromAddress();

    // ---- Comparison by IP address, with look-up; by name, ignoring case, if both are unknown. The port is
    // ignored.

    bool operator==( const XNetAddress& inOther ) const;
    bool operator!=( const XNetAddress& inOther ) const { return !( *this == inOther ); }

    /// Addresses have no order: both functions always return false.
    bool operator<( const XNetAddress& inOther ) const;
    bool operator>( const XNetAddress& inOther ) const;

    // ---- Storage

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    XNetAddress* Clone() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    /// The fields only, without the class version.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    void AskForIPAddress() const;
    void AskForHostName() const;

    // Queries fill in missing parts by look-up.
    mutable std::uint32_t itsIPAddress = 0;
    mutable XString itsHostName;
    mutable bool itsIsNameResolved = false; // the name was given or has been looked up
    XVector<std::uint32_t> itsLocalIPNetAdapters;
    std::int32_t itsPort = 0;
};
