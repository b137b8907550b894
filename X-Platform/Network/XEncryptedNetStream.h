#pragma once

#include "Network/XEncryption.h"
#include "Network/XNetStream.h"

/// A network stream that encrypts sent and decrypts received bytes. Both ends must use the same algorithm,
/// key and byte order; there is no integrity check, so a wrong key results in wrong bytes, not in an error.
///
/// TEA sends each call of a primitive separately, padded with zeros to a multiple of 8 bytes, and uses no
/// buffer: each read must match a write of the same size on the other side. The cipher's words are in the
/// stream's byte order.
///
/// RC4 has a key stream for each direction, both from the same key. A peek removes the bytes from the
/// connection without advancing the key stream: later reads return garbage.
class KORVALE_API XEncryptedNetStream : public XNetStream
{
public:
    enum XAlgorithm : std::uint32_t
    {
        kAlgorithmNone = 0,
        kAlgorithmTEA = 1,
        kAlgorithmRC4 = 2,
    };

    /// The key is 16 bytes and is copied. TEA with a buffer is an internal error, "bufferSize == 0"; an
    /// unknown algorithm is error 1013.
    XEncryptedNetStream(
        XNetEndpoint& inEndpoint, const char* key, XAlgorithm inAlgorithm, std::uint32_t inSendTimeoutMS,
        std::uint32_t inRecvTimeoutMS, USize64 bufferSize );
    ~XEncryptedNetStream() override;

    XAlgorithm GetAlgorithm() const { return itsAlgorithm; }

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override;
    void DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count ) override;
    void PeekBuffer8WithoutSeekSelf( void* buffer, USize64 count ) override;
    bool CanPeek() const override { return itsAlgorithm != kAlgorithmRC4; }

private:
    using XCode = void ( * )( const void*, void*, USize, const char* );

    void SendRC4( const std::uint8_t* inBytes, USize64 inCount );
    void SendTEA( const std::uint8_t* inBytes, USize64 inCount );
    void ReceiveTEA( std::uint8_t* outBytes, USize64 inCount );
    void PeekTEA( std::uint8_t* outBytes, USize64 inCount );
    void CodeTEA( std::uint8_t* ioBytes, USize64 inCount, XCode inCode ) const;
    void DecryptPadded( std::uint8_t* ioBytes, USize64 inCount, const std::uint8_t* inPadding ) const;
    std::uint8_t* GetPiece();

    const XAlgorithm itsAlgorithm;
    char itsKey[XEncryption::kKeySize];
    XEncryption::XRC4KeyState itsReceiveState;
    XEncryption::XRC4KeyState itsSendState;
    std::unique_ptr<std::uint8_t[]> itsPiece; // of the bytes to be sent; allocated on first use
};
