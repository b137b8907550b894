#include "Tables/NumpyArrays.h"

#include "Core/Strings/XUTF8Text.h"
#include "Jobs/XChunks.h"
#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Columns/XPivotReferenceColumn.h"
#include "Pivot/Columns/XPivotSInt32Column.h"
#include "Pivot/Columns/XPivotTimeColumn.h"
#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/Columns/XPivotUUIDColumn.h"
#include "Pivot/XPivotText.h"
#include "Support/InQuotes.h"
#include "Support/LittleEndian.h"
#include "Tables/ColumnKind.h"
#include "Tables/ColumnNames.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <stdexcept>

// The arrays of a table in the .npy format, version 1.0: the magic number, two bytes of version, the length
// of the header (16 bits, little endian), a Python dictionary as text padded with blanks so that the data
// begin at a multiple of 64 bytes, and then the items.
//
// numpy has no missing values for integers and text, so each column gets a boolean array `NAME.mask` as
// numpy.ma expects it (true: missing). References become the numbers that users see, with their identifiers
// in `NAME.uuid`. Times are signed microseconds since 1970 (datetime64[us]); the smallest integer is NaT.
// Texts have a fixed width of 32-bit characters, that of the longest text.
//
// No array is held in memory: an array is a function that appends items of a range of rows, called block by
// block (NumpyArchive).

namespace
{
/// Gives each column a unique name.
class UniqueNames
{
public:
    std::string Take( const XPivotColumn& inColumn )
    {
        const auto name = MakeFileName( inColumn );
        for ( auto& number = itsLastNumbers[name];; )
        {
            const auto numbered = ++number == 1 ? name : name + " " + std::to_string( number );
            // All three at once: a column that is itself called "Area.mask" must not collide with the mask of
            // "Area".
            if ( Take( { numbered, numbered + ".mask", numbered + ".uuid" } ) )
                return numbered;
        }
    }

private:
    std::set<std::string> itsTaken;
    std::map<std::string, std::uint32_t> itsLastNumbers;

    /// In an archive slashes would make folders.
    static std::string MakeFileName( const XPivotColumn& inColumn )
    {
        constexpr std::size_t kMostCharacters = 1000;
        auto name = XPivotText::ToUTF8Line( inColumn.GetDisplayName().Truncate( kMostCharacters ) );
        std::ranges::replace_if(
            name, []( char inByte ) { return inByte == '/' || inByte == '\\'; }, '_' );
        return name;
    }

    /// False when one of them is taken.
    bool Take( const std::vector<std::string>& inNames )
    {
        const auto isTaken = [&]( const auto& inName ) { return itsTaken.contains( inName ); };
        if ( std::ranges::any_of( inNames, isTaken ) )
            return false;
        itsTaken.insert( inNames.begin(), inNames.end() );
        return true;
    }
};

/// An array with one item per row of the column; `inAppendItem( row, bytes )` appends an item.
template<class TAppendItem>
NumpyArray MakeArray(
    const XPivotColumn& inColumn, const std::string& inType, std::uint64_t inItemBytes,
    TAppendItem inAppendItem )
{
    NumpyArray array;
    array.type = inType;
    array.itemBytes = inItemBytes;
    array.count = inColumn.GetColumnSize();
    array.append = [inAppendItem]( std::uint64_t inFirst, std::uint64_t inEnd, std::string& ioBytes )
    {
        for ( auto row = inFirst; row < inEnd; ++row )
            inAppendItem( static_cast<std::uint32_t>( row ), ioBytes );
    };
    return array;
}

template<class TGetNumber>
NumpyArray MakeNumbers( const XPivotColumn& inColumn, const std::string& inType, TGetNumber inGetNumber )
{
    return MakeArray(
        inColumn, inType, sizeof( inGetNumber( 0 ) ),
        [inGetNumber]( std::uint32_t inRow, std::string& ioBytes )
        { AppendLittleEndian( ioBytes, inGetNumber( inRow ) ); } );
}

template<class TColumn>
NumpyArray MakeValues( const XPivotColumn& inColumn, const std::string& inType )
{
    const auto& column = static_cast<const TColumn&>( inColumn );
    return MakeNumbers(
        inColumn, inType, [&column]( std::uint32_t inRow ) { return column.GetValue( inRow ); } );
}

NumpyArray MakeTimes( const XPivotTimeColumn& inColumn )
{
    XTime unixEpoch( 0 );
    unixEpoch.SetUnixTime( 0 );
    const auto offset = unixEpoch.GetMicroSeconds();
    constexpr auto kNotATime = std::numeric_limits<std::int64_t>::min();
    const auto getTime = [&inColumn, offset]( std::uint32_t inRow )
    {
        // The library counts from another epoch; times too early for the difference become NaT rather than
        // wrap.
        const auto time = inColumn.GetValue( inRow ).GetMicroSeconds();
        return inColumn.DoesDataExist( inRow ) && time > kNotATime + offset ? time - offset : kNotATime;
    };
    return MakeNumbers( inColumn, "<M8[us]", getTime );
}

/// Appends the characters as 32 bits each, filled up with zeros. The text is well-formed UTF-8.
void AppendCharacters( std::string_view inText, std::uint64_t inItemBytes, std::string& ioBytes )
{
    const auto end = ioBytes.size() + inItemBytes;
    for ( std::size_t i = 0; i < inText.size(); )
    {
        const auto lead = static_cast<unsigned char>( inText[i++] );
        std::uint32_t code = lead < 0x80 ? lead
            : lead < 0xE0                ? lead & 0x1F
            : lead < 0xF0                ? lead & 0x0F
                                         : lead & 0x07;
        for ( ; i < inText.size() && ( inText[i] & 0xC0 ) == 0x80; ++i )
            code = code << 6 | ( inText[i] & 0x3F );
        AppendLittleEndian( ioBytes, code );
    }
    ioBytes.resize( end );
}

/// Refuses texts of which one is so long that the room it needs, which all of them get, is mostly wasted.
void CheckTextWidth( const XPivotColumn& inColumn, std::uint64_t inWidth, std::uint64_t inCharacters )
{
    constexpr std::uint64_t kMostWidth = 4 * 1024 * 1024;
    constexpr std::uint64_t kAlwaysAllowed = 256 * 1024 * 1024; // characters
    constexpr std::uint64_t kMostTimes = 16;
    const auto all = inWidth * inColumn.GetColumnSize();
    // Up to kAlwaysAllowed characters any padding is accepted; beyond that, at least a sixteenth must be
    // text.
    if ( inWidth <= kMostWidth && ( all <= kAlwaysAllowed || all / kMostTimes <= inCharacters ) )
        return;
    throw std::runtime_error(
        "column " + InQuotes( GetColumnName( inColumn ) ) + " has a text of " + std::to_string( inWidth ) +
        " characters: numpy pads all texts of a column to the longest (expected at most " +
        std::to_string( kMostWidth ) + ", and texts of similar lengths; write a CSV file instead)" );
}

/// Texts of `inWidth` characters at most; `inGetText( row )` is called for present rows.
template<class TGetText>
NumpyArray MakeTexts( const XPivotColumn& inColumn, std::uint64_t inWidth, TGetText inGetText )
{
    const auto itemBytes = sizeof( std::uint32_t ) * inWidth;
    const auto appendText = [&inColumn, itemBytes, inGetText]( std::uint32_t inRow, std::string& ioBytes )
    {
        const auto text =
            inColumn.DoesDataExist( inRow ) ? XPivotText::ToUTF8( inGetText( inRow ) ) : std::string();
        AppendCharacters( text, itemBytes, ioBytes );
    };
    return MakeArray( inColumn, "<U" + std::to_string( inWidth ), itemBytes, appendText );
}

NumpyArray MakeTexts( const XPivotColumn& inColumn )
{
    std::size_t width = 1; // Of 0 numpy makes an array of another kind.
    std::uint64_t characters = 0;
    const auto visit = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto i = inFirst; i < inEnd; ++i )
            if ( const auto row = static_cast<std::uint32_t>( i ); inColumn.DoesDataExist( row ) )
            {
                const auto count = XCountCharacters( XPivotText::ToUTF8( inColumn.GetDataString( row ) ) );
                width = std::max( width, count );
                characters += count;
            }
    };
    XForEachChunk( inColumn.GetColumnSize(), kTableRowsAtOnce, visit );
    CheckTextWidth( inColumn, width, characters );
    return MakeTexts(
        inColumn, width, [&inColumn]( std::uint32_t inRow ) { return inColumn.GetDataString( inRow ); } );
}

template<class TColumn>
NumpyArray MakeUUIDs( const XPivotColumn& inColumn )
{
    constexpr std::uint64_t kCharacters = 36;
    const auto& column = static_cast<const TColumn&>( inColumn );
    return MakeTexts(
        inColumn, kCharacters,
        [&column]( std::uint32_t inRow ) { return column.GetValue( inRow ).UUIDToString(); } );
}

NumpyArray MakeReferences( const XPivotColumn& inColumn )
{
    const auto& column = static_cast<const XPivotReferenceColumn&>( inColumn );
    return MakeNumbers(
        inColumn, "<u4", [&column]( std::uint32_t inRow ) { return column.GetDataUserVisibleID( inRow ); } );
}

NumpyArray MakeValues( const XPivotColumn& inColumn )
{
    switch ( GetColumnKind( inColumn ) )
    {
    case ColumnKind::kFloat:
        return MakeValues<XPivotFloatColumn>( inColumn, "<f8" );
    case ColumnKind::kSInt32:
        return MakeValues<XPivotSInt32Column>( inColumn, "<i4" );
    case ColumnKind::kUInt32:
        return MakeValues<XPivotUInt32Column>( inColumn, "<u4" );
    case ColumnKind::kReference:
        return MakeReferences( inColumn );
    case ColumnKind::kTime:
        return MakeTimes( static_cast<const XPivotTimeColumn&>( inColumn ) );
    case ColumnKind::kIdentifier:
        return MakeUUIDs<XPivotUUIDColumn>( inColumn );
    default:
        return MakeTexts( inColumn );
    }
}

NumpyArray MakeMask( const XPivotColumn& inColumn )
{
    return MakeNumbers(
        inColumn, "|b1",
        [&inColumn]( std::uint32_t inRow ) { return std::uint8_t( !inColumn.DoesDataExist( inRow ) ); } );
}
} // namespace

std::string NumpyArray::MakeHeader() const
{
    constexpr std::size_t kAlignment = 64;
    const std::string magic( "\x93NUMPY\x01\x00", 8 );
    auto text =
        "{'descr': '" + type + "', 'fortran_order': False, 'shape': (" + std::to_string( count ) + ",), }";
    const auto used = magic.size() + sizeof( std::uint16_t ) + text.size() + 1;
    // `used` counts the newline that ends the header.
    text.append( ( kAlignment - used % kAlignment ) % kAlignment, ' ' );
    text += '\n';

    auto header = magic;
    AppendLittleEndian( header, static_cast<std::uint16_t>( text.size() ) );
    return header + text;
}

std::vector<NumpyArray> MakeNumpyArrays( const XPivotTable& inTable )
{
    std::vector<NumpyArray> arrays;
    UniqueNames names;
    const auto add = [&]( const std::string& inName, NumpyArray inArray )
    {
        inArray.name = inName;
        arrays.push_back( std::move( inArray ) );
    };
    XProgress progress( inTable.GetNumColumns() );
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
    {
        const auto& column = inTable.GetColumn( i );
        const auto name = names.Take( column );
        add( name, MakeValues( column ) );
        add( name + ".mask", MakeMask( column ) );
        if ( GetColumnKind( column ) == ColumnKind::kReference )
            add( name + ".uuid", MakeUUIDs<XPivotReferenceColumn>( column ) );
        progress.Increment();
    }
    return arrays;
}
