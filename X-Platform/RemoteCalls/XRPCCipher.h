#pragma once

#include "Network/XEncryptedNetStream.h"

#include <algorithm>
#include <array>

/// The cipher of a conversation with its key, which both ends have to share. A plain value.
class XRPCCipher
{
public:
    /// No cipher: for connections with TLS, and pipes.
    XRPCCipher() = default;

    /// The key is `XEncryption::kKeySize` bytes, such as those of XDeploymentKeys, which are copied.
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
