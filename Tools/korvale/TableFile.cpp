#include "TableFile.h"

#include "Core/XErrorNumbers.h"
#include "Core/XException.h"
#include "Core/XFileStream.h"
#include "Core/XMemStream.h"
#include "Pivot/XPivotColumn.h"
#include "StructureWalk.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <ostream>
#include <stdexcept>

void WriteTableFile( const XPivotTable& inTable, WFile& ioFile )
{
    // By way of memory, because a table goes back to fill in lengths and a file may be a device that cannot.
    XMemStream stream;
    stream.SetByteOrder( inTable.GetPreferredByteOrder() );
    stream.WriteStreamInfo();
    stream.WriteObject( inTable );
    ioFile.WriteAt( 0, stream.GetData(), stream.GetLength() );
}

namespace
{
std::unique_ptr<XPivotTable> ReadTable( const std::filesystem::path& inPath )
{
    XFileStream stream( inPath );
    stream.ReadStreamInfo();
    std::unique_ptr<XStorable> object( stream.ReadObject( XPivotColumn::kRefuseOuterRuns ) );
    auto* const table = dynamic_cast<XPivotTable*>( object.get() );
    if ( !table || !stream.IsAtEOF() )
        XThrow( kErrorStreamCorrupted );
    object.release();
    return std::unique_ptr<XPivotTable>( table );
}

/// What the file's first bytes show it to be, if that is no table.
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

/// Where the damage is that an error of that number speaks of.
std::string DescribeDamage( const std::filesystem::path& inPath, std::uint32_t inNumber )
{
    std::ostream none( nullptr );
    XFileStream stream( inPath );
    const auto damage = StructureWalk( stream, none ).Walk();
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
            "a pipe or device, not a file: a table is read in any order (expected a table file)" );
}
