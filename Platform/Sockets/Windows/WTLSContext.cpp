#include "Sockets/WTLSContext.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

// The system's TLS does not support TLS 1.3 under Wine, and no server at all. TLS is therefore not available,
// so that no unprotected connection is mistaken for a protected one.

struct WTLSContext::System
{
};

WTLSContext::WTLSContext( const Settings& )
{
    XThrow( kErrorTLSUnavailable );
}

WTLSContext::~WTLSContext() = default;
