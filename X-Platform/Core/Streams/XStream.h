#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Storables/XStorable.h"
#include "Core/Streams/XByteOrder.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <type_traits>

class XARGB32Colour;
class XStreamObserver;
class XString;
class XUUID;

/// A buffered, seekable stream of bytes with a declared byte order, through which every stored or transmitted
/// value passes. Concrete streams only move raw bytes.
///
/// Ownership: a stream keeps no pointer to buffers passed to its operations.
/// Threads: one thread at a time.
/// Errors: 1260 if a bounded stream ends early, 1005 and 1015 if the bytes are not what was expected, 1006
/// (internal error) for null buffers, and the errors of the concrete stream. After an exception, position and
/// buffer are consistent, and bytes not yet drained stay in the buffer.
/// Lifetime: a concrete stream flushes in its own destructor, which swallows errors: call Flush to see them.
class KORVALE_API XStream
{
public:
    /// A hint for compressing writers.
    enum XCompressionLevel : std::uint32_t
    {
        kNoCompression = 0,
        kFastCompression = 1,
        kNormalCompression = 6,
        kBestCompression = 9,
    };

    /// The format that this library writes: class 0x31, revision 2.
    static constexpr XVersion kCurrentStreamVersion{ kClassStream, 2 };

    /// The most bytes allocated ahead of arrival for a length read from a stream.
    static constexpr USize64 kReadStep = 1024 * 1024;

    class XPositionSaver;

    virtual ~XStream();
    XStream( const XStream& ) = delete;
    XStream& operator=( const XStream& ) = delete;

    // ---- Position and extent, in bytes

    SSize64 GetPosition() const { return itsBufferPosition + ( itsCursor - itsBuffer ); }
    /// Moves by `inOffset` from the current position.
    void Seek( SSize64 inOffset );
    /// Positions beyond the extent are allowed; a negative one is error 1013.
    virtual void SeekTo( SSize64 inPosition );

    /// The length, bytes still in the buffer included; -1 for an open-ended stream.
    SSize64 GetExtent();
    /// Cuts the stream, or lengthens it with zeros. The position stays.
    void SetExtent( SSize64 inExtent );
    /// Reserves room for `inSize` bytes if the stream supports it; extent and contents are unchanged.
    virtual void SetPhysicalSize( SSize64 inSize );
    /// Makes the position the extent: cuts the stream off there, or lengthens it with zeros.
    void Truncate() { SetExtent( GetPosition() ); }
    /// True at or beyond the extent; never true for an open-ended stream.
    bool IsAtEOF();
    /// Bytes from the position to the extent, 0 beyond it; -1 for an open-ended stream.
    SSize64 GetRemaining();
    /// Passes all buffered bytes to the concrete stream.
    virtual void Flush();

    // ---- Byte order and header

    XByteOrder GetByteOrder() const { return itsByteOrder; }
    void SetByteOrder( XByteOrder inByteOrder );
    /// Reads the mark 'I' or 'M' and sets that order; 1005 for any other byte.
    void ReadByteOrder();
    void WriteByteOrder();

    /// Writes the byte order mark and the current stream version.
    void WriteStreamInfo();
    /// Reads the mark and the version. If the bytes are not a stream version, this becomes an old stream
    /// (version 0x31), whose contents begin right after the mark. Throws 1005 for a bad mark, 1015 for a
    /// revision of 3 or more.
    void ReadStreamInfo();
    XVersion GetStreamVersion() const { return itsStreamVersion; }
    /// True for streams of a revision below 2, in which the versions of objects may be missing.
    bool IsOldStream() const { return itsStreamVersion.GetClassRevision() < 2; }

    // ---- Single values. Multi-byte values use the byte order of the stream; peeking does not move the
    // position.

    std::uint8_t Read8() { return ReadValue<std::uint8_t>(); }
    std::int8_t Read8S() { return ReadValue<std::int8_t>(); }
    std::uint16_t Read16() { return ReadValue<std::uint16_t>(); }
    std::int16_t Read16S() { return ReadValue<std::int16_t>(); }
    std::uint32_t Read32() { return ReadValue<std::uint32_t>(); }
    std::int32_t Read32S() { return ReadValue<std::int32_t>(); }
    std::uint64_t Read64() { return ReadValue<std::uint64_t>(); }
    std::int64_t Read64S() { return ReadValue<std::int64_t>(); }
    float ReadFloat32S() { return ReadValue<float>(); }
    double ReadFloat64S() { return ReadValue<double>(); }
    XUUID ReadUUID();
    XARGB32Colour ReadARGB32();

    std::uint8_t Peek8() { return PeekValue<std::uint8_t>(); }
    std::int8_t Peek8S() { return PeekValue<std::int8_t>(); }
    std::uint16_t Peek16() { return PeekValue<std::uint16_t>(); }
    std::int16_t Peek16S() { return PeekValue<std::int16_t>(); }
    std::uint32_t Peek32() { return PeekValue<std::uint32_t>(); }
    std::int32_t Peek32S() { return PeekValue<std::int32_t>(); }
    std::uint64_t Peek64() { return PeekValue<std::uint64_t>(); }
    std::int64_t Peek64S() { return PeekValue<std::int64_t>(); }
    float PeekFloat32S() { return PeekValue<float>(); }
    double PeekFloat64S() { return PeekValue<double>(); }
    XUUID PeekUUID();
    XARGB32Colour PeekARGB32();

    void Write8( std::uint8_t inValue ) { WriteValue( inValue ); }
    void Write8S( std::int8_t inValue ) { WriteValue( inValue ); }
    void Write16( std::uint16_t inValue ) { WriteValue( inValue ); }
    void Write16S( std::int16_t inValue ) { WriteValue( inValue ); }
    void Write32( std::uint32_t inValue ) { WriteValue( inValue ); }
    void Write32S( std::int32_t inValue ) { WriteValue( inValue ); }
    void Write64( std::uint64_t inValue ) { WriteValue( inValue ); }
    void Write64S( std::int64_t inValue ) { WriteValue( inValue ); }
    void WriteFloat32S( float inValue ) { WriteValue( inValue ); }
    void WriteFloat64S( double inValue ) { WriteValue( inValue ); }
    void WriteUUID( const XUUID& inUUID );
    void WriteARGB32( const XARGB32Colour& inColour );

    XVersion ReadVersion() { return XVersion( Read32() ); }
    XVersion PeekVersion() { return XVersion( Peek32() ); }
    void WriteVersion( const XVersion& inVersion ) { Write32( inVersion ); }

    /// One byte, 0 or 1; any other is 1005.
    bool ReadBool();
    void WriteBool( bool inValue ) { Write8( inValue ? 1 : 0 ); }

    /// Integers and floats by type, for templates.
    template<class T>
    T ReadValue();
    template<class T>
    T PeekValue();
    template<class T>
    void WriteValue( T inValue );

    // ---- Buffers of `count` elements, signed or unsigned. A null buffer is an internal error unless `count`
    // is 0. A read that fails leaves the position unchanged; writing never changes the caller's data.

    void ReadBuffer8( void* buffer, USize64 count );
    void ReadBuffer16( void* buffer, USize64 count ) { ReadElements( buffer, count, 2 ); }
    void ReadBuffer32( void* buffer, USize64 count ) { ReadElements( buffer, count, 4 ); }
    void ReadBuffer64( void* buffer, USize64 count ) { ReadElements( buffer, count, 8 ); }
    void ReadBufferFloat32( float* buffer, USize64 count ) { ReadElements( buffer, count, 4 ); }
    void ReadBufferFloat64( double* buffer, USize64 count ) { ReadElements( buffer, count, 8 ); }

    virtual void PeekBuffer8( void* buffer, USize64 count );
    void PeekBuffer16( void* buffer, USize64 count ) { PeekElements( buffer, count, 2 ); }
    void PeekBuffer32( void* buffer, USize64 count ) { PeekElements( buffer, count, 4 ); }
    void PeekBuffer64( void* buffer, USize64 count ) { PeekElements( buffer, count, 8 ); }
    void PeekBufferFloat32( float* buffer, USize64 count ) { PeekElements( buffer, count, 4 ); }
    void PeekBufferFloat64( double* buffer, USize64 count ) { PeekElements( buffer, count, 8 ); }

    void WriteBuffer8( const void* buffer, USize64 count );
    void WriteBuffer16( const void* buffer, USize64 count ) { WriteElements( buffer, count, 2 ); }
    void WriteBuffer32( const void* buffer, USize64 count ) { WriteElements( buffer, count, 4 ); }
    void WriteBuffer64( const void* buffer, USize64 count ) { WriteElements( buffer, count, 8 ); }
    void WriteBufferFloat32( const float* buffer, USize64 count ) { WriteElements( buffer, count, 4 ); }
    void WriteBufferFloat64( const double* buffer, USize64 count ) { WriteElements( buffer, count, 8 ); }

    /// Elements of 1, 2, 4 or 8 bytes, for templates.
    void ReadElements( void* buffer, USize64 count, unsigned inWidth );
    void PeekElements( void* buffer, USize64 count, unsigned inWidth );
    void WriteElements( const void* buffer, USize64 count, unsigned inWidth );

    // ---- Direct access to the buffer, for code that moves many items too small for a call each

    /// The buffered bytes from the position on. Empty if there are none; reading fills the buffer.
    std::span<const std::uint8_t> LendBytes() const
    {
        return { itsCursor, ToSize( itsReadEnd - itsCursor ) };
    }
    /// The free room of the buffer from the position on, at the end of what was written. Empty elsewhere in
    /// the stream, and while the buffer is full or not in use; writing drains it and takes it into use.
    std::span<std::uint8_t> LendRoom()
    {
        return { itsCursor, itsCursor < itsFilledEnd ? 0 : ToSize( itsWriteEnd - itsCursor ) };
    }
    /// Advances past the first `inCount` bytes of LendBytes or LendRoom, as if they had been read or written
    /// one by one. Lent bytes and room are valid until the next other operation.
    void PassLent( USize64 inCount ) { itsCursor += inCount; }

    // ---- Counts and lengths read from the stream, which are never trusted for an allocation

    /// Throws 1260 when this is a bounded stream and fewer than `inCount` elements of `inElementSize` bytes
    /// remain. An open-ended stream passes.
    void CheckRemaining( USize64 inCount, USize64 inElementSize );
    /// Returns whether CheckRemaining would pass.
    bool HasRemaining( USize64 inCount, USize64 inElementSize );
    /// Replaces `outVector` by `inCount` integers or floats. If the bytes are known to be available, memory
    /// for all of them is allocated at once; otherwise for kReadStep bytes, then for at most eight times the
    /// bytes that have arrived.
    template<class T>
    void ReadCounted( XVector<T>& outVector, USize64 inCount );

    // ---- Text, as bytes

    /// Writes a 32-bit length (for longer strings 0xFFFFFFFF and a 64-bit length) and the bytes.
    void WriteString( const XString& inString );
    XString ReadString();
    /// Reads into an existing string, whose storage is reused if possible.
    void ReadString( XString& outString );
    /// Replaces `outString` by the next `inLength` bytes; allocates like ReadCounted.
    void ReadStringBytes( XString& outString, USize64 inLength );

    /// Writes the bytes without a length.
    void WriteText( const XString& inText );
    /// Writes the bytes, CR and LF.
    void WriteLine( const XString& inText );
    /// Reads the bytes up to CR, LF, CR LF or the end of the stream; the line end is consumed but not
    /// returned. Throws 1260 at the end of the stream, 1262 for a NUL.
    XString ReadLine();
    /// Skips white space and returns the bytes up to the next white space, which is not consumed, or to the
    /// end of the stream. Throws 1260 if no word is left, 1262 for a NUL.
    XString ReadWord();
    /// Skips any CR and LF at the position.
    void SkipNewlines();
    /// The position of the next occurrence of `inText` at or after the current position, or -1. The current
    /// position is unchanged. An empty text is never found.
    SSize64 FindString( const XString& inText );
    /// Writes `count` copies of `inByte`.
    void WriteFiller( USize64 count, std::uint8_t inByte = 0 );

    // ---- Objects

    /// Writes the object's version and then its contents. Objects nested more than kMaxObjectDepth deep could
    /// not be read again and are rejected with 1005, after part of the enclosing objects has been written.
    /// Storable values in the vectors of XStreamVectors.h count as nested objects.
    virtual void
    WriteObject( const XStorable& inObject, XStorable::XOptions inOptions = XStorable::kNoOptions );
    /// A null pointer is written as version 0.
    void WriteObject( const XStorable* inObject, XStorable::XOptions inOptions = XStorable::kNoOptions );
    /// Reads an object written by WriteObject. Returns a new object, which the caller owns, or null for
    /// version 0. Throws 1003 and 1004 for classes that cannot be created, 1015 for a newer revision, 1005
    /// for objects nested more than kMaxObjectDepth deep, and the errors of the object's ReadStream2; nothing
    /// is leaked.
    virtual XStorable* ReadObject( XStorable::XOptions inOptions = XStorable::kNoOptions );
    /// Reads an object of class `T` or of a derived class; never null. Throws 1005 for any other class before
    /// the object is created, so that a file cannot nest objects where they do not belong; after it has been
    /// read on streams that cannot peek.
    template<class T>
    std::unique_ptr<T> ReadObjectOf( XStorable::XOptions inOptions = XStorable::kNoOptions );
    /// The version from which the last ReadObject created an object, or 0.
    XVersion GetLastClassCreated() const;

    static constexpr unsigned kMaxObjectDepth = 1000;

    /// Counts one level of nesting while an object is written or read. Throws 1005 below kMaxObjectDepth
    /// levels. For code that nests storable values other than by objects and vectors.
    class XNestedObject
    {
    public:
        explicit XNestedObject( XStream& ioStream ) : itsDepth( ioStream.itsObjectDepth )
        {
            if ( itsDepth >= kMaxObjectDepth )
                XThrow( kErrorStreamCorrupted );
            ++itsDepth;
        }
        XNestedObject( const XNestedObject& ) = delete;
        XNestedObject& operator=( const XNestedObject& ) = delete;
        ~XNestedObject() { --itsDepth; }

    private:
        unsigned& itsDepth;
    };

    // ---- Observers

    /// Sets the observer to which readers report what they read and why they reject it; null for none, as
    /// initially. The observer is borrowed. `inOrigin` is added to reported positions, for a stream over a
    /// part of another. If an observed old stream ends within a version that may be missing, the error is
    /// 1260.
    void SetObserver( XStreamObserver* inObserver, SSize64 inOrigin = 0 )
    {
        itsObserver = inObserver;
        itsObservedOrigin = inOrigin;
    }
    XStreamObserver* GetObserver() const { return itsObserver; }
    SSize64 GetObservedPosition() const { return itsObservedOrigin + GetPosition(); }

    // ---- Hints

    XCompressionLevel GetSuggestedCompressionLevel() const { return itsSuggestedCompressionLevel; }
    void SetSuggestedCompressionLevel( XCompressionLevel inLevel ) { itsSuggestedCompressionLevel = inLevel; }

protected:
    /// With `inBufferSize` 0, each call of a primitive is one transfer of the concrete stream.
    /// `inBufferedReads` sends small reads through the buffer. With `inBoundedReads`, a read beyond the
    /// extent fails with 1260 before any bytes are moved.
    XStream( USize64 inBufferSize, bool inBufferedReads, bool inBoundedReads );

    // ---- Overridden by concrete streams. Positions are never negative and counts never 0.

    /// Reads exactly `count` bytes at a position; throws 1260 when there are fewer.
    virtual void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) = 0;
    /// Writes all `count` bytes at a position, lengthening the stream if necessary.
    virtual void DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count ) = 0;
    /// The length of the concrete stream without buffered bytes, or -1 if it is open-ended.
    virtual SSize64 GetExtentSelf() = 0;
    virtual void SetExtentSelf( SSize64 inExtent ) = 0;
    /// Copies the next bytes without moving the position. By default reads and seeks back.
    virtual void PeekBuffer8WithoutSeekSelf( void* buffer, USize64 count );
    /// Whether peeked bytes can still be read.
    virtual bool CanPeek() const { return true; }

    // ---- Windows: streams over memory use that memory as the buffer

    /// Uses `inCapacity` bytes at `inData` as the buffer, of which `inFilled` are the contents of the whole
    /// stream, and moves to `inPosition`. Reads and writes within the window never call FillBuffer or
    /// DrainBuffer.
    void OpenWindow( std::uint8_t* inData, USize64 inFilled, USize64 inCapacity, SSize64 inPosition );
    bool IsWindowOpen() const { return itsWindowIsOpen; }
    /// The number of bytes of the open window that are filled.
    USize64 GetWindowFilled() const;

    /// Flush for destructors: errors are swallowed.
    void FlushQuietly() noexcept;

private:
    static constexpr USize64 kMostBytes = ( std::numeric_limits<std::ptrdiff_t>::max )();
    // The most bytes by which a vector grows per step while it is read, and the size of the temporary block
    // for swapped writes.
    static constexpr USize64 kCachedStep = 32 * 1024;
    static constexpr USize64 kSwapBlock = 64 * 1024;

    // Both ends may lie before the cursor, if the mode of the buffer forbids reading or writing.
    bool HasToRead( USize64 inSize ) const { return itsReadEnd - itsCursor >= ToDifference( inSize ); }
    bool HasRoom( USize64 inSize ) const { return itsWriteEnd - itsCursor >= ToDifference( inSize ); }
    static std::ptrdiff_t ToDifference( USize64 inSize ) { return static_cast<std::ptrdiff_t>( inSize ); }
    static USize64 ToSize( std::ptrdiff_t inSize ) { return inSize > 0 ? static_cast<USize64>( inSize ) : 0; }

    // True for arguments that the fast paths handle; the slow paths handle null buffers, and counts of 0 or
    // beyond all memory.
    static bool IsOrdinary( const void* inBuffer, USize64 inCount )
    {
        return inBuffer && inCount - 1 < kMostBytes;
    }

    void CheckNextObject( const XVersion& inBase );
    std::unique_ptr<XStorable> MakeObject( const XVersion& inVersion, XStorable::XOptions inOptions );

    void ReadSlowly( void* buffer, USize64 count );
    void ReadRest( std::uint8_t* outBytes, SSize64 inPosition, USize64 count );
    void Refill( SSize64 inPosition, USize64 inLeast );
    void PrepareToRead();
    bool HasMore();
    void WriteSlowly( const void* buffer, USize64 count );
    void WriteThrough( const std::uint8_t* inBytes, USize64 count );
    void StartWriting( const std::uint8_t* inBytes, USize64 count );
    void WriteSwapped( const std::uint8_t* inBytes, USize64 inSize, USize64 inBlockSize, unsigned inWidth );
    void DrainWritten();
    void NoteWritten( SSize64 inEnd );
    void AllocateBlock();
    void EmptyBufferAt( SSize64 inPosition );
    static USize64 CheckedSize( USize64 inCount, unsigned inWidth );

    std::uint8_t* itsBuffer = nullptr;   // own block, or the window
    std::uint8_t* itsCursor = nullptr;   // the current position
    std::uint8_t* itsReadEnd = nullptr;  // end of the bytes that can be read from the buffer
    std::uint8_t* itsWriteEnd = nullptr; // end of the bytes that can be written to the buffer
    std::uint8_t* itsFilledEnd = nullptr;
    SSize64 itsBufferPosition = 0; // stream position of the buffer's first byte
    SSize64 itsExtent = -1;        // -1: not asked yet, or open-ended
    USize64 itsBufferSize;
    std::unique_ptr<std::uint8_t[]> itsOwnBlock;
    XVector<XVersion> itsClassesCreated;
    XStreamObserver* itsObserver = nullptr; // not owned
    SSize64 itsObservedOrigin = 0;
    XVersion itsStreamVersion = kCurrentStreamVersion;
    XCompressionLevel itsSuggestedCompressionLevel = kNormalCompression;
    unsigned itsObjectDepth = 0;
    XByteOrder itsByteOrder = kPlatformByteOrder;
    bool itsIsSwapped = false; // byte order differs from the platform's
    bool itsBufferedReads;
    bool itsBoundedReads;
    bool itsIsDirty = false;
    bool itsWindowIsOpen = false;
};

/// Returns a stream to its current position when the saver goes out of scope; errors are swallowed.
class XStream::XPositionSaver
{
public:
    explicit XPositionSaver( XStream& inStream )
        : itsStream( inStream ), itsPosition( inStream.GetPosition() )
    {
    }
    KORVALE_API ~XPositionSaver();
    XPositionSaver( const XPositionSaver& ) = delete;
    XPositionSaver& operator=( const XPositionSaver& ) = delete;

    SSize64 GetPosition() const { return itsPosition; }

private:
    XStream& itsStream;
    SSize64 itsPosition;
};

// ---- Fast paths: values that lie within the buffer

namespace XStreamDetail
{
/// The unsigned integer type of `kSize` bytes.
template<std::size_t kSize>
using XBits = std::conditional_t<
    kSize == 1, std::uint8_t,
    std::conditional_t<
        kSize == 2, std::uint16_t, std::conditional_t<kSize == 4, std::uint32_t, std::uint64_t>>>;

/// Integers and floats of at most 64 bits.
template<class T>
inline constexpr bool kIsValue =
    std::is_arithmetic_v<T> && !std::is_same_v<T, bool> && sizeof( T ) <= sizeof( std::uint64_t );
} // namespace XStreamDetail

template<class T>
T XStream::ReadValue()
{
    static_assert( XStreamDetail::kIsValue<T> );
    XStreamDetail::XBits<sizeof( T )> bits;
    if ( HasToRead( sizeof bits ) ) [[likely]]
    {
        std::memcpy( &bits, itsCursor, sizeof bits );
        itsCursor += sizeof bits;
    }
    else
        ReadSlowly( &bits, sizeof bits );
    return std::bit_cast<T>( itsIsSwapped ? XSwapBytes( bits ) : bits );
}

template<class T>
T XStream::PeekValue()
{
    static_assert( XStreamDetail::kIsValue<T> );
    XStreamDetail::XBits<sizeof( T )> bits;
    if ( HasToRead( sizeof bits ) ) [[likely]]
        std::memcpy( &bits, itsCursor, sizeof bits );
    else
        PeekBuffer8( &bits, sizeof bits );
    return std::bit_cast<T>( itsIsSwapped ? XSwapBytes( bits ) : bits );
}

template<class T>
void XStream::WriteValue( T inValue )
{
    static_assert( XStreamDetail::kIsValue<T> );
    auto bits = std::bit_cast<XStreamDetail::XBits<sizeof( T )>>( inValue );
    if ( itsIsSwapped )
        bits = XSwapBytes( bits );
    if ( HasRoom( sizeof bits ) ) [[likely]]
    {
        std::memcpy( itsCursor, &bits, sizeof bits );
        itsCursor += sizeof bits;
    }
    else
        WriteSlowly( &bits, sizeof bits );
}

inline void XStream::ReadBuffer8( void* buffer, USize64 count )
{
    if ( IsOrdinary( buffer, count ) && HasToRead( count ) ) [[likely]]
    {
        std::memcpy( buffer, itsCursor, count );
        itsCursor += count;
    }
    else
        ReadSlowly( buffer, count );
}

inline void XStream::WriteBuffer8( const void* buffer, USize64 count )
{
    if ( IsOrdinary( buffer, count ) && HasRoom( count ) ) [[likely]]
    {
        std::memcpy( itsCursor, buffer, count );
        itsCursor += count;
    }
    else
        WriteSlowly( buffer, count );
}

template<class T>
std::unique_ptr<T> XStream::ReadObjectOf( XStorable::XOptions inOptions )
{
    CheckNextObject( T::GetClassVersion() );
    std::unique_ptr<XStorable> object( ReadObject( inOptions ) );
    auto* const found = dynamic_cast<T*>( object.get() );
    if ( !found )
        XThrow( kErrorStreamCorrupted );
    object.release();
    return std::unique_ptr<T>( found );
}

template<class T>
void XStream::ReadCounted( XVector<T>& outVector, USize64 inCount )
{
    static_assert( XStreamDetail::kIsValue<T> );
    CheckRemaining( inCount, sizeof( T ) );
    const bool isThere = itsBoundedReads && GetRemaining() >= 0;
    if ( isThere )
        outVector.reserve( inCount );
    // Steps that stay in the cache make the zeros of resize cheap.
    const USize64 step = ( isThere ? kCachedStep : kReadStep ) / sizeof( T );
    outVector.resize( std::min<USize64>( outVector.size(), inCount ) );
    ReadElements( outVector.data(), outVector.size(), sizeof( T ) );
    while ( outVector.size() < inCount )
    {
        const USize64 done = outVector.size();
        const USize64 next = ( std::min )( done + step, inCount );
        if ( next > outVector.capacity() )
            outVector.reserve( ( std::min )( ( std::max )( next, 8 * done ), inCount ) );
        outVector.resize( next );
        ReadElements( outVector.data() + done, outVector.size() - done, sizeof( T ) );
    }
}
