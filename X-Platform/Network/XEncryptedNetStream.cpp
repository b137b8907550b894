#include "Network/XEncryptedNetStream.h"

#include <algorithm>

// The endpoint transports what the cipher gives. RC4 is a stream cipher: the state advances with each byte,
// in both directions separately, and a peek works on a copy of the state. TEA encrypts blocks of 8 bytes:
// each write is padded with zeros to whole blocks, and each read consumes the padding of its last block, so
// the peers have to read in the units in which they write; therefore TEA streams have no buffer. None of the
// ciphers authenticates the bytes.

namespace
{

/// Bytes are enciphered and sent by pieces that stay in the cache and are one transfer of the endpoint.
constexpr USize64 kPieceSize = 32 * 1024;

constexpr USize64 kBlockSize = 8;
constexpr USize64 kWordSize = 4;

} // namespace

XEncryptedNetStream::XEncryptedNetStream(
    XNetEndpoint& inEndpoint, const char* key, XAlgorithm inAlgorithm, std::uint32_t inSendTimeoutMS,
    std::uint32_t inRecvTimeoutMS, USize64 bufferSize )
    : XNetStream( inEndpoint, inSendTimeoutMS, inRecvTimeoutMS, bufferSize ), itsAlgorithm( inAlgorithm ),
      itsReceiveState( key ), itsSendState( key )
{
    if ( inAlgorithm > kAlgorithmRC4 )
        XThrow( kErrorBadParameters );
    if ( inAlgorithm == kAlgorithmTEA )
        XAssert( bufferSize == 0 );
    std::copy_n( key, XEncryption::kKeySize, itsKey );
}

/// Discards bytes that could not be encrypted; the base's destructor would send them unencrypted.
XEncryptedNetStream::~XEncryptedNetStream()
{
    FlushQuietly();
    RefuseToSend();
}

// ---- Sending

void XEncryptedNetStream::DrainBuffer( SSize64, const void* buffer, USize64 count )
{
    const auto* const bytes = static_cast<const std::uint8_t*>( buffer );
    switch ( itsAlgorithm )
    {
    case kAlgorithmNone:
        return SendBytes( bytes, count );
    case kAlgorithmTEA:
        return SendTEA( bytes, count );
    case kAlgorithmRC4:
        return SendRC4( bytes, count );
    }
}

void XEncryptedNetStream::SendRC4( const std::uint8_t* inBytes, USize64 inCount )
{
    std::uint8_t* const piece = GetPiece();
    while ( inCount > 0 )
    {
        const USize64 size = std::min( inCount, kPieceSize );
        XEncryption::EncryptRC4( inBytes, piece, size, itsKey, &itsSendState );
        SendBytes( piece, size );
        inBytes += size;
        inCount -= size;
    }
}

void XEncryptedNetStream::SendTEA( const std::uint8_t* inBytes, USize64 inCount )
{
    std::uint8_t* const piece = GetPiece();
    while ( inCount > 0 )
    {
        const USize64 size = std::min( inCount, kPieceSize );
        const USize64 padded = XEncryption::GetMultipleOf8( size );
        std::copy_n( inBytes, size, piece );
        std::fill( piece + size, piece + padded, std::uint8_t( 0 ) );
        CodeTEA( piece, padded, XEncryption::EncryptTEA );
        SendBytes( piece, padded );
        inBytes += size;
        inCount -= size;
    }
}

std::uint8_t* XEncryptedNetStream::GetPiece()
{
    if ( !itsPiece )
        itsPiece = std::make_unique_for_overwrite<std::uint8_t[]>( kPieceSize );
    return itsPiece.get();
}

// ---- Receiving

void XEncryptedNetStream::FillBuffer( SSize64, void* buffer, USize64 count )
{
    auto* const bytes = static_cast<std::uint8_t*>( buffer );
    if ( itsAlgorithm == kAlgorithmTEA )
        return ReceiveTEA( bytes, count );
    ReceiveBytes( bytes, count );
    if ( itsAlgorithm == kAlgorithmRC4 )
        XEncryption::DecryptRC4( bytes, bytes, count, itsKey, &itsReceiveState );
}

void XEncryptedNetStream::PeekBuffer8WithoutSeekSelf( void* buffer, USize64 count )
{
    auto* const bytes = static_cast<std::uint8_t*>( buffer );
    if ( itsAlgorithm == kAlgorithmNone )
        return PeekBytes( bytes, count );
    if ( itsAlgorithm == kAlgorithmTEA )
        return PeekTEA( bytes, count );
    ReceiveBytes( bytes, count );
    // The bytes stay to be read; so does the state that belongs to them.
    XEncryption::XRC4KeyState state( itsReceiveState );
    XEncryption::DecryptRC4( bytes, bytes, count, itsKey, &state );
}

void XEncryptedNetStream::ReceiveTEA( std::uint8_t* outBytes, USize64 inCount )
{
    std::uint8_t padding[kBlockSize];
    ReceiveBytes( outBytes, inCount );
    try
    {
        ReceiveBytes( padding, XEncryption::GetMultipleOf8( inCount ) - inCount );
    }
    catch ( ... )
    {
        // Still encrypted: a later read starts over with the same bytes.
        PutBack( outBytes, inCount );
        throw;
    }
    DecryptPadded( outBytes, inCount, padding );
}

void XEncryptedNetStream::PeekTEA( std::uint8_t* outBytes, USize64 inCount )
{
    XVector<std::uint8_t> bytes( XEncryption::GetMultipleOf8( inCount ) );
    PeekBytes( bytes.data(), bytes.size() );
    CodeTEA( bytes.data(), bytes.size(), XEncryption::DecryptTEA );
    std::copy_n( bytes.data(), inCount, outBytes );
}

/// The last block is the last of the bytes and `inPadding`.
void XEncryptedNetStream::DecryptPadded(
    std::uint8_t* ioBytes, USize64 inCount, const std::uint8_t* inPadding ) const
{
    const USize64 rest = inCount % kBlockSize;
    std::uint8_t* const end = ioBytes + ( inCount - rest );
    CodeTEA( ioBytes, inCount - rest, XEncryption::DecryptTEA );
    if ( rest == 0 )
        return;
    std::uint8_t block[kBlockSize];
    std::copy_n( inPadding, kBlockSize - rest, std::copy_n( end, rest, block ) );
    CodeTEA( block, kBlockSize, XEncryption::DecryptTEA );
    std::copy_n( block, rest, end );
}

void XEncryptedNetStream::CodeTEA( std::uint8_t* ioBytes, USize64 inCount, XCode inCode ) const
{
    const bool isSwapped = GetByteOrder() != kPlatformByteOrder;
    if ( isSwapped )
        XSwapCopy( ioBytes, ioBytes, inCount / kWordSize, kWordSize );
    inCode( ioBytes, ioBytes, inCount, itsKey );
    if ( isSwapped )
        XSwapCopy( ioBytes, ioBytes, inCount / kWordSize, kWordSize );
}
