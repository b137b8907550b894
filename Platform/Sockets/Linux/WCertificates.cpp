#include "Sockets/WCertificates.h"

#include "Sockets/Linux/WOpenSSL.h"

#include <ctime>

// Certificates of X.509 version 3 with keys on the curve P-256, signed with ECDSA and SHA-256. The authority
// signs itself and may sign end entities only (path length 0); a role's certificate is for both ends of a
// connection and has the role's name as its DNS name, which the peer checks as it would check a host. Every
// wrapper type frees its object, so each function can fail at any step.

namespace
{

/// For calls that fail for want of memory or random bytes only.
void CheckTLS( bool inHasSucceeded )
{
    if ( !inHasSucceeded )
        XThrow( kErrorTLSFailed );
}

void SetName( X509_NAME* ioName, const std::string& inText )
{
    CheckTLS(
        X509_NAME_add_entry_by_txt(
            ioName, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>( inText.data() ),
            static_cast<int>( inText.size() ), -1, 0 ) == 1 );
}

/// 127 random bits, so that no two certificates have the same.
void SetSerialNumber( X509& ioCertificate )
{
    const WOpenSSLPtr<BIGNUM, BN_free> number( BN_new() );
    CheckTLS(
        number && BN_rand( number.get(), 127, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY ) == 1 &&
        BN_to_ASN1_INTEGER( number.get(), X509_get_serialNumber( &ioCertificate ) ) );
}

void AddExtension( X509& ioCertificate, X509V3_CTX& inContext, int inID, const std::string& inValue )
{
    const WOpenSSLPtr<X509_EXTENSION, X509_EXTENSION_free> extension(
        X509V3_EXT_conf_nid( nullptr, &inContext, inID, inValue.c_str() ) );
    CheckTLS( extension && X509_add_ext( &ioCertificate, extension.get(), -1 ) == 1 );
}

template<class TWrite>
std::string ToPEM( TWrite inWrite )
{
    const WBIOPtr sink( BIO_new( BIO_s_mem() ) );
    CheckTLS( sink && inWrite( sink.get() ) == 1 );
    char* text = nullptr;
    const auto size = BIO_get_mem_data( sink.get(), &text );
    return std::string( text, static_cast<std::size_t>( size ) );
}

/// A key with a certificate that is not signed yet.
struct Draft
{
    Draft( const std::string& inName, const WCertificates::Validity& inValidity )
        : key( EVP_EC_gen( "P-256" ) ), certificate( X509_new() )
    {
        CheckTLS( key && certificate && X509_set_version( certificate.get(), X509_VERSION_3 ) == 1 );
        SetSerialNumber( *certificate );
        SetName( X509_get_subject_name( certificate.get() ), inName );
        const std::time_t now = std::time( nullptr );
        CheckTLS(
            ASN1_TIME_set( X509_getm_notBefore( certificate.get() ), now + inValidity.begin ) &&
            ASN1_TIME_set( X509_getm_notAfter( certificate.get() ), now + inValidity.end ) &&
            X509_set_pubkey( certificate.get(), key.get() ) == 1 );
    }

    /// By the authority, which may be the draft itself. Extensions are of this form: "NAME" and the authority's.
    WCertificates::Certificate Sign( X509& inAuthority, EVP_PKEY& inAuthorityKey, bool inIsAuthority )
    {
        CheckTLS( X509_set_issuer_name( certificate.get(), X509_get_subject_name( &inAuthority ) ) == 1 );
        X509V3_CTX context{};
        X509V3_set_ctx( &context, &inAuthority, certificate.get(), nullptr, nullptr, 0 );
        const auto add = [&]( int inID, const std::string& inValue )
        { AddExtension( *certificate, context, inID, inValue ); };
        add( NID_basic_constraints, inIsAuthority ? "critical,CA:TRUE,pathlen:0" : "critical,CA:FALSE" );
        add( NID_key_usage, inIsAuthority ? "critical,keyCertSign,cRLSign" : "critical,digitalSignature" );
        add( NID_subject_key_identifier, "hash" );
        add( NID_authority_key_identifier, "keyid:always" );
        if ( !inIsAuthority )
        {
            add( NID_ext_key_usage, "serverAuth,clientAuth" );
            add( NID_subject_alt_name, "DNS:" + name );
        }
        CheckTLS( X509_sign( certificate.get(), &inAuthorityKey, EVP_sha256() ) > 0 );
        return {
            ToPEM( [&]( BIO* inSink ) { return PEM_write_bio_X509( inSink, certificate.get() ); } ),
            ToPEM(
                [&]( BIO* inSink ) {
                    return PEM_write_bio_PKCS8PrivateKey(
                        inSink, key.get(), nullptr, nullptr, 0, nullptr, nullptr );
                } ) };
    }

    WKeyPtr key;
    WX509Ptr certificate;
    std::string name;
};

} // namespace

bool WCertificates::AreAvailable()
{
    return true;
}

WCertificates::Certificate
WCertificates::MakeAuthority( const std::string& inName, const Validity& inValidity )
{
    Draft draft( inName, inValidity );
    return draft.Sign( *draft.certificate, *draft.key, true );
}

WCertificates::Certificate
WCertificates::Make( const Certificate& inAuthority, const std::string& inName, const Validity& inValidity )
{
    const auto authority = WReadPEM<WX509Ptr>( inAuthority.text, PEM_read_bio_X509 );
    const auto key = WReadPEM<WKeyPtr>( inAuthority.privateKey, PEM_read_bio_PrivateKey );
    Draft draft( inName, inValidity );
    draft.name = inName;
    return draft.Sign( *authority, *key, false );
}

void WCertificates::CheckCertificate( const std::string& inText )
{
    WReadPEM<WX509Ptr>( inText, PEM_read_bio_X509 );
}

void WCertificates::CheckPrivateKey( const std::string& inText, const std::string& inCertificate )
{
    const auto key = WReadPEM<WKeyPtr>( inText, PEM_read_bio_PrivateKey );
    const auto certificate = WReadPEM<WX509Ptr>( inCertificate, PEM_read_bio_X509 );
    if ( X509_check_private_key( certificate.get(), key.get() ) != 1 )
        XThrow( kErrorStreamCorrupted );
}
