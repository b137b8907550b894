#include "Sockets/WTLSSession.h"

#include "Sockets/Linux/WTLSSystem.h"

#include <openssl/err.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

// OpenSSL reads from and writes to a BIO of our own kind whose two ends are buffers of the session: `input`,
// which the caller fills by GetInputRoom and CommitInput, and `output`, which it takes. Reading from an empty
// input reports "retry", which OpenSSL turns into SSL_ERROR_WANT_READ and this class into kWantsInput.
// Writing always succeeds, so no call wants to write.
//
// OpenSSL keeps a queue of errors for each thread. It is cleared before each call, or an old error would be
// taken for the reason of a new failure, and after it, for code that looks at the queue without clearing it.

namespace
{

/// Several records at a time.
constexpr USize kInputSize = 64 * 1024;

} // namespace

struct WTLSSession::System
{
    explicit System( SSL_CTX* inContext );

    template<class TCall>
    Outcome Do( TCall inCall );
    std::uint32_t GetErrorNumber() const;

    static BIO_METHOD* GetBIOMethod();
    static int ReadInput( BIO* inBIO, char* outBytes, int inCount );
    static int WriteOutput( BIO* inBIO, const char* inBytes, int inCount );

    WOpenSSLPtr<SSL, SSL_free> session;
    std::unique_ptr<std::uint8_t[]> input;
    USize inputBegin = 0;
    USize inputEnd = 0;
    std::vector<std::uint8_t> output;
};

namespace
{

std::uint32_t FromVerifyResult( long inResult )
{
    switch ( inResult )
    {
    case X509_V_ERR_HOSTNAME_MISMATCH:
        return kErrorTLSWrongName;
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return kErrorTLSExpired;
    default:
        return kErrorTLSWrongAuthority;
    }
}

/// OpenSSL numbers the alerts of a peer from here on.
std::uint32_t FromReason( int inReason )
{
    switch ( inReason )
    {
    case SSL_R_PEER_DID_NOT_RETURN_A_CERTIFICATE:
        return kErrorTLSNoCertificate;
    case SSL_R_UNSUPPORTED_PROTOCOL:
    case SSL_R_VERSION_TOO_LOW:
    case SSL_R_WRONG_SSL_VERSION:
    case SSL_R_INAPPROPRIATE_FALLBACK:
    case SSL_R_TLSV1_ALERT_PROTOCOL_VERSION:
        return kErrorTLSVersion;
    case SSL_R_SSLV3_ALERT_BAD_CERTIFICATE:
    case SSL_R_SSLV3_ALERT_UNSUPPORTED_CERTIFICATE:
    case SSL_R_SSLV3_ALERT_CERTIFICATE_REVOKED:
    case SSL_R_SSLV3_ALERT_CERTIFICATE_EXPIRED:
    case SSL_R_SSLV3_ALERT_CERTIFICATE_UNKNOWN:
    case SSL_R_TLSV1_ALERT_UNKNOWN_CA:
    case SSL_R_TLSV13_ALERT_CERTIFICATE_REQUIRED:
        return kErrorTLSRejected;
    default:
        return kErrorTLSFailed;
    }
}

} // namespace

// ---- OpenSSL's way to the socket: the buffers of the session

WTLSSession::System::System( SSL_CTX* inContext ) : session( SSL_new( inContext ) )
{
    BIO* const bio = session ? BIO_new( GetBIOMethod() ) : nullptr;
    if ( !bio )
        throw std::bad_alloc();
    BIO_set_data( bio, this );
    BIO_set_init( bio, 1 );
    SSL_set_bio( session.get(), bio, bio );
}

BIO_METHOD* WTLSSession::System::GetBIOMethod()
{
    static BIO_METHOD* const sMethod = []
    {
        BIO_METHOD* const method =
            BIO_meth_new( BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "buffers of a session" );
        BIO_meth_set_read( method, ReadInput );
        BIO_meth_set_write( method, WriteOutput );
        BIO_meth_set_ctrl(
            method,
            []( BIO*, int inCommand, long, void* ) -> long { return inCommand == BIO_CTRL_FLUSH ? 1 : 0; } );
        return method;
    }();
    return sMethod;
}

int WTLSSession::System::ReadInput( BIO* inBIO, char* outBytes, int inCount )
{
    auto& system = *static_cast<System*>( BIO_get_data( inBIO ) );
    BIO_clear_retry_flags( inBIO );
    const USize count = std::min( static_cast<USize>( inCount ), system.inputEnd - system.inputBegin );
    if ( count == 0 )
    {
        BIO_set_retry_read( inBIO );
        return -1;
    }
    std::memcpy( outBytes, system.input.get() + system.inputBegin, count );
    system.inputBegin += count;
    return static_cast<int>( count );
}

int WTLSSession::System::WriteOutput( BIO* inBIO, const char* inBytes, int inCount )
{
    auto& system = *static_cast<System*>( BIO_get_data( inBIO ) );
    BIO_clear_retry_flags( inBIO );
    try
    {
        // As bytes of the vector's own kind, which are copied in one piece.
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>( inBytes );
        system.output.insert( system.output.end(), bytes, bytes + inCount );
    }
    catch ( const std::bad_alloc& )
    {
        return -1;
    }
    return inCount;
}

/// The call returns 1 when it has succeeded.
template<class TCall>
WTLSSession::Outcome WTLSSession::System::Do( TCall inCall )
{
    ERR_clear_error();
    const int result = inCall();
    if ( result > 0 )
        return {};
    switch ( SSL_get_error( session.get(), result ) )
    {
    case SSL_ERROR_WANT_READ:
        return { kWantsInput };
    case SSL_ERROR_ZERO_RETURN:
        return { kEnded };
    default:
        return { kFailed, 0, GetErrorNumber() };
    }
}

std::uint32_t WTLSSession::System::GetErrorNumber() const
{
    const unsigned long error = ERR_peek_error();
    ERR_clear_error();
    if ( ERR_GET_LIB( error ) != ERR_LIB_SSL )
        return kErrorTLSFailed;
    const int reason = ERR_GET_REASON( error );
    return reason == SSL_R_CERTIFICATE_VERIFY_FAILED
        ? FromVerifyResult( SSL_get_verify_result( session.get() ) )
        : FromReason( reason );
}

// ---- Life

WTLSSession::WTLSSession( std::shared_ptr<const WTLSContext> inContext, Side inSide )
    : itsContext( std::move( inContext ) ),
      itsSystem( std::make_unique<System>( itsContext->itsSystem->context.get() ) )
{
    if ( inSide == kClient )
        SSL_set_connect_state( itsSystem->session.get() );
    else
        SSL_set_accept_state( itsSystem->session.get() );
}

WTLSSession::~WTLSSession() = default;

// ---- The connection's side

WTLSSession::Outcome WTLSSession::Handshake()
{
    return itsSystem->Do( [this] { return SSL_do_handshake( itsSystem->session.get() ); } );
}

WTLSSession::Outcome WTLSSession::Read( void* outBytes, USize inCount )
{
    std::size_t count = 0;
    Outcome outcome =
        itsSystem->Do( [&] { return SSL_read_ex( itsSystem->session.get(), outBytes, inCount, &count ); } );
    outcome.count = count;
    return outcome;
}

WTLSSession::Outcome WTLSSession::Write( const void* inBytes, USize inCount )
{
    std::size_t count = 0;
    return itsSystem->Do( [&]
                          { return SSL_write_ex( itsSystem->session.get(), inBytes, inCount, &count ); } );
}

void WTLSSession::End()
{
    ERR_clear_error();
    SSL_shutdown( itsSystem->session.get() );
    ERR_clear_error();
}

// ---- The socket's side

std::span<std::uint8_t> WTLSSession::GetInputRoom()
{
    if ( !itsSystem->input )
        itsSystem->input = std::make_unique_for_overwrite<std::uint8_t[]>( kInputSize );
    return { itsSystem->input.get(), kInputSize };
}

void WTLSSession::CommitInput( USize inCount )
{
    itsSystem->inputBegin = 0;
    itsSystem->inputEnd = inCount;
}

USize WTLSSession::GetOutputSize() const
{
    return itsSystem->output.size();
}

void WTLSSession::TakeOutput( std::vector<std::uint8_t>& ioEmpty )
{
    ioEmpty.clear();
    ioEmpty.swap( itsSystem->output );
}
