#pragma once

#include "Network/XNetAddress.h"
#include "RemoteCalls/XRPCCipher.h"

#include <memory>

class WTLSContext;

/// Where the control service of a deployment is, and how connections to it are protected: the same for all its clients and
/// nodes. A value.
struct XNetJobDeployment
{
    XNetAddress control;
    XRPCCipher cipher;                      ///< none is needed with TLS
    std::shared_ptr<const WTLSContext> tls; ///< null: no TLS
};
