#include "Commands/SortCommand.h"

#include "Commands/Command.h"
#include "Jobs/XProgress.h"
#include "Options/CommandLine.h"
#include "Support/ListParser.h"
#include "Tables/ColumnNames.h"

namespace
{
struct SortKey
{
    std::string column;
    XPivotSortDirection direction = kSortAscending;
};

/// A column name, optionally followed by a colon and the direction. Text in quotes is part of the name.
SortKey ParseSortKey( const std::string& inText )
{
    const auto colon = inText.rfind( ':' );
    if ( colon == std::string::npos || colon < FindQuotedEnd( inText ) )
        return { Unquote( inText ) };
    const XString direction( inText.substr( colon + 1 ) );
    const auto isDescending = direction.CaselessEqual( "desc" );
    if ( !isDescending && !direction.CaselessEqual( "asc" ) )
        return { Unquote( inText ) };
    return { Unquote( inText.substr( 0, colon ) ), isDescending ? kSortDescending : kSortAscending };
}

std::vector<SortKey> ParseSortKeys( const std::string& inList )
{
    std::vector<SortKey> keys;
    for ( const auto& item : SplitList( inList ) )
        keys.push_back( ParseSortKey( item ) );
    return keys;
}
} // namespace

void SortCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( kColumnNamesHelp ) + "\n" +
        "Order\n"
        "  Further columns order rows that are equal in the ones before; rows equal in\n"
        "  all keep their order. Numbers go by value, texts in natural order (img2\n"
        "  before img10). Missing numbers and NaN are the smallest; missing integers\n"
        "  sort as 0, missing texts as empty. Without -o and --csv the table is printed.\n"
        "\n"
        "Examples\n"
        "  korvale sort cells.table --by Area:desc\n"
        "  korvale sort cells.table --by Name,Timepoint --csv sorted.csv\n"
        "\n"
        "Exit status: 0, 1 after a failure or for a table without rows, 2 for\n"
        "wrong usage, 130 when interrupted." );
    DeclareTable( inOptions );
    inOptions.Add( "--by", itsKeys, "Columns to sort by; :desc puts the largest first" )
        .Takes( "COLUMN[:desc][,...]" )
        .Required();
    itsOutputs.Declare( inOptions );
}

void SortCommand::Check() const
{
    ParseSortKeys( itsKeys );
}

int SortCommand::RunOnTable( XPivotTable& ioTable, Session& ioSession )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    XVector<XPivotTable::XSortKey> keys;
    for ( const auto& [column, direction] : ParseSortKeys( itsKeys ) )
        keys.push_back( { FindColumnByName( ioTable, column ), direction } );
    const auto hadContents = ListUnknownContents( ioTable );
    ioTable.Sort( keys );
    itsOutputs.WarnOfLostContents( ioTable, hadContents, ioSession );
    progress.Increment();
    itsOutputs.WriteOrPrint( ioTable, ioSession );
    return kSuccess;
}
