#include "Sockets/WTLSContext.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

// The system's TLS takes no connection of TLS 1.3 under Wine, and no server at all. So that nobody takes an unprotected
// connection for a protected one, there is none.

struct WTLSContext::System
{
};

WTLSContext::WTLSContext( const Settings& )
{
    XThrow( kErrorTLSUnavailable );
}

WTLSContext::~WTLSContext() = default;
