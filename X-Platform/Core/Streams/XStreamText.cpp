#include "Core/Streams/XStream.h"

#include "Core/Strings/Internal/XTextScan.h"
#include "Core/Strings/XString.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <array>
#include <string>
#include <string_view>

// Text in streams: what needs strings.

namespace
{
constexpr std::uint32_t kLongLength = 0xFFFFFFFFu;
constexpr USize64 kSearchStep = 64 * 1024;

bool IsSpace( std::uint8_t inByte )
{
    return XTextScan::IsSpace( static_cast<char>( inByte ) );
}

bool IsNewline( std::uint8_t inByte )
{
    return inByte == '\r' || inByte == '\n';
}

void AppendText( std::string& ioText, std::uint8_t inByte )
{
    if ( inByte == 0 )
        XThrow( kErrorNullCharacter );
    ioText += static_cast<char>( inByte );
}
} // namespace

void XStream::WriteString( const XString& inString )
{
    const USize64 length = inString.GetLength();
    Write32( static_cast<std::uint32_t>( std::min<USize64>( length, kLongLength ) ) );
    if ( length > kLongLength )
        Write64( length );
    WriteBuffer8( inString.GetConstCharPtr(), length );
}

XString XStream::ReadString()
{
    XString string;
    ReadString( string );
    return string;
}

void XStream::ReadString( XString& outString )
{
    const std::uint32_t length = Read32();
    ReadStringBytes( outString, length < kLongLength ? length : Read64() );
}

void XStream::ReadStringBytes( XString& outString, USize64 inLength )
{
    // The whole text lies in the buffer: no intermediate copy.
    if ( inLength <= kMostBytes && HasToRead( inLength ) )
    {
        outString.CopyFromPtr( reinterpret_cast<const char*>( itsCursor ), inLength );
        itsCursor += inLength;
        return;
    }
    XVector<char> bytes;
    ReadCounted( bytes, inLength );
    outString.CopyFromPtr( bytes.data(), bytes.size() );
}

void XStream::WriteText( const XString& inText )
{
    WriteBuffer8( inText.GetConstCharPtr(), inText.GetLength() );
}

void XStream::WriteLine( const XString& inText )
{
    WriteText( inText );
    WriteBuffer8( "\r\n", 2 );
}

bool XStream::HasMore()
{
    return HasToRead( 1 ) || !IsAtEOF();
}

XString XStream::ReadLine()
{
    if ( !HasMore() )
        XThrow( kErrorEndOfFile );
    std::string line;
    while ( HasMore() )
    {
        const std::uint8_t byte = Read8();
        // Lines end with CR, LF or CR LF, and the files may mix them.
        if ( byte == '\r' && HasMore() && Peek8() == '\n' )
            Read8();
        if ( IsNewline( byte ) )
            break;
        AppendText( line, byte );
    }
    return XString( line );
}

XString XStream::ReadWord()
{
    while ( HasMore() && IsSpace( Peek8() ) )
        Read8();
    if ( !HasMore() )
        XThrow( kErrorEndOfFile );
    std::string word;
    while ( HasMore() && !IsSpace( Peek8() ) )
        AppendText( word, Read8() );
    return XString( word );
}

void XStream::SkipNewlines()
{
    while ( HasMore() && IsNewline( Peek8() ) )
        Read8();
}

SSize64 XStream::FindString( const XString& inText )
{
    const std::string_view needle = inText.GetStringView();
    if ( needle.empty() )
        return -1;
    const XPositionSaver saver( *this );
    SSize64 start = GetPosition(); // of the bytes that are looked at
    std::string bytes;
    while ( HasMore() )
    {
        const USize64 overlap = bytes.size();
        const SSize64 remaining = GetRemaining();
        // A stream without a known end is read byte by byte: more might not come.
        const USize64 count = remaining < 0 ? 1 : std::min( kSearchStep, static_cast<USize64>( remaining ) );
        bytes.resize( overlap + count );
        ReadBuffer8( bytes.data() + overlap, count );
        if ( const std::size_t found = bytes.find( needle ); found != std::string::npos )
            return start + static_cast<SSize64>( found );
        // Keeps as many bytes as a match that has begun may have, one less than the needle.
        const USize64 passed = bytes.size() - std::min<USize64>( bytes.size(), needle.size() - 1 );
        bytes.erase( 0, passed );
        start += static_cast<SSize64>( passed );
    }
    return -1;
}

void XStream::WriteFiller( USize64 count, std::uint8_t inByte )
{
    std::array<std::uint8_t, 4096> block;
    block.fill( inByte );
    for ( USize64 left = count; left > 0; )
    {
        const USize64 size = std::min<USize64>( left, block.size() );
        WriteBuffer8( block.data(), size );
        left -= size;
    }
}
