#include "Core/Streams/XStream.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Identifiers/XUUID.h"
#include "Core/Storables/XARGB32Colour.h"
#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

// Byte order, positions and arrays; the buffer is in XStreamBuffer.cpp, text in XStreamText.cpp, objects in
// XStreamObjects.cpp. Inline functions of the header read and write small values at the cursor, as long as it
// does not meet itsReadEnd or itsWriteEnd; everything else comes here. `itsExtent` caches the length; -1
// means not asked yet, or open-ended.
//
// A stream with the byte order of the platform copies arrays; otherwise the bytes are swapped while they are
// copied (XSwapCopy), never in the source.

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr XVersion XStream::kCurrentStreamVersion;
constexpr USize64 XStream::kReadStep;
constexpr unsigned XStream::kMaxObjectDepth;

XStream::XStream( USize64 inBufferSize, bool inBufferedReads, bool inBoundedReads )
    : itsBufferSize( inBufferSize ), itsBufferedReads( inBufferedReads ), itsBoundedReads( inBoundedReads )
{
}

XStream::~XStream() = default;

void XStream::Seek( SSize64 inOffset )
{
    SSize64 position;
    if ( __builtin_add_overflow( GetPosition(), inOffset, &position ) )
        XThrow( kErrorBadParameters );
    SeekTo( position );
}

void XStream::SeekTo( SSize64 inPosition )
{
    if ( inPosition < 0 )
        XThrow( kErrorBadParameters );
    const std::uint8_t* end = std::max( itsFilledEnd, itsCursor );
    const SSize64 offset = inPosition - itsBufferPosition;
    // Within the buffer a seek only moves the cursor, also while writing.
    if ( offset < 0 || offset > end - itsBuffer )
    {
        DrainWritten();
        EmptyBufferAt( inPosition );
        return;
    }
    itsFilledEnd = std::max( itsFilledEnd, itsCursor );
    itsCursor = itsBuffer + offset;
}

SSize64 XStream::GetExtent()
{
    if ( itsWindowIsOpen )
        return static_cast<SSize64>( GetWindowFilled() );
    if ( itsExtent < 0 )
        itsExtent = GetExtentSelf();
    if ( itsExtent < 0 || !itsIsDirty )
        return itsExtent;
    // Written bytes that have not been drained count.
    return std::max( itsExtent, itsBufferPosition + ( std::max( itsFilledEnd, itsCursor ) - itsBuffer ) );
}

void XStream::SetExtent( SSize64 inExtent )
{
    if ( inExtent < 0 )
        XThrow( kErrorBadParameters );
    const SSize64 position = GetPosition();
    DrainWritten();
    SetExtentSelf( inExtent );
    if ( !itsWindowIsOpen )
        EmptyBufferAt( position );
    itsExtent = inExtent;
}

void XStream::SetPhysicalSize( SSize64 ) {}

bool XStream::IsAtEOF()
{
    return GetRemaining() == 0;
}

SSize64 XStream::GetRemaining()
{
    const SSize64 extent = GetExtent();
    return extent < 0 ? -1 : std::max<SSize64>( extent - GetPosition(), 0 );
}

void XStream::Flush()
{
    DrainWritten();
}

void XStream::FlushQuietly() noexcept
{
    XSwallowErrors( [this] { Flush(); } );
}

// ---- Byte order and small values

void XStream::SetByteOrder( XByteOrder inByteOrder )
{
    itsByteOrder = inByteOrder;
    itsIsSwapped = inByteOrder != kPlatformByteOrder;
}

void XStream::ReadByteOrder()
{
    XBeginField( *this, "the byte order mark" );
    const std::uint8_t mark = Read8();
    if ( mark != 'I' && mark != 'M' )
        XRefuse(
            *this, kErrorStreamCorrupted,
            [&]
            {
                return "the first byte is " + std::to_string( mark ) +
                    ", neither I (73) nor M (77): this is no stream";
            } );
    SetByteOrder( mark == 'I' ? kIntelOrder : kMotorolaOrder );
    XEndField(
        *this,
        [&] {
            return mark == 'I' ? "Byte order I: Intel, low byte first"
                               : "Byte order M: Motorola, high byte first";
        } );
}

void XStream::WriteByteOrder()
{
    Write8( itsByteOrder == kIntelOrder ? 'I' : 'M' );
}

bool XStream::ReadBool()
{
    const std::uint8_t value = Read8();
    if ( value > 1 )
        XThrow( kErrorStreamCorrupted );
    return value == 1;
}

XUUID XStream::ReadUUID()
{
    std::uint8_t bytes[16];
    ReadBuffer8( bytes, sizeof bytes );
    return XUUID( bytes );
}

XUUID XStream::PeekUUID()
{
    std::uint8_t bytes[16];
    PeekBuffer8( bytes, sizeof bytes );
    return XUUID( bytes );
}

void XStream::WriteUUID( const XUUID& inUUID )
{
    WriteBuffer8( inUUID.GetBytes(), 16 );
}

XARGB32Colour XStream::ReadARGB32()
{
    std::uint8_t bytes[4];
    ReadBuffer8( bytes, sizeof bytes );
    return { bytes[0], bytes[1], bytes[2], bytes[3] };
}

XARGB32Colour XStream::PeekARGB32()
{
    std::uint8_t bytes[4];
    PeekBuffer8( bytes, sizeof bytes );
    return { bytes[0], bytes[1], bytes[2], bytes[3] };
}

void XStream::WriteARGB32( const XARGB32Colour& inColour )
{
    WriteBuffer8( inColour.GetBytes(), 4 );
}

// ---- Arrays

void XStream::ReadElements( void* buffer, USize64 count, unsigned inWidth )
{
    const USize64 size = CheckedSize( count, inWidth );
    if ( !itsIsSwapped || inWidth == 1 || count == 0 )
        return ReadBuffer8( buffer, size );
    XAssert( buffer );
    if ( HasToRead( size ) )
    {
        XSwapCopy( buffer, itsCursor, count, inWidth );
        itsCursor += size;
        return;
    }
    ReadSlowly( buffer, size );
    XSwapCopy( buffer, buffer, count, inWidth );
}

void XStream::PeekElements( void* buffer, USize64 count, unsigned inWidth )
{
    PeekBuffer8( buffer, CheckedSize( count, inWidth ) );
    if ( itsIsSwapped && count > 0 )
        XSwapCopy( buffer, buffer, count, inWidth );
}

void XStream::WriteElements( const void* buffer, USize64 count, unsigned inWidth )
{
    const USize64 size = CheckedSize( count, inWidth );
    if ( !itsIsSwapped || inWidth == 1 || count == 0 )
        return WriteBuffer8( buffer, size );
    XAssert( buffer );
    // Without a buffer a call is one transfer, so its bytes have to lie together.
    const bool isOneTransfer = itsBufferSize == 0 && !itsWindowIsOpen;
    WriteSwapped(
        static_cast<const std::uint8_t*>( buffer ), size, isOneTransfer ? size : kSwapBlock, inWidth );
}

void XStream::WriteSwapped(
    const std::uint8_t* inBytes, USize64 inSize, USize64 inBlockSize, unsigned inWidth )
{
    std::unique_ptr<std::uint8_t[]> block;
    // Swapped through a block, as the source must not be changed; what fits into the buffer is swapped into
    // it directly.
    while ( inSize > 0 && !HasRoom( inSize ) )
    {
        if ( !block )
            block = std::make_unique_for_overwrite<std::uint8_t[]>( std::min( inSize, inBlockSize ) );
        const USize64 size = std::min( inSize, inBlockSize );
        XSwapCopy( block.get(), inBytes, size / inWidth, inWidth );
        WriteSlowly( block.get(), size );
        inBytes += size;
        inSize -= size;
    }
    XSwapCopy( itsCursor, inBytes, inSize / inWidth, inWidth );
    itsCursor += inSize;
}

USize64 XStream::CheckedSize( USize64 inCount, unsigned inWidth )
{
    XAssert( inWidth == 1 || inWidth == 2 || inWidth == 4 || inWidth == 8 );
    if ( inCount > kMostBytes / inWidth )
        XThrow( kErrorEndOfFile );
    return inCount * inWidth;
}

void XStream::CheckRemaining( USize64 inCount, USize64 inElementSize )
{
    if ( !HasRemaining( inCount, inElementSize ) )
        XThrow( kErrorEndOfFile );
}

bool XStream::HasRemaining( USize64 inCount, USize64 inElementSize )
{
    // A stream without a known end cannot refuse; its readers grow in steps.
    const SSize64 remaining = itsBoundedReads ? GetRemaining() : -1;
    return remaining < 0 || inElementSize == 0 ||
        inCount <= static_cast<USize64>( remaining ) / inElementSize;
}

XStream::XPositionSaver::~XPositionSaver()
{
    XSwallowErrors( [this] { itsStream.SeekTo( itsPosition ); } );
}
