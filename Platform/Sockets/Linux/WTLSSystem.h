#pragma once

#include "Sockets/Linux/WOpenSSL.h"
#include "Sockets/WTLSContext.h"

/// The OpenSSL data of a context; also used by sessions.
struct WTLSContext::System
{
    WOpenSSLPtr<SSL_CTX, SSL_CTX_free> context;
};
