#pragma once

#include "Network/XEncryptedNetStream.h"

#include <algorithm>
#include <array>

/// The cipher of a conversation and its key, which both ends must share.
class XRPCCipher
{
public:
    /// No cipher: for connections with TLS, and pipes.
    XRPCCipher() = default;

    /// Copies the key of `XEncryption::kKeySize` bytes, e.g. that of XDeploymentKeys.
    XRPCCipher( XEncryptedNetStream::XAlgorithm inAlgorithm, const char* inKey ) : itsAlgorithm( inAlgorithm )
    {
        std::copy_n( inKey, XEncryption::kKeySize, itsKey.begin() );
    }

    XEncryptedNetStream::XAlgorithm GetAlgorithm() const { return itsAlgorithm; }
    const char* GetKey() const { return itsKey.data(); }

private:
    XEncryptedNetStream::XAlgorithm itsAlgorithm = XEncryptedNetStream::kAlgorithmNone;
    std::array<char, XEncryption::kKeySize> itsKey{};
};
