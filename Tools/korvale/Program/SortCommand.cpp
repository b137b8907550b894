#include "Program/SortCommand.h"

#include "Jobs/XProgress.h"
#include "Program/Command.h"
#include "Program/CommandLine.h"
#include "Support/ListParser.h"
#include "Tables/ColumnNames.h"

namespace
{
struct SortKey
{
    std::string column;
    XPivotSortDirection direction = kSortAscending;
};

/// A column's name, and behind a colon the direction. What stands in quotes is all name.
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
        std::string( kColumnNamesHelp ) +
        "\nThe first column decides, each further one among rows that are equal so far; rows that are equal in all stay\n"
        "in their order. Numbers go by value, texts in natural order (img2 before img10).\n"
        "Missing numbers and NaN are the smallest: they come first, and with :desc last. Missing whole numbers are sorted as\n"
        "0, missing texts as empty ones.\n"
        "Without -o and --csv the table is printed.\n"
        "Exit status: 0, 1 after a failure or for a table without rows, 2 for wrong usage, 130 when interrupted." );
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
