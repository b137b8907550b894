#include "Sockets/WCertificates.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

// Certificates are needed for TLS only, which is not available here (WTLSContext).

bool WCertificates::AreAvailable()
{
    return false;
}

WCertificates::Certificate WCertificates::MakeAuthority( const std::string&, const Validity& )
{
    XThrow( kErrorTLSUnavailable );
}

WCertificates::Certificate WCertificates::Make( const Certificate&, const std::string&, const Validity& )
{
    XThrow( kErrorTLSUnavailable );
}

void WCertificates::CheckCertificate( const std::string& )
{
    XThrow( kErrorTLSUnavailable );
}

void WCertificates::CheckPrivateKey( const std::string&, const std::string& )
{
    XThrow( kErrorTLSUnavailable );
}
