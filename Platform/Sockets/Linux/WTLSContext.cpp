#include "Sockets/WTLSContext.h"

#include "Sockets/Linux/WTLSSystem.h"

#include <openssl/err.h>

namespace
{

void CheckText( bool inHasSucceeded )
{
    if ( inHasSucceeded )
        return;
    ERR_clear_error();
    XThrow( kErrorStreamCorrupted );
}

} // namespace

WTLSContext::WTLSContext( const Settings& inSettings ) : itsSystem( std::make_unique<System>() )
{
    itsSystem->context.reset( SSL_CTX_new( TLS_method() ) );
    SSL_CTX* const context = itsSystem->context.get();
    if ( !context )
        XThrow( kErrorTLSUnavailable );
    SSL_CTX_set_min_proto_version( context, TLS1_3_VERSION );
    SSL_CTX_set_max_proto_version( context, TLS1_3_VERSION );
    SSL_CTX_set_ciphersuites(
        context, "TLS_AES_128_GCM_SHA256:TLS_AES_256_GCM_SHA384:TLS_CHACHA20_POLY1305_SHA256" );
    SSL_CTX_set_options( context, SSL_OP_NO_TICKET );
    SSL_CTX_set_num_tickets( context, 0 );
    SSL_CTX_set_session_cache_mode( context, SSL_SESS_CACHE_OFF );
    SSL_CTX_set_mode( context, SSL_MODE_RELEASE_BUFFERS | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER );

    const auto certificate = WReadPEM<WX509Ptr>( inSettings.certificate, PEM_read_bio_X509 );
    const auto key = WReadPEM<WKeyPtr>( inSettings.privateKey, PEM_read_bio_PrivateKey );
    CheckText(
        SSL_CTX_use_certificate( context, certificate.get() ) == 1 &&
        SSL_CTX_use_PrivateKey( context, key.get() ) == 1 ); // the second checks that they belong together

    const auto authority = WReadPEM<WX509Ptr>( inSettings.authority, PEM_read_bio_X509 );
    CheckText(
        X509_STORE_add_cert( SSL_CTX_get_cert_store( context ), authority.get() ) == 1 &&
        SSL_CTX_add_client_CA( context, authority.get() ) == 1 );
    for ( X509* const shared : { certificate.get(), authority.get() } )
        X509_check_purpose(
            shared, -1, 0 ); // now, and not in the first handshakes, several of which there may be at once
    SSL_CTX_set_verify( context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr );
    X509_VERIFY_PARAM* const parameters = SSL_CTX_get0_param( context );
    X509_VERIFY_PARAM_set_hostflags(
        parameters, X509_CHECK_FLAG_NEVER_CHECK_SUBJECT | X509_CHECK_FLAG_NO_WILDCARDS );
    CheckText(
        !inSettings.peerName.empty() &&
        X509_VERIFY_PARAM_set1_host( parameters, inSettings.peerName.c_str(), 0 ) == 1 );
}

WTLSContext::~WTLSContext() = default;
