#pragma once

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

/// Smart pointers to objects of OpenSSL.
template<auto kFree>
struct WOpenSSLFreer
{
    template<class T>
    void operator()( T* inObject ) const
    {
        kFree( inObject );
    }
};
template<class T, auto kFree>
using WOpenSSLPtr = std::unique_ptr<T, WOpenSSLFreer<kFree>>;

inline void WFreeBIO( BIO* inBIO )
{
    BIO_free( inBIO );
}

using WBIOPtr = WOpenSSLPtr<BIO, WFreeBIO>;
using WKeyPtr = WOpenSSLPtr<EVP_PKEY, EVP_PKEY_free>;
using WX509Ptr = WOpenSSLPtr<X509, X509_free>;

/// Parses PEM text with a function of the library; throws 1005 on failure.
template<class TPointer, class TRead>
TPointer WReadPEM( const std::string& inText, TRead inRead )
{
    // Prevents OpenSSL from prompting for a password.
    const auto noPassword = []( char*, int, int, void* ) { return -1; };
    const WBIOPtr source( BIO_new_mem_buf( inText.data(), static_cast<int>( inText.size() ) ) );
    TPointer object( source ? inRead( source.get(), nullptr, noPassword, nullptr ) : nullptr );
    if ( !object )
        XThrow( kErrorStreamCorrupted );
    return object;
}
