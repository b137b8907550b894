#include "Outputs/ZipWriter.h"

#include "Ground/XFail.h"
#include "Support/LittleEndian.h"

#include <algorithm>
#include <zlib.h>

// The zip format, as far as an archive of uncompressed entries needs it: for each entry a local header and
// its bytes, then a central directory with an entry for each of them, then the end record. Sizes and offsets
// have 32 bits, the number of entries 16. Numbers that do not fit are stored as all ones, and their 64-bit
// values follow in an extra field of the entry (id 1, only the numbers that were replaced, in the order size,
// compressed size, offset) or in a second end record with a locator (zip64). Local headers of large entries
// must hold both sizes.
//
// All entries have the date of 1 January 1980, the first one that the format can express, so equal contents
// make equal archives.

namespace
{
constexpr std::uint32_t kHeader = 0x04034B50, kDirectoryEntry = 0x02014B50;
constexpr std::uint32_t kEnd64 = 0x06064B50, kLocator64 = 0x07064B50, kEnd = 0x06054B50;
constexpr std::uint16_t kVersion = 20, kVersion64 = 45; // Of the format that a reader has to know.
constexpr std::uint16_t kNameIsUTF8 = 1 << 11;
constexpr std::uint16_t kStored = 0;
constexpr std::uint32_t kNoTime = 0x00210000; // Midnight on 1 January 1980: the same archive every time.
constexpr std::uint16_t kExtra64 = 1;

/// Replaces numbers that are too large for a field and are stored elsewhere.
constexpr std::uint32_t kElsewhere = 0xFFFFFFFF;
constexpr std::uint16_t kManyEntries = 0xFFFF;

bool IsLarge( std::uint64_t inNumber )
{
    return inNumber >= kElsewhere;
}

std::uint32_t Limit( std::uint64_t inNumber )
{
    return static_cast<std::uint32_t>( std::min<std::uint64_t>( inNumber, kElsewhere ) );
}

template<class... TNumbers>
void Append( std::string& ioBytes, TNumbers... inNumbers )
{
    ( AppendLittleEndian( ioBytes, inNumbers ), ... );
}

/// The extra field for these numbers; empty if there are none.
std::string MakeExtra64( const std::vector<std::uint64_t>& inNumbers )
{
    std::string extra;
    if ( inNumbers.empty() )
        return extra;
    Append( extra, kExtra64, static_cast<std::uint16_t>( 8 * inNumbers.size() ) );
    for ( const auto number : inNumbers )
        Append( extra, number );
    return extra;
}
} // namespace

std::uint32_t ZipWriter::AddToCRC( std::uint32_t inCRC, std::string_view inBytes )
{
    return static_cast<std::uint32_t>(
        crc32_z( inCRC, reinterpret_cast<const unsigned char*>( inBytes.data() ), inBytes.size() ) );
}

void ZipWriter::BeginEntry( const std::string& inUTF8Name, std::uint64_t inSize, std::uint32_t inCRC )
{
    XAssert( itsPosition == itsEntryEnd );
    itsEntries.push_back( { inUTF8Name, inSize, itsPosition, inCRC } );
    Put( MakeHeader( itsEntries.back() ) );
    itsEntryEnd = itsPosition + inSize;
}

void ZipWriter::Append( std::string_view inBytes )
{
    Put( inBytes );
}

void ZipWriter::Finish()
{
    XAssert( itsPosition == itsEntryEnd );
    const auto directory = itsPosition;
    for ( const auto& entry : itsEntries )
        Put( MakeDirectoryEntry( entry ) );
    Put( MakeEnd( directory, itsPosition - directory ) );
}

void ZipWriter::Put( std::string_view inBytes )
{
    itsWrite( inBytes );
    itsPosition += inBytes.size();
}

/// From the version that a reader needs to the length of the name.
std::string ZipWriter::MakeCommonHeader( const Entry& inEntry, bool inNeeds64Bits )
{
    const auto size = Limit( inEntry.size );
    std::string header;
    ::Append( header, inNeeds64Bits ? kVersion64 : kVersion, kNameIsUTF8, kStored, kNoTime );
    ::Append( header, inEntry.crc, size, size, static_cast<std::uint16_t>( inEntry.name.size() ) );
    return header;
}

std::string ZipWriter::MakeHeader( const Entry& inEntry )
{
    const auto extra = IsLarge( inEntry.size ) ? MakeExtra64( { inEntry.size, inEntry.size } ) : "";
    std::string header;
    ::Append( header, kHeader );
    header += MakeCommonHeader( inEntry, !extra.empty() );
    ::Append( header, static_cast<std::uint16_t>( extra.size() ) );
    return header + inEntry.name + extra;
}

std::string ZipWriter::MakeDirectoryEntry( const Entry& inEntry )
{
    std::vector<std::uint64_t> large;
    if ( IsLarge( inEntry.size ) )
        large = { inEntry.size, inEntry.size };
    if ( IsLarge( inEntry.offset ) )
        large.push_back( inEntry.offset );
    const auto extra = MakeExtra64( large );

    constexpr std::uint16_t kNoComment = 0, kFirstDisk = 0, kNoAttributes = 0;
    constexpr std::uint32_t kNoSystemAttributes = 0;
    std::string bytes;
    ::Append( bytes, kDirectoryEntry, kVersion64 );
    bytes += MakeCommonHeader( inEntry, !extra.empty() );
    ::Append( bytes, static_cast<std::uint16_t>( extra.size() ), kNoComment, kFirstDisk, kNoAttributes );
    ::Append( bytes, kNoSystemAttributes, Limit( inEntry.offset ) );
    return bytes + inEntry.name + extra;
}

std::string ZipWriter::MakeEnd( std::uint64_t inDirectory, std::uint64_t inDirectorySize ) const
{
    const std::uint64_t count = itsEntries.size();
    std::string end;
    if ( count >= kManyEntries || IsLarge( inDirectory ) || IsLarge( inDirectorySize ) )
    {
        // The size of the record without its signature and this field.
        constexpr std::uint64_t kRestOfEnd64 = 44;
        constexpr std::uint32_t kThisDisk = 0, kDisks = 1;
        ::Append( end, kEnd64, kRestOfEnd64, kVersion64, kVersion64, kThisDisk, kThisDisk );
        ::Append( end, count, count, inDirectorySize, inDirectory );
        ::Append( end, kLocator64, kThisDisk, inDirectory + inDirectorySize, kDisks );
    }
    constexpr std::uint16_t kThisDisk = 0, kNoComment = 0;
    const auto shortCount = static_cast<std::uint16_t>( std::min<std::uint64_t>( count, kManyEntries ) );
    ::Append( end, kEnd, kThisDisk, kThisDisk, shortCount, shortCount );
    ::Append( end, Limit( inDirectorySize ), Limit( inDirectory ), kNoComment );
    return end;
}
