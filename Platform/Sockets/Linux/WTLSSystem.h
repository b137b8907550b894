#pragma once

#include "Sockets/Linux/WOpenSSL.h"
#include "Sockets/WTLSContext.h"

/// What a context has of OpenSSL; sessions use it.
struct WTLSContext::System
{
    WOpenSSLPtr<SSL_CTX, SSL_CTX_free> context;
};
