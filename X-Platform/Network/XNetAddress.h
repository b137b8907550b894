#pragma once

#include "Core/Storables/XStorable.h"
#include "Core/Strings/XString.h"

struct sockaddr_in;

/// An IPv4 address with a port, known by its number, by a host name, or by both. What is missing is looked up when it is
/// asked for, once.
///
/// IP addresses are in the machine's byte order: 127.0.0.1 is 0x7F000001; 0 means that it is not known yet. Look-ups ask
/// the system, which may ask servers and take seconds; nothing ends them early.
///
/// Threads: one thread at a time, queries and comparisons included, because they may look up and keep the answer.
/// Errors: WLastErrorException with the system's code: 11001 for a host that does not exist, 11002 where no server answers;
/// 2701 and 3100 where the system itself has run out of time or has been interrupted. Reading throws 1005, 1015, 1260.
class KORVALE_API XNetAddress : public XStorable
{
public:
    XNetAddress() = default;
    XNetAddress( std::uint32_t inIPAddress, std::int32_t inPort );
    /// The address is looked up on first demand.
    XNetAddress( const XString& inHostName, std::int32_t inPort );
    XNetAddress( const XNetAddress& ) = default;
    XNetAddress& operator=( const XNetAddress& ) = default;
    ~XNetAddress() override;

    /// 127.0.0.1, without a name.
    static XNetAddress GetLoopBackAddress( std::int32_t inPort );

    /// This machine; see `SetToLocalAddress`.
    static XNetAddress GetLocalAddress( std::int32_t inPort );

    /// The name of this machine; empty if the system does not tell it.
    static XString GetLocalHostName();

    // ---- Queries

    /// With `lookup` the host name is looked up where the address is not known. 0 when that fails.
    std::uint32_t GetIPAddress( bool lookup ) const;

    /// With `lookup` the name of an address that has none is asked for, once: an address that has no name is not asked
    /// for again. May be empty. Valid until the address is changed.
    const XString& GetHostName( bool lookup ) const;

    /// The IP address in dotted form: "10.0.0.5".
    XString GetIPString( bool lookup ) const;

    /// "server1 (10.0.0.5)", or "10.0.0.5" without a name.
    XString GetDescription( bool lookup ) const;

    std::int32_t GetPort() const { return itsPort; }

    /// The addresses of this machine's adapters; for addresses from `SetToLocalAddress` only.
    const XVector<std::uint32_t>& GetLocalIPNetAdapters() const { return itsLocalIPNetAdapters; }

    /// The system's form, with the IP address as `GetIPAddress( true )` gives it. A port that does not exist is error
    /// 1013.
    void GetSockAddress( sockaddr_in& outAddress ) const;

    // ---- Changes

    void SetPort( std::int32_t inPort ) { itsPort = inPort; }
    /// The IP address stays.
    void SetHostName( const XString& inHostName );
    /// The host name stays.
    void SetIPAddress( std::uint32_t inIPAddress ) { itsIPAddress = inIPAddress; }
    void SetFromSockAddress( const sockaddr_in& inAddress );

    /// Becomes this machine's own address: its host name, all its IPv4 addresses as adapters, and the first of them; no
    /// address at all if the name cannot be looked up. The port stays.
    void SetToLocalAddress();

    /// Looks the host name up and takes the first address and the canonical name of the answer. Throws when there is none.
    void LookupIPAddress();

    /// Asks for the name of the IP address, which is looked up first where it is not known. A host without a name keeps
    /// the present one.
    void LookupHostNameFromAddress();

    // ---- Comparison, by the IP addresses, with look-up; by the names, whatever their case, where both are unknown. The
    // port takes no part.

    bool operator==( const XNetAddress& inOther ) const;
    bool operator!=( const XNetAddress& inOther ) const { return !( *this == inOther ); }

    /// Addresses have no order: both are always false.
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

    /// The fields alone, without the class version.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    void AskForIPAddress() const;
    void AskForHostName() const;

    // Look-ups fill in what is missing, in queries too.
    mutable std::uint32_t itsIPAddress = 0;
    mutable XString itsHostName;
    mutable bool itsIsNameResolved = false; // given, or asked for already
    XVector<std::uint32_t> itsLocalIPNetAdapters;
    std::int32_t itsPort = 0;
};
