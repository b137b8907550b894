#include "Core/Strings/XString.h"

#include "Core/Strings/Internal/XTextScan.h"
#include "Ground/XErrorNumbers.h"
#include "Process/WDebugger.h"
#include "System/WCodePage.h"
#include "System/WStringTable.h"

#include <algorithm>
#include <cstdlib>
#include <new>

// Storage. A string is one pointer to a block (XStringStorage: data, size with the final NUL, capacity with
// it, reference count) that copies share. Whatever changes characters in place first makes sure that the
// storage is not shared. The count is atomic, so copies may be used on different threads; one XString object
// has the usual rules for objects.
//
// Growing appends doubles the capacity, so n appends take O(n). A new text is written into the existing
// storage if it fits and does not waste most of it (CanReuseStorage): a string that once held a long text
// must not keep its memory for short ones. The empty string and a few constants have static storage whose
// count never reaches 0.

namespace
{
constexpr USize64 kMaxStr255Length = 255;

/// Longer texts could not be indexed with a signed number, and their sizes might not fit in 64 bits.
constexpr USize64 kMaxLength = USize64( 1 ) << 62;

char sEmptyText[] = "";
char sDotText[] = ".";
char sNewLineText[] = "\n";

/// Zeroes all that follows the first NUL.
void ClearFromNul( char* ioText, USize64 inLength )
{
    if ( void* const nul = std::memchr( ioText, '\0', inLength ) )
        std::memset( nul, 0, static_cast<USize64>( ioText + inLength - static_cast<char*>( nul ) ) );
}
} // namespace

// The shared constants are initialised before any code runs, so that statics in any source can use them.
// Their own reference is never released, and a copy makes the count 2.
constinit XString::XStringStorage XString::sEmptyStorage{ sEmptyText, 1, 1, 2 };
constinit XString::XStringStorage XString::sDotStorage{ sDotText, 2, 2, 2 };
constinit XString::XStringStorage XString::sNewLineStorage{ sNewLineText, 2, 2, 2 };
constinit const XString XString::kEmptyString( &XString::sEmptyStorage );
constinit const XString XString::kDotString( &XString::sDotStorage );
constinit const XString XString::kNewLineString( &XString::sNewLineStorage );

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr SSize64 XString::kNotFound;
constexpr USize64 XString::kToEnd;

XString::XString( const char* str ) : XString()
{
    XAssert( str );
    CopyFromPtr( str, std::strlen( str ) );
}

XString::XString( const unsigned char* str ) : XString()
{
    XAssert( str );
    CopyFromPtr( reinterpret_cast<const char*>( str + 1 ), str[0] );
}

XString::XString( const wchar_t* str ) : XString()
{
    XAssert( str );
    CopyFromPtr( str, std::char_traits<wchar_t>::length( str ) );
}

XString::XString( const std::wstring& inText ) : XString()
{
    CopyFromPtr( inText.data(), inText.size() );
}

XString::XString( const std::string& inText ) : XString()
{
    CopyFromPtr( inText.data(), inText.size() );
}

XString::XString( std::string_view inText ) : XString()
{
    CopyFromPtr( inText.data(), inText.size() );
}

XString::XString( char inCharacter ) : XString()
{
    CopyFromPtr( &inCharacter, 1 );
}

XString::operator std::wstring() const
{
    return WCodePage::AnsiToWide( GetStringView() );
}

XString XString::FromUTF8( std::string_view inText )
{
    return XString( WCodePage::UTF8ToAnsi( inText ) );
}

std::string XString::ToUTF8() const
{
    return WCodePage::AnsiToUTF8( GetStringView() );
}

void XString::GetStr255( unsigned char* outBuffer ) const
{
    const USize64 length = GetLength();
    if ( length > kMaxStr255Length )
        XThrow( kErrorStringTooLong );
    outBuffer[0] = static_cast<unsigned char>( length );
    std::memcpy( outBuffer + 1, GetConstCharPtr(), length );
}

USize64 XString::GetHash() const
{
    constexpr USize64 kTopNibble = 0xF0000000;
    USize64 hash = 0;
    for ( const char* text = GetConstCharPtr(); *text != '\0'; ++text )
    {
        const auto extended = static_cast<SSize64>( static_cast<signed char>( *text ) );
        hash = ( hash << 4 ) + static_cast<USize64>( extended );
        // The hash function of ELF object files, in a 64-bit variable and with sign-extended characters.
        const USize64 top = hash & kTopNibble;
        hash ^= top | ( top >> 24 );
    }
    return hash;
}

void XString::DebugStr() const
{
    WDebugger::Output( GetConstCharPtr() );
}

void XString::CopyFromPtr( const char* ptr, USize64 inCount )
{
    if ( inCount == 0 )
        return AdoptStorage( &sEmptyStorage );
    XAssert( ptr );
    if ( CanReuseStorage( inCount ) )
    {
        // The source may be a part of this string.
        std::memmove( itsStorage->data, ptr, inCount );
        return SetLength( inCount );
    }
    XStringStorage* const storage = NewStorage( inCount );
    std::memcpy( storage->data, ptr, inCount );
    AdoptStorage( storage );
}

void XString::CopyFromPtr( const wchar_t* ptr, USize64 inCount )
{
    if ( inCount == 0 )
        return AdoptStorage( &sEmptyStorage );
    XAssert( ptr );
    if ( inCount > kMaxLength / sizeof( wchar_t ) )
        XThrow( kErrorOutOfMemory );
    try
    {
        // Not written into the storage directly: the number of bytes is known only after the conversion.
        const std::string text = WCodePage::WideToAnsi( std::wstring_view( ptr, inCount ) );
        CopyFromPtr( text.data(), text.size() );
    }
    catch ( const std::bad_alloc& )
    {
        XThrow( kErrorOutOfMemory );
    }
}

XString& XString::operator+=( const char* str )
{
    XAssert( str );
    return Append( str, std::strlen( str ) );
}

XString& XString::operator+=( const unsigned char* str )
{
    XAssert( str );
    return Append( reinterpret_cast<const char*>( str + 1 ), str[0] );
}

void XString::Resize( USize64 inLength )
{
    const USize64 commonLength = std::min( GetLength(), inLength );
    if ( !CanReuseStorage( inLength ) )
    {
        XStringStorage* const storage = NewStorage( inLength );
        std::memcpy( storage->data, itsStorage->data, commonLength );
        AdoptStorage( storage );
    }
    std::memset( itsStorage->data + commonLength, 0, inLength - commonLength );
    SetLength( inLength );
}

void XString::LoadStringA( std::uint32_t inResourceID )
{
    const auto text = WStringTable::Load( inResourceID );
    if ( !text || text->empty() )
        XThrow( kErrorNoResource );
    *this = *text;
}

XString& XString::Upper()
{
    CopyStorageForWrite();
    std::transform( itsStorage->data, itsStorage->data + GetLength(), itsStorage->data, XTextScan::ToUpper );
    return *this;
}

XString& XString::Lower()
{
    CopyStorageForWrite();
    std::transform( itsStorage->data, itsStorage->data + GetLength(), itsStorage->data, XTextScan::ToLower );
    return *this;
}

XString& XString::Truncate( USize64 inCount, USize64 inStart )
{
    const USize64 length = GetLength();
    const USize64 start = std::min( inStart, length );
    const USize64 count = std::min( inCount, length - start );
    // Nothing to cut off: shared storage stays shared.
    if ( start == 0 && count == length )
        return *this;
    if ( start == 0 && CanReuseStorage( count ) )
        SetLength( count );
    else
        CopyFromPtr( itsStorage->data + start, count );
    // A NUL in the middle ends the text for most users, so nothing may follow it.
    if ( count > 0 )
        ClearFromNul( itsStorage->data, count );
    return *this;
}

XString& XString::StripFirst( USize64 inCount )
{
    const USize64 stripped = std::min( inCount, GetLength() );
    return Truncate( GetLength() - stripped, stripped );
}

XString& XString::StripLast( USize64 inCount )
{
    return Truncate( GetLength() - std::min( inCount, GetLength() ) );
}

XString& XString::Strip( XStringStripOptions inOptions, char whichChar )
{
    XAssert( whichChar != '\0' );
    const std::string_view text = GetStringView();
    USize64 begin = 0;
    USize64 end = text.size();
    if ( inOptions & kStripLeading )
        begin = std::min( text.find_first_not_of( whichChar ), end );
    if ( inOptions & kStripTrailing )
        end = std::max( text.find_last_not_of( whichChar ) + 1, begin );
    return Truncate( end - begin, begin );
}

XString& XString::StripRepeatedChars( char inCharacter )
{
    CopyStorageForWrite();
    char* const begin = itsStorage->data;
    const auto isRepeated = [inCharacter]( char inFirst, char inSecond )
    { return inFirst == inCharacter && inSecond == inCharacter; };
    const char* const end = std::unique( begin, begin + GetLength(), isRepeated );
    SetLength( static_cast<USize64>( end - begin ) );
    return *this;
}

XString& XString::ConvertNewlines( const XString& inNewline )
{
    const std::string_view text = GetStringView();
    XString result;
    USize64 done = 0;
    for ( USize64 end; ( end = text.find_first_of( "\r\n", done ) ) != text.npos; )
    {
        result += text.substr( done, end - done );
        result += inNewline;
        done = end + ( text.substr( end, 2 ) == "\r\n" ? 2 : 1 );
    }
    result += text.substr( done );
    return *this = std::move( result );
}

USize64 XString::Replace( const XString& inFrom, const XString& inTo )
{
    // Holds the storage: `inFrom` and `inTo` may be this string.
    const XString source( *this );
    XString result;
    USize64 replacements = 0;
    USize64 done = 0;
    for ( SSize64 found; ( found = source.Find( inFrom, true, done ) ) != kNotFound; ++replacements )
    {
        const auto index = static_cast<USize64>( found );
        result.Append( source.GetConstCharPtr() + done, index - done );
        result += inTo;
        done = index + inFrom.GetLength();
    }
    if ( replacements > 0 )
    {
        result.Append( source.GetConstCharPtr() + done, source.GetLength() - done );
        *this = std::move( result );
    }
    return replacements;
}

XString::XStringStorage* XString::NewStorage( USize64 inLength, USize64 inRoom )
{
    if ( inRoom > kMaxLength )
        XThrow( kErrorOutOfMemory );
    // The characters follow the header in the same block: one allocation for each text.
    void* const block = std::malloc( sizeof( XStringStorage ) + inRoom + 1 );
    if ( !block )
        XThrow( kErrorOutOfMemory );
    char* const data = static_cast<char*>( block ) + sizeof( XStringStorage );
    data[inLength] = '\0';
    return new ( block ) XStringStorage{ data, inLength + 1, inRoom + 1, 1 };
}

void XString::FreeStorage( XStringStorage* inStorage ) noexcept
{
    std::free( inStorage );
}

void XString::CopySharedStorage()
{
    const XStringStorage* const storage = itsStorage;
    XAssert( storage );
    XStringStorage* const copy = NewStorage( storage->size - 1 );
    std::memcpy( copy->data, storage->data, storage->size );
    AdoptStorage( copy );
}

void XString::AdoptStorage( XStringStorage* inStorage ) noexcept
{
    UnreferenceStorage();
    itsStorage = inStorage;
}

bool XString::CanReuseStorage( USize64 inLength ) const noexcept
{
    constexpr USize64 kSmall = 64;
    const USize64 capacity = itsStorage->capacity;
    // At least about a quarter of the storage is used; small storages are always kept.
    return !IsShared() && inLength < capacity && capacity / 4 <= inLength + kSmall;
}

XString& XString::AppendToNewStorage( const char* inText, USize64 inLength )
{
    if ( inLength == 0 )
        return *this;
    const USize64 oldLength = GetLength();
    if ( inLength > kMaxLength - oldLength )
        XThrow( kErrorOutOfMemory );
    const USize64 newLength = oldLength + inLength;
    const USize64 grown = std::min( 2 * itsStorage->capacity, kMaxLength );
    XStringStorage* const storage =
        NewStorage( newLength, IsShared() ? newLength : std::max( newLength, grown ) );
    std::memcpy( storage->data, itsStorage->data, oldLength );
    std::memcpy( storage->data + oldLength, inText, inLength ); // may lie in the storage given up below
    AdoptStorage( storage );
    return *this;
}
