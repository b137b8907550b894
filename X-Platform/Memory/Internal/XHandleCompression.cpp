#include "Memory/Internal/XHandleCompression.h"

#include "Core/Streams/XStream.h"
#include "Ground/XErrorNumbers.h"
#include "Threads/XLock.h"

#include <algorithm>

#include <zlib.h>

namespace
{

/// zlib counts in 32 bits.
constexpr USize64 kLongestTurn = 1024 * 1024 * 1024;
constexpr USize64 kFirstStep = 1024 * 1024;
constexpr USize64 kInputAtOnce = 64 * 1024;

// Handles may be larger than zlib can count, so both loops feed it in turns.
uInt ToTurn( USize64 inCount )
{
    return static_cast<uInt>( std::min( inCount, kLongestTurn ) );
}

/// Ends what deflateInit or inflateInit has begun.
template<int ( *kEnd )( z_streamp )>
class ZlibState : public z_stream
{
public:
    ZlibState() : z_stream() {}
    ZlibState( const ZlibState& ) = delete;
    ZlibState& operator=( const ZlibState& ) = delete;
    ~ZlibState() { kEnd( this ); }
};

/// Twice as much as before, as far as there is more to come.
void Grow( XMemoryHandle& ioHandle, USize64 inSize )
{
    const USize64 size = ioHandle.GetDataSize();
    ioHandle.Resize( std::min( std::max( size * 2, kFirstStep ), inSize ) );
}

} // namespace

XCompressedBytes::XCompressedBytes( const void* inData, USize64 inSize, int inLevel )
{
    ZlibState<deflateEnd> state;
    if ( deflateInit( &state, inLevel ) != Z_OK )
        XThrow( kErrorOutOfMemory );
    state.next_in = static_cast<Bytef*>( const_cast<void*>( inData ) );
    USize64 left = inSize;
    for ( int result = Z_OK; result != Z_STREAM_END; )
    {
        // The compressed length must precede the bytes in the stream, so all are kept until it is known, in
        // purgeable pieces.
        XMappedFileMemoryHandle& piece = itsPieces.emplace_back( kPieceSize );
        const XLock lock( piece, kLockForWrite );
        state.next_out = static_cast<Bytef*>( piece.GetData() );
        state.avail_out = static_cast<uInt>( kPieceSize );
        while ( result != Z_STREAM_END && state.avail_out > 0 )
        {
            // Z_FINISH only when this turn holds the last byte.
            const uInt turn = ToTurn( left );
            state.avail_in = turn;
            result = deflate( &state, turn == left ? Z_FINISH : Z_NO_FLUSH );
            left -= turn - state.avail_in;
        }
        itsLength += kPieceSize - state.avail_out;
    }
}

void XCompressedBytes::Write( XStream& inStream )
{
    USize64 left = itsLength;
    for ( XMappedFileMemoryHandle& piece : itsPieces )
    {
        const XLock lock( piece, kLockForRead );
        const USize64 count = std::min( left, kPieceSize );
        inStream.WriteBuffer8( piece.GetData(), count );
        piece.CheckIntact();
        left -= count;
    }
}

void ReadPlainBytes( XStream& inStream, USize64 inSize, XMemoryHandle& ioHandle )
{
    inStream.CheckRemaining( inSize, 1 );
    // A stream that knows its end has just confirmed that the bytes are there; otherwise a forged length must
    // not allocate, and the memory grows with what arrives.
    ioHandle.Resize( inStream.GetRemaining() >= 0 ? inSize : 0 );
    for ( USize64 done = 0; done < inSize; )
    {
        if ( done == ioHandle.GetDataSize() )
            Grow( ioHandle, inSize );
        const XLock lock( ioHandle, kLockForWrite );
        const USize64 count = ioHandle.GetDataSize() - done;
        inStream.ReadBuffer8( static_cast<std::uint8_t*>( ioHandle.GetData() ) + done, count );
        ioHandle.CheckIntact();
        done += count;
    }
}

void ReadCompressedBytes( XStream& inStream, USize64 inStoredLength, USize64 inSize, XMemoryHandle& ioHandle )
{
    inStream.CheckRemaining( inStoredLength, 1 );
    ZlibState<inflateEnd> state;
    if ( inflateInit( &state ) != Z_OK )
        XThrow( kErrorOutOfMemory );
    const auto input = std::make_unique<std::uint8_t[]>( kInputAtOnce );
    std::uint8_t excess = 0; // takes the byte that there should not be
    ioHandle.Resize( 0 );
    USize64 done = 0;
    USize64 left = inStoredLength;
    for ( int result = Z_OK; result != Z_STREAM_END; )
    {
        if ( state.avail_in == 0 )
        {
            const USize64 count = std::min( left, kInputAtOnce );
            if ( count == 0 )
                XThrow( kErrorStreamCorrupted );
            inStream.ReadBuffer8( input.get(), count );
            left -= count;
            state.next_in = input.get();
            state.avail_in = static_cast<uInt>( count );
        }
        if ( done == ioHandle.GetDataSize() && done < inSize )
            Grow( ioHandle, inSize );
        const XLock lock( ioHandle, kLockForWrite );
        const uInt room = ToTurn( ioHandle.GetDataSize() - done );
        // One byte of output beyond the announced size proves the data wrong, without room for it.
        state.next_out = room > 0 ? static_cast<Bytef*>( ioHandle.GetData() ) + done : &excess;
        state.avail_out = std::max( room, 1u );
        result = inflate( &state, Z_NO_FLUSH );
        const uInt produced = std::max( room, 1u ) - state.avail_out;
        if ( ( result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR ) || produced > room )
            XThrow( kErrorStreamCorrupted );
        ioHandle.CheckIntact();
        done += produced;
    }
    if ( done != inSize || left > 0 || state.avail_in > 0 )
        XThrow( kErrorStreamCorrupted );
}
