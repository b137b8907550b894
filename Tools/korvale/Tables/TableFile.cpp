#include "Tables/TableFile.h"

#include "Core/Errors/XException.h"
#include "Core/Streams/XFileStream.h"
#include "Ground/XErrorNumbers.h"
#include "Tables/StructurePrinter.h"
#include "Tables/TableStream.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <ostream>
#include <stdexcept>
#include <vector>

// A stored table contains the lengths of its parts before the parts. The writer of a table writes a
// placeholder, continues, and seeks back to fill in the length. Output files may be pipes and devices, where
// that is impossible, so the table is written twice: the first pass writes nothing but records what is filled
// in (Patches), the second one writes front to back and replaces the placeholders. Both passes produce the
// same bytes, because a table is not changed meanwhile.
//
// Reading fails with a number. Only then is the file examined further, for a message: first whether it is
// another kind of file, then, for a damaged table, at which offset (StructurePrinter reads it once more).

namespace
{
/// Bytes that a table overwrites when it knows its lengths, by position.
using Patches = std::map<std::uint64_t, std::vector<std::uint8_t>>;

/// Writes a file sequentially, as devices require, although its writer goes back to fill in lengths: a first
/// pass without a file records the filled-in bytes, and a second pass writes them in place.
class FrontToBackStream : public XStream
{
public:
    FrontToBackStream( Patches& ioPatches, WFile* ioFile )
        : XStream( XFileStream::kDefaultBufferSize, false, true ), itsPatches( ioPatches ),
          itsNext( ioPatches.begin() ), itsFile( ioFile )
    {
    }

protected:
    void FillBuffer( SSize64, void*, USize64 ) override { XThrow( kErrorEndOfFile ); }
    SSize64 GetExtentSelf() override { return static_cast<SSize64>( itsEnd ); }
    void SetExtentSelf( SSize64 ) override { XThrow( kErrorBadParameters ); }

    void DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count ) override
    {
        const auto* const bytes = static_cast<const std::uint8_t*>( buffer );
        const auto position = static_cast<std::uint64_t>( inPosition );
        // The buffer was drained before the seek, so a rewrite lies entirely in the part that has been
        // written.
        if ( position < itsEnd )
        {
            XAssert( position + count <= itsEnd );
            if ( !itsFile )
                itsPatches[position].assign( bytes, bytes + count );
            return;
        }
        XAssert( position == itsEnd );
        itsEnd += count;
        if ( itsFile )
            WritePatched( position, bytes );
    }

private:
    Patches& itsPatches;
    Patches::const_iterator itsNext;
    WFile* const itsFile;
    std::uint64_t itsEnd = 0;

    /// Writes the bytes from that position to the end, with the recorded bytes in their places.
    void WritePatched( std::uint64_t inPosition, const std::uint8_t* inBytes )
    {
        auto at = inPosition;
        const auto write = [&]( std::uint64_t inEnd, const std::uint8_t* inSource )
        {
            itsFile->WriteAt( at, inSource, inEnd - at );
            at = inEnd;
        };
        for ( ; itsNext != itsPatches.end() && itsNext->first < itsEnd; ++itsNext )
        {
            const auto& [first, patch] = *itsNext;
            if ( at < first )
                write( first, inBytes + ( at - inPosition ) );
            write( std::min( first + patch.size(), itsEnd ), patch.data() + ( at - first ) );
            if ( first + patch.size() > itsEnd )
                return; // The rest of it comes with the next bytes.
        }
        if ( at < itsEnd )
            write( itsEnd, inBytes + ( at - inPosition ) );
    }
};
} // namespace

void WriteTableFile( const XPivotTable& inTable, WFile& ioFile )
{
    Patches patches;
    for ( auto* const file : { static_cast<WFile*>( nullptr ), &ioFile } )
    {
        FrontToBackStream stream( patches, file );
        stream.SetByteOrder( inTable.GetPreferredByteOrder() );
        stream.WriteStreamInfo();
        stream.WriteObject( inTable );
        stream.Flush();
    }
}

namespace
{
std::unique_ptr<XPivotTable> ReadTable( const std::filesystem::path& inPath )
{
    XFileStream stream( inPath );
    return ReadTable( stream );
}

/// The kind of another file according to its first bytes.
std::string DescribeOtherFile( const std::filesystem::path& inPath )
{
    std::array<char, 256> bytes;
    std::ifstream file( inPath, std::ios::binary );
    file.read( bytes.data(), bytes.size() );
    const std::string_view start( bytes.data(), static_cast<std::size_t>( file.gcount() ) );
    using namespace std::string_view_literals;
    for ( const auto mark : { "II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv } )
        if ( start.starts_with( mark ) )
            return "a TIFF image";
    if ( start.starts_with( "\x89PNG" ) )
        return "a PNG image";
    if ( start.starts_with( "PK\3\4" ) )
        return "a zip archive";
    const auto isText = []( char inByte ) {
        return static_cast<unsigned char>( inByte ) >= ' ' || inByte == '\n' || inByte == '\r' ||
            inByte == '\t';
    };
    return start.size() > 8 && std::ranges::all_of( start, isText ) ? "a text file" : "";
}

bool IsDamage( std::uint32_t inNumber )
{
    const auto numbers = {
        kErrorStreamCorrupted, kErrorEndOfFile, kErrorClassNotRegistered, kErrorNoCreationFunction };
    return std::ranges::find( numbers, inNumber ) != numbers.end();
}

/// The message about a damaged table: the place where reading fails, and the number of the error.
std::string DescribeDamage( const std::filesystem::path& inPath, std::uint32_t inNumber )
{
    std::ostream none( nullptr );
    XFileStream stream( inPath );
    const auto damage = StructurePrinter( stream, none ).Print();
    return "the table is damaged" + ( damage.empty() ? "" : " " + damage ) + " (" +
        std::to_string( inNumber ) + ")";
}
} // namespace

std::unique_ptr<XPivotTable> ReadTableFile( const std::filesystem::path& inPath )
{
    CheckIsTableFile( inPath );
    std::uint32_t number = 0;
    try
    {
        return ReadTable( inPath );
    }
    catch ( const XException& exception )
    {
        number = exception.GetErrorNumber();
        if ( number == kErrorCancelled )
            throw;
        if ( const auto kind = DescribeOtherFile( inPath ); !kind.empty() )
            throw std::runtime_error(
                kind + ", not a table (expected a file that korvale measure -o wrote)" );
        if ( !IsDamage( number ) )
            throw;
    }
    throw std::runtime_error( DescribeDamage( inPath, number ) );
}

void CheckIsTableFile( const std::filesystem::path& inPath )
{
    std::error_code error; // Where there is no such file, the stream says so.
    const auto status = std::filesystem::status( inPath, error );
    if ( std::filesystem::is_fifo( status ) || std::filesystem::is_socket( status ) ||
         std::filesystem::is_character_file( status ) )
        throw std::runtime_error(
            "a pipe or device, not a file: tables need random access (expected a table file)" );
}
