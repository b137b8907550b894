#include "Tables/ColumnNames.h"

#include "Core/Strings/XNumberText.h"
#include "Pivot/XPivotText.h"
#include "Support/InQuotes.h"
#include "Support/ListParser.h"
#include "Support/WrongUsage.h"

#include <algorithm>
#include <charconv>

// A name is resolved in passes, each of which applies only if the ones before found nothing: the heading as
// it is displayed, the heading regardless of case, then the heading without special characters and with or
// without unit and channel, and last `#N`. So an exact heading is never ambiguous because another column has
// it as its short form, and a column called "#2" is found before the second column. If the deciding pass
// finds several columns, the name is rejected and the candidates are listed with their numbers.

const char* const kColumnNamesHelp =
    "Column names\n"
    "  COLUMN is a heading of korvale show, in any case; unit, channel and\n"
    "  parentheses may be omitted where the name stays unique: \"Area (µm²)\",\n"
    "  \"area um2\" or Area. Names with commas are put in double quotes inside those\n"
    "  of the shell: '\"A, B\"'. #3 is the third column.\n";

namespace
{
using Indices = XPivotTable::XColumnIndices;

/// The text on one line, as written without special characters.
XString Simplify( const XString& inName )
{
    std::string text;
    for ( const auto character : inName.GetStringView() )
        switch ( static_cast<unsigned char>( character ) )
        {
        case 0xB5:
            text += 'u';
            break; // micro
        case 0xB2:
            text += '2';
            break; // squared
        case 0xB3:
            text += '3';
            break; // cubed
        case '(':
        case ')':
            text += ' ';
            break;
        default:
            text += character;
        }
    XString simple( text );
    return simple.Strip().StripRepeatedChars( ' ' );
}

/// Of all combinations of the name with units and channel, or without.
bool HasShortForm( const XPivotColumn& inColumn, const XString& inSimpleName )
{
    const auto& descriptor = inColumn.GetDescriptor();
    for ( const auto& channel : { XString(), descriptor.GetChannelName() } )
        for ( const auto& units : { XString(), descriptor.GetUnits() } )
        {
            const XPivotColumnDescriptor shortened(
                descriptor.GetID(), descriptor.GetColumnName(), channel, units );
            if ( Simplify( shortened.GetDisplayName() ).CaselessEqual( inSimpleName ) )
                return true;
        }
    return false;
}

template<class TPredicate>
Indices CollectColumns( const XPivotTable& inTable, TPredicate inIsMeant )
{
    Indices found;
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
        if ( inIsMeant( inTable.GetColumn( i ) ) )
            found.push_back( i );
    return found;
}

/// The columns that a name may mean; those that it fits best.
Indices FindCandidates( const XPivotTable& inTable, const std::string& inName )
{
    const auto name = XPivotText::FromUTF8( inName ), simpleName = Simplify( name );
    auto found = CollectColumns(
        inTable, [&]( const auto& inColumn ) { return GetColumnName( inColumn ) == inName; } );
    if ( found.empty() )
        found = CollectColumns(
            inTable,
            [&]( const auto& inColumn )
            { return XPivotText::FromUTF8( GetColumnName( inColumn ) ).CaselessEqual( name ); } );
    if ( found.empty() )
        found = CollectColumns(
            inTable, [&]( const auto& inColumn ) { return HasShortForm( inColumn, simpleName ); } );
    return found;
}

/// The column that `#N` names; none for any other text.
Indices FindNumbered( const XPivotTable& inTable, const std::string& inName )
{
    if ( !inName.starts_with( '#' ) )
        return {};
    const auto number = XParseNumber<std::uint32_t>( std::string_view( inName ).substr( 1 ) );
    if ( !number || *number == 0 || *number > inTable.GetNumColumns() )
        return {};
    return { *number - 1 };
}

[[noreturn]] void
RefuseAmbiguous( const XPivotTable& inTable, const std::string& inName, const Indices& inFound )
{
    auto text = "ambiguous column " + InQuotes( inName ) + ": ";
    for ( const auto index : inFound )
        text += ( index == inFound.front() ? "" : " or " ) +
            InQuotes( GetColumnName( inTable.GetColumn( index ) ) ) + " (#" + std::to_string( index + 1 ) +
            ")";
    throw WrongUsage( text );
}

/// True for the area in a table of objects: it is the one measurement that images may lack.
bool IsMissingArea( const XPivotTable& inTable, const XString& inSimpleName )
{
    const auto objects = CollectColumns(
        inTable,
        []( const auto& inColumn ) { return inColumn.GetDescriptor().GetID() == kPivotPixelCount; } );
    return !objects.empty() &&
        ( inSimpleName.CaselessEqual( "Area" ) || inSimpleName.CaselessEqual( "Area um2" ) );
}

/// The nearest of the names, with units and channel or without.
[[noreturn]] void RefuseUnknown( const XPivotTable& inTable, const std::string& inName )
{
    XVector<XString> forms;
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
    {
        const auto& descriptor = inTable.GetColumn( i ).GetDescriptor();
        const XPivotColumnDescriptor plain( descriptor.GetID(), descriptor.GetColumnName(), "", "" );
        // Two forms per column, hence the division by 2 below.
        forms.push_back( Simplify( descriptor.GetDisplayName() ) );
        forms.push_back( Simplify( plain.GetDisplayName() ) );
    }
    const auto simpleName = Simplify( XPivotText::FromUTF8( inName ) );
    if ( IsMissingArea( inTable, simpleName ) )
        throw WrongUsage(
            "unknown column " + InQuotes( inName ) +
            ": the images have no pixel size (korvale measure --pixel-size sets it)" );
    const auto nearest = simpleName.FindClosestLevenshteinMatch( forms, true );
    if ( nearest == XString::kNotFound )
        throw WrongUsage( "unknown column " + InQuotes( inName ) + ": the table has no columns" );
    const auto& column = inTable.GetColumn( static_cast<std::uint32_t>( nearest / 2 ) );
    throw WrongUsage(
        "unknown column " + InQuotes( inName ) + " (did you mean " + InQuotes( GetColumnName( column ) ) +
        "?)" );
}
} // namespace

std::string GetColumnName( const XPivotColumn& inColumn )
{
    return XPivotText::ToUTF8Line( inColumn.GetDisplayName() );
}

std::uint32_t FindColumnByName( const XPivotTable& inTable, const std::string& inName )
{
    auto found = FindCandidates( inTable, inName );
    if ( found.empty() )
        found = FindNumbered( inTable, inName );
    if ( found.empty() )
        RefuseUnknown( inTable, inName );
    if ( found.size() > 1 )
        RefuseAmbiguous( inTable, inName, found );
    return found.front();
}

std::vector<std::string> SplitColumnNames( const std::string& inList )
{
    auto names = SplitList( inList );
    std::ranges::transform( names, names.begin(), Unquote );
    return names;
}

XPivotTable::XColumnIndices FindColumnsByName( const XPivotTable& inTable, const std::string& inList )
{
    Indices columns;
    for ( const auto& name : SplitColumnNames( inList ) )
        columns.push_back( FindColumnByName( inTable, name ) );
    return columns;
}
