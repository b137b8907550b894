// The stream form of a handle.

#include "Memory/XMemoryHandle.h"

#include "Core/Streams/XStream.h"
#include "Ground/XErrorNumbers.h"
#include "Memory/Internal/XHandleCompression.h"
#include "Threads/XLock.h"

namespace
{

/// The maximum expansion of zlib per byte.
constexpr USize64 kMostExpansion = 1032;

constexpr USize64 kHeaderSize = 4 + 8 + 4 + 8;

bool IsCompressionType( std::uint32_t inValue )
{
    return inValue == XMemoryHandle::kNoCompression || inValue == XMemoryHandle::kFastestCompression ||
        inValue == XMemoryHandle::kStandardCompression || inValue == XMemoryHandle::kBestCompression;
}

void WriteHeader(
    XStream& inStream, USize64 inSize, XMemoryHandle::XCompressionType inCompression, USize64 inStoredLength )
{
    inStream.WriteVersion( XMemoryHandle::GetClassVersion() );
    inStream.Write64( inSize );
    inStream.Write32( inCompression );
    inStream.Write64( inStoredLength );
}

void ReadHeader(
    XStream& inStream, USize64& outSize, XMemoryHandle::XCompressionType& outCompression,
    USize64& outStoredLength )
{
    outSize = inStream.Read64();
    const std::uint32_t compression = inStream.Read32();
    outStoredLength = inStream.Read64();
    if ( !IsCompressionType( compression ) )
        XThrow( kErrorStreamCorrupted );
    outCompression = static_cast<XMemoryHandle::XCompressionType>( compression );
    const bool isPossible = outCompression == XMemoryHandle::kNoCompression
        ? outStoredLength == outSize
        : outSize / kMostExpansion <= outStoredLength;
    if ( !isPossible )
        XThrow( kErrorStreamCorrupted );
}

} // namespace

USize64 XMemoryHandle::GetStreamUsage() const
{
    return kHeaderSize + GetDataSize();
}

void XMemoryHandle::WriteStream2( XStream& inStream, XOptions ) const
{
    static_assert( kFastestCompression == static_cast<XCompressionType>( XStream::kFastCompression ) );
    static_assert( kStandardCompression == static_cast<XCompressionType>( XStream::kNormalCompression ) );
    static_assert( kBestCompression == static_cast<XCompressionType>( XStream::kBestCompression ) );
    WriteStream( inStream, static_cast<XCompressionType>( inStream.GetSuggestedCompressionLevel() ) );
}

void XMemoryHandle::WriteStream( XStream& inStream, XCompressionType inCompression ) const
{
    if ( !HasBytesToLock() )
        return WriteHeader( inStream, 0, kNoCompression, 0 );
    const XLock lock( const_cast<XMemoryHandle*>( this ), kLockForRead );
    const USize64 size = GetDataSize();
    if ( size == 0 )
        return WriteHeader( inStream, 0, kNoCompression, 0 );
    if ( inCompression == kNoCompression )
    {
        WriteHeader( inStream, size, kNoCompression, size );
        inStream.WriteBuffer8( GetData(), size );
    }
    else
    {
        XCompressedBytes bytes( GetData(), size, static_cast<int>( inCompression ) );
        WriteHeader( inStream, size, inCompression, bytes.GetLength() );
        bytes.Write( inStream );
    }
    CheckIntact();
}

void XMemoryHandle::ReadStream2( XStream& inStream, XOptions )
{
    CheckUnlocked();
    ReadCheckedVersion( inStream, GetClassVersion() );
    USize64 size = 0;
    USize64 storedLength = 0;
    XCompressionType compression = kNoCompression;
    ReadHeader( inStream, size, compression, storedLength );
    XMemoryHandle bytes( std::unique_ptr<XMemoryBlock>( MakeBlock( 0 ) ) );
    if ( compression == kNoCompression )
        ReadPlainBytes( inStream, size, bytes );
    else
        ReadCompressedBytes( inStream, storedLength, size, bytes );
    SetBlock( bytes.GetBlock() );
}

void XMemoryHandle::GetHandleInfoFromStream(
    XStream& inStream, USize64& outSize, XCompressionType& outCompression, USize64& outStoredLength )
{
    XMemoryHandle().ReadCheckedVersion( inStream, GetClassVersion() );
    ReadHeader( inStream, outSize, outCompression, outStoredLength );
}
