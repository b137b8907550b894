#include "Images/WTIFFDirectory.h"

#include "Images/WImageFile.h"

#include <algorithm>
#include <bit>

// An entry has a tag, a type, a count and four bytes (eight in BigTIFF), which are the values if they fit and
// otherwise the offset of the values. A directory is read in one piece with what follows it, where most
// writers put its values; other values are read when they are asked for, and no more of them than the caller
// wants. Opening thousands of files consists of little else than these reads. Types that are unknown are kept as entries, since a
// tag that nobody asks for does no harm; numbers are taken from entries of any integer type, because writers
// disagree.

namespace
{
/// Exactly the bytes of that place; WImageError when the file, of that size, has not got them.
std::string
ReadFile( const WFile& inFile, std::uint64_t inFileSize, std::uint64_t inPosition, std::uint64_t inCount )
{
    // In this form neither sum nor difference can overflow.
    if ( inPosition > inFileSize || inCount > inFileSize - inPosition )
        throw WImageError(
            "it is cut off: " + std::to_string( inCount ) + " bytes are missing at offset " +
            std::to_string( inPosition ) );
    std::string bytes( inCount, '\0' );
    bytes.resize( inFile.ReadAt( inPosition, bytes.data(), inCount ) );
    if ( bytes.size() != inCount )
        throw WImageError( "it became shorter while it was read" );
    return bytes;
}

std::uint64_t
GetNumber( std::string_view inBytes, std::uint64_t inStart, std::uint64_t inSize, bool inSwapped )
{
    const auto isBigEndian = ( std::endian::native == std::endian::big ) != inSwapped;
    std::uint64_t number = 0;
    for ( std::uint64_t i = 0; i < inSize; ++i )
    {
        const auto at = inStart + ( isBigEndian ? i : inSize - 1 - i );
        number = number << 8 | static_cast<unsigned char>( inBytes[at] );
    }
    return number;
}

/// Bytes of one value of a type; 0 for a type that is unknown.
std::uint64_t GetTypeSize( std::uint16_t inType )
{
    static constexpr std::uint8_t kSizes[] = { 0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8 };
    return inType < std::size( kSizes ) ? kSizes[inType] : 0;
}

constexpr std::uint16_t kByte = 1, kASCII = 2, kShort = 3, kLong = 4, kRational = 5, kUndefined = 7,
                        kLong8 = 16, kOffset8 = 18;
constexpr std::uint64_t kReadAhead = 2048;    // Bytes of a directory and the values behind it.
constexpr std::uint64_t kMostEntries = 65536; // Each has a 16-bit number of its own.
} // namespace

WTIFFHeader WTIFFHeader::Read( const WFile& inFile )
{
    const auto size = inFile.GetSize();
    const auto start = ReadFile( inFile, size, 0, 8 );
    WTIFFHeader header;
    header.isSwapped = ( start[0] == 'M' ) == ( std::endian::native == std::endian::little );
    header.isBig = GetNumber( start, 2, 2, header.isSwapped ) == 43;
    const auto offsetSize = header.isBig ? GetNumber( start, 4, 2, header.isSwapped ) : 8;
    if ( offsetSize != 8 )
        throw WImageError( "its offsets have " + std::to_string( offsetSize ) + " bytes (expected 8)" );
    header.firstDirectory = header.isBig ? GetNumber( ReadFile( inFile, size, 8, 8 ), 0, 8, header.isSwapped )
                                         : GetNumber( start, 4, 4, header.isSwapped );
    return header;
}

WTIFFDirectory::WTIFFDirectory( const WFile& inFile, const WTIFFHeader& inHeader, std::uint64_t inOffset )
    : itsFile( inFile ), itsHeader( inHeader ), itsOffset( inOffset ), itsFileSize( inFile.GetSize() )
{
    const std::uint64_t countSize = itsHeader.isBig ? 8 : 2;
    const std::uint64_t entrySize = itsHeader.isBig ? 20 : 12;
    const std::uint64_t offsetSize = itsHeader.isBig ? 8 : 4;

    const auto ahead = std::min( kReadAhead, itsFileSize - std::min( itsOffset, itsFileSize ) );
    itsBytes = ReadFile( itsFile, itsFileSize, itsOffset, std::max( ahead, countSize ) );
    const auto count = ::GetNumber( itsBytes, 0, countSize, itsHeader.isSwapped );
    // Otherwise a damaged count would make the product below overflow.
    if ( count > kMostEntries )
        throw WImageError( "the directory at offset " + std::to_string( itsOffset ) + " is damaged" );

    const auto end = countSize + count * entrySize;
    itsSize = end + offsetSize;
    if ( itsBytes.size() < itsSize )
        itsBytes = ReadFile( itsFile, itsFileSize, itsOffset, itsSize );
    itsEntries.reserve( count );
    for ( std::uint64_t i = 0; i < count; ++i )
        AddEntry( countSize + i * entrySize );
    itsNextOffset = ::GetNumber( itsBytes, end, offsetSize, itsHeader.isSwapped );
}

/// Tags should be unique; where they are not, the first one counts.
const WTIFFDirectory::Entry* WTIFFDirectory::Find( Tag inTag ) const
{
    const auto found = std::ranges::find( itsEntries, inTag, &Entry::tag );
    return found == itsEntries.end() ? nullptr : &*found;
}

void WTIFFDirectory::AddEntry( std::uint64_t inStart )
{
    const std::uint64_t wordSize = itsHeader.isBig ? 8 : 4;
    const auto get = [&]( std::uint64_t inPosition, std::uint64_t inSize )
    { return ::GetNumber( itsBytes, inStart + inPosition, inSize, itsHeader.isSwapped ); };
    Entry entry;
    entry.tag = static_cast<std::uint16_t>( get( 0, 2 ) );
    entry.type = static_cast<std::uint16_t>( get( 2, 2 ) );
    entry.count = get( 4, wordSize );

    const auto size = GetTypeSize( entry.type );
    const auto value = 4 + wordSize;
    // The values themselves are in the entry if they fit, padded at the end in either byte order.
    const auto isInEntry = size != 0 && entry.count <= wordSize / size;
    entry.position = isInEntry ? itsOffset + inStart + value : get( value, wordSize );
    itsEntries.push_back( entry );
}

std::string WTIFFDirectory::ReadBytes( std::uint64_t inPosition, std::uint64_t inCount ) const
{
    const auto start = inPosition - itsOffset;
    const auto isAtHand =
        inPosition >= itsOffset && start <= itsBytes.size() && inCount <= itsBytes.size() - start;
    return isAtHand ? itsBytes.substr( start, inCount )
                    : ReadFile( itsFile, itsFileSize, inPosition, inCount );
}

std::string WTIFFDirectory::ReadValues( const Entry& inEntry, std::uint64_t inCount ) const
{
    const auto size = GetTypeSize( inEntry.type );
    if ( inCount == 0 || size == 0 || inCount > itsFileSize / size )
        throw WImageError( "the directory at offset " + std::to_string( itsOffset ) + " is damaged" );
    return ReadBytes( inEntry.position, inCount * size );
}

std::uint64_t
WTIFFDirectory::GetValue( const Entry& inEntry, const std::string& inBytes, std::uint64_t inIndex ) const
{
    switch ( inEntry.type )
    {
    case kByte:
    case kShort:
    case kLong:
    case kLong8:
    case kOffset8:
    {
        const auto size = GetTypeSize( inEntry.type );
        return ::GetNumber( inBytes, inIndex * size, size, itsHeader.isSwapped );
    }
    default:
        throw WImageError( "the directory at offset " + std::to_string( itsOffset ) + " is damaged" );
    }
}

std::uint64_t WTIFFDirectory::GetCount( Tag inTag ) const
{
    const auto* const entry = Find( inTag );
    return entry ? entry->count : 0;
}

std::vector<std::uint64_t> WTIFFDirectory::GetNumbers( Tag inTag, std::uint64_t inMost ) const
{
    const auto* const entry = Find( inTag );
    if ( !entry )
        return {};

    const auto count = std::min( entry->count, inMost );
    const auto bytes = ReadValues( *entry, count );
    std::vector<std::uint64_t> numbers( count );
    for ( std::uint64_t i = 0; i < count; ++i )
        numbers[i] = GetValue( *entry, bytes, i );
    return numbers;
}

std::uint64_t WTIFFDirectory::GetNumber( Tag inTag, std::uint64_t inDefault ) const
{
    const auto* const entry = Find( inTag );
    return entry ? GetValue( *entry, ReadValues( *entry, 1 ), 0 ) : inDefault;
}

std::uint32_t WTIFFDirectory::GetExtent( Tag inTag, std::uint32_t inDefault ) const
{
    return static_cast<std::uint32_t>( std::min<std::uint64_t>( GetNumber( inTag, inDefault ), UINT32_MAX ) );
}

double WTIFFDirectory::GetFraction( Tag inTag ) const
{
    const auto* const entry = Find( inTag );
    if ( !entry || entry->type != kRational )
        return 0;
    const auto bytes = ReadValues( *entry, 1 );
    const auto above = static_cast<double>( ::GetNumber( bytes, 0, 4, itsHeader.isSwapped ) );
    const auto below = static_cast<double>( ::GetNumber( bytes, 4, 4, itsHeader.isSwapped ) );
    return below > 0 ? above / below : 0;
}

std::vector<std::string> WTIFFDirectory::GetTexts( Tag inTag, std::uint64_t inMost ) const
{
    std::vector<std::string> texts;
    std::uint64_t bytes = 0;
    const auto add = [&]( const Entry& inEntry )
    {
        if ( inEntry.count == 0 ||
             ( inEntry.type != kASCII && inEntry.type != kByte && inEntry.type != kUndefined ) )
            return;
        if ( inEntry.count > inMost - bytes )
            throw WImageError(
                "tag " + std::to_string( inTag ) + " has a text of " + std::to_string( inEntry.count ) +
                " bytes (at most " + std::to_string( inMost ) + ")" );
        bytes += inEntry.count;
        auto text = ReadValues( inEntry, inEntry.count );
        text.resize( std::min( text.find( '\0' ), text.size() ) );
        if ( !text.empty() )
            texts.push_back( std::move( text ) );
    };
    for ( const auto& entry : itsEntries )
        if ( entry.tag == inTag )
            add( entry );
    return texts;
}
