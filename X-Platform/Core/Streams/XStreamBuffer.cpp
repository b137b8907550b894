#include "Core/Streams/XStream.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <limits>

// The buffer is in one of three modes:
// - Reading: [itsBuffer, itsFilledEnd) holds bytes of the stream; nothing may be written into it.
// - Writing (itsIsDirty): it holds bytes to be drained; nothing may be read from it.
// - Window: it is the stream's whole memory, read and written in place.
// A fast write only moves the cursor, so the end of the contents of a writing buffer or a window is the
// higher of itsFilledEnd and itsCursor.

namespace
{
constexpr SSize64 kMaxPosition = std::numeric_limits<SSize64>::max();

constexpr USize64 kFirstRefill = 4096; // after a seek

SSize64 CheckedEnd( SSize64 inPosition, USize64 inCount )
{
    if ( inCount > static_cast<USize64>( kMaxPosition - inPosition ) )
        XThrow( kErrorBadParameters );
    return inPosition + static_cast<SSize64>( inCount );
}
} // namespace

// ---- Reading

void XStream::ReadSlowly( void* buffer, USize64 count )
{
    if ( count == 0 )
        return;
    XAssert( buffer );
    if ( count > kMostBytes )
        XThrow( kErrorEndOfFile );
    CheckRemaining( count, 1 );
    PrepareToRead();

    const SSize64 position = GetPosition();
    const USize64 available = std::min( ToSize( itsReadEnd - itsCursor ), count );
    std::uint8_t* target = static_cast<std::uint8_t*>( buffer );
    if ( available > 0 )
        std::memcpy( target, itsCursor, available );
    ReadRest( target + available, position + static_cast<SSize64>( available ), count - available );
}

void XStream::ReadRest( std::uint8_t* outBytes, SSize64 inPosition, USize64 count )
{
    if ( count == 0 )
    {
        itsCursor = itsBuffer + ( inPosition - itsBufferPosition );
        return;
    }
    if ( itsBufferedReads && count <= itsBufferSize )
    {
        Refill( inPosition, count );
        std::memcpy( outBytes, itsBuffer, count );
        itsCursor = itsBuffer + count;
        return;
    }
    // Larger than the buffer: directly to the caller, without a copy.
    FillBuffer( inPosition, outBytes, count );
    EmptyBufferAt( CheckedEnd( inPosition, count ) );
}

/// The first block of a stream is a full one. After a seek a small one is read; while reading continues from
/// there, each block is twice as large as the contents of the buffer.
void XStream::Refill( SSize64 inPosition, USize64 inLeast )
{
    const USize64 held = ToSize( itsFilledEnd - itsBuffer );
    const USize64 most =
        itsOwnBlock ? std::min( itsBufferSize, std::max( kFirstRefill, 2 * held ) ) : itsBufferSize;
    USize64 size = inLeast;
    // Not beyond the end of the stream: FillBuffer must deliver all bytes that it is asked for.
    if ( const SSize64 extent = GetExtent(); extent > inPosition )
        size = std::max( size, std::min( most, static_cast<USize64>( extent - inPosition ) ) );
    // The buffer is given up before FillBuffer, so that it holds nothing wrong if that throws.
    EmptyBufferAt( GetPosition() );
    AllocateBlock();
    FillBuffer( inPosition, itsOwnBlock.get(), size );
    EmptyBufferAt( inPosition );
    itsFilledEnd = itsReadEnd = itsBuffer + size;
}

void XStream::PrepareToRead()
{
    if ( itsWindowIsOpen )
        itsReadEnd = itsFilledEnd = itsBuffer + GetWindowFilled();
    else
        DrainWritten();
}

void XStream::PeekBuffer8( void* buffer, USize64 count )
{
    if ( count == 0 )
        return;
    XAssert( buffer );
    if ( count > kMostBytes )
        XThrow( kErrorEndOfFile );
    if ( !HasToRead( count ) )
    {
        CheckRemaining( count, 1 );
        PrepareToRead();
    }
    if ( HasToRead( count ) )
        std::memcpy( buffer, itsCursor, count );
    else
        PeekBuffer8WithoutSeekSelf( buffer, count );
}

void XStream::PeekBuffer8WithoutSeekSelf( void* buffer, USize64 count )
{
    const SSize64 position = GetPosition();
    if ( itsBufferedReads && count <= itsBufferSize )
    {
        Refill( position, count ); // which leaves the peeked bytes for the read that follows
        std::memcpy( buffer, itsBuffer, count );
        return;
    }
    EmptyBufferAt( position );
    ReadSlowly( buffer, count );
    SeekTo( position );
}

// ---- Writing

void XStream::WriteSlowly( const void* buffer, USize64 count )
{
    if ( count == 0 )
        return;
    XAssert( buffer );
    CheckedEnd( GetPosition(), count );
    const std::uint8_t* source = static_cast<const std::uint8_t*>( buffer );
    if ( itsIsDirty )
    {
        // The buffer is filled up before it is drained, so the blocks written are as large as the buffer.
        const USize64 room = std::min( ToSize( itsWriteEnd - itsCursor ), count );
        std::memcpy( itsCursor, source, room );
        itsCursor += room;
        source += room;
        count -= room;
        if ( count == 0 )
            return;
        DrainWritten();
    }
    if ( itsWindowIsOpen || count >= itsBufferSize )
        WriteThrough( source, count );
    else
        StartWriting( source, count );
}

void XStream::WriteThrough( const std::uint8_t* inBytes, USize64 count )
{
    const SSize64 position = GetPosition();
    const SSize64 end = CheckedEnd( position, count );
    DrainBuffer( position, inBytes, count );
    if ( !itsWindowIsOpen )
        EmptyBufferAt( end );
    NoteWritten( end );
}

void XStream::StartWriting( const std::uint8_t* inBytes, USize64 count )
{
    AllocateBlock();
    EmptyBufferAt( GetPosition() );
    itsIsDirty = true;
    // Writing without asking must not pass the last position there is.
    itsWriteEnd =
        itsBuffer + std::min( itsBufferSize, static_cast<USize64>( kMaxPosition - itsBufferPosition ) );
    std::memcpy( itsCursor, inBytes, count );
    itsCursor += count;
}

void XStream::DrainWritten()
{
    if ( !itsIsDirty )
        return;
    const SSize64 position = GetPosition();
    const USize64 count = static_cast<USize64>( std::max( itsFilledEnd, itsCursor ) - itsBuffer );
    if ( count > 0 )
        DrainBuffer( itsBufferPosition, itsBuffer, count );
    NoteWritten( itsBufferPosition + static_cast<SSize64>( count ) );
    EmptyBufferAt( position );
}

void XStream::NoteWritten( SSize64 inEnd )
{
    if ( itsExtent >= 0 )
        itsExtent = std::max( itsExtent, inEnd );
}

// ---- The buffer

void XStream::AllocateBlock()
{
    if ( !itsOwnBlock )
        itsOwnBlock = std::make_unique_for_overwrite<std::uint8_t[]>( itsBufferSize );
}

void XStream::EmptyBufferAt( SSize64 inPosition )
{
    itsBuffer = itsCursor = itsReadEnd = itsWriteEnd = itsFilledEnd = itsOwnBlock.get();
    itsBufferPosition = inPosition;
    itsIsDirty = false;
    itsWindowIsOpen = false;
}

void XStream::OpenWindow( std::uint8_t* inData, USize64 inFilled, USize64 inCapacity, SSize64 inPosition )
{
    EmptyBufferAt( inPosition );
    itsExtent = static_cast<SSize64>( inFilled );
    if ( inPosition > itsExtent )
        return;
    itsBuffer = inData;
    itsBufferPosition = 0;
    itsCursor = inData + inPosition;
    itsReadEnd = itsFilledEnd = inData + inFilled;
    itsWriteEnd = inData + inCapacity;
    itsWindowIsOpen = true;
}

USize64 XStream::GetWindowFilled() const
{
    return static_cast<USize64>( std::max( itsFilledEnd, itsCursor ) - itsBuffer );
}
