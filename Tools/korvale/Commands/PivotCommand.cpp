#include "Commands/PivotCommand.h"

#include "Commands/Command.h"
#include "Jobs/XProgress.h"
#include "Options/CommandLine.h"
#include "Pivot/XPivotText.h"
#include "Support/InQuotes.h"
#include "Support/WrongUsage.h"
#include "Tables/ColumnKind.h"
#include "Tables/ColumnNames.h"
#include "Tables/TableText.h"
#include "Terminal/Session.h"

#include <algorithm>
#include <cmath>

// Columns are resolved before rows are filtered, so a wrong name is reported even for a table without
// matching rows. The size of the result is computed before the pivot itself, from two pivots that only count:
// the number of groups of --columns, and of rows; their product is the number of cells.

namespace
{
/// False for identifiers, and for texts none of which is a number.
bool HasNumbers( const XPivotColumn& inColumn )
{
    const auto kind = GetColumnKind( inColumn );
    if ( kind != ColumnKind::kText )
        return HoldsNumbers( inColumn ) || kind == ColumnKind::kTime;

    constexpr std::uint32_t kRowsAtOnce = 4096;
    XVector<double> scratch;
    for ( std::uint32_t row = 0; row < inColumn.GetColumnSize(); row += kRowsAtOnce )
    {
        const auto block = inColumn.GetFloatBlock( row, kRowsAtOnce, scratch );
        for ( std::uint32_t i = 0; i < block.count; ++i )
            if ( block.exists[i] && !std::isnan( block.values[i] ) )
                return true;
    }
    return inColumn.IsEmptyColumn();
}

/// The page keys of the rows of a page, without its number: "Name: a.tif, Timepoint: 3".
std::string MakePageTitle( const XPivotTable& inPivot, std::uint32_t inRow, std::uint32_t inKeyCount )
{
    std::string title;
    for ( std::uint32_t i = 1; i < inKeyCount; ++i )
    {
        const auto& column = inPivot.GetColumn( i );
        title += ( i > 1 ? ", " : "" ) + GetColumnName( column ) + ": " +
            ( column.DoesDataExist( inRow ) ? XPivotText::ToUTF8Line( column.GetDataString( inRow ) )
                                            : "N/A" );
    }
    return title;
}

/// Each page below its title.
void PrintPages( const XPivotTable& inPivot, std::uint32_t inKeyCount, Session& ioSession )
{
    if ( ioSession.isOutTerminal )
        ioSession.progress.Silence();
    const auto getPage = [&]( std::uint32_t inRow ) { return inPivot.GetColumn( 0 ).GetDataFloat( inRow ); };
    std::uint32_t end = 0;
    for ( std::uint32_t row = 0; row < inPivot.GetNumRows(); row = end )
    {
        while ( end < inPivot.GetNumRows() && getPage( end ) == getPage( row ) )
            ++end;
        ioSession.out << ( row > 0 ? "\n" : "" ) << MakePageTitle( inPivot, row, inKeyCount ) << '\n';
        AlignRows( inPivot, row, end, inKeyCount ).Print( ioSession.out );
    }
}

XPivotTable::XColumnIndices FindColumnsIfNamed( const XPivotTable& inTable, const std::string& inList )
{
    return inList.empty() ? XPivotTable::XColumnIndices() : FindColumnsByName( inTable, inList );
}
} // namespace

void PivotCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( kAggregatesHelp ) + "\n" + RowConditions::GetHelp() + "\n" + kColumnNamesHelp + "\n" +
        "Result\n"
        "  One row per combination of values in the --rows columns, sorted by them;\n"
        "  missing values form one group, which comes first. --columns gives each value\n"
        "  result columns of its own, --pages a pivot of its own, in files numbered by\n"
        "  the first column. Without -o and --csv the result is printed.\n"
        "\n"
        "Examples\n"
        "  korvale pivot cells.table --rows Name --values Area --with count,mean,sd\n"
        "  korvale pivot cells.table --rows Timepoint --columns Name \\\n"
        "      --values \"Mean C1\" --with mean --csv means.csv\n"
        "\n"
        "Exit status: 0, 1 after a failure or when no row is left, 2 for wrong usage,\n"
        "130 when interrupted." );
    DeclareTable( inOptions );
    const auto addList = [&]( const char* inName, std::string& outList, const char* inHelp )
    { return inOptions.Add( inName, outList, inHelp ).Takes( "COLUMN[,COLUMN...]" ); };
    addList( "--rows", itsRows, "Group by these, one row per group [all rows]" );
    addList( "--columns", itsColumns, "Group also by these, result columns per value" );
    addList( "--pages", itsPages, "Make one pivot per value of these columns" );
    addList( "--values", itsValues, "Columns to aggregate" ).Required();
    inOptions.Add( "--with", itsAggregates, "Aggregates to compute" ).Takes( "NAME[,NAME...]" ).Required();
    itsConditions.Declare( inOptions );
    itsOutputs.Declare( inOptions );
}

void PivotCommand::Check() const
{
    ParseAggregates( itsAggregates );
    itsConditions.Check();
}

int PivotCommand::RunOnTable( XPivotTable& ioTable, Session& ioSession )
{
    XProgress progress( 3, XProgress::kProgressSteps );
    const auto plan = MakePlan( ioTable );
    CheckValues( ioTable, plan );
    itsConditions.FilterRows( ioTable );
    CheckSize( ioTable, plan );
    progress.Increment();
    const auto pivot = MakePivot( ioTable, plan );
    progress.Increment();
    if ( plan.pages.empty() || !itsOutputs.GetNames().empty() )
        itsOutputs.WriteOrPrint( pivot, ioSession );
    else
        PrintPages( pivot, static_cast<std::uint32_t>( plan.pages.size() + 1 ), ioSession );
    return kSuccess;
}

PivotCommand::Plan PivotCommand::MakePlan( const XPivotTable& inTable ) const
{
    return {
        FindColumnsIfNamed( inTable, itsPages ), FindColumnsIfNamed( inTable, itsRows ),
        FindColumnsIfNamed( inTable, itsColumns ), FindColumnsByName( inTable, itsValues ) };
}

void PivotCommand::CheckValues( const XPivotTable& inTable, const Plan& inPlan ) const
{
    const auto aggregates = ParseAggregates( itsAggregates );
    if ( std::ranges::none_of( aggregates, &Aggregate::IsArithmetic ) )
        return;
    for ( const auto index : inPlan.values )
        if ( !HasNumbers( inTable.GetColumn( index ) ) )
            throw WrongUsage(
                "column " + InQuotes( GetColumnName( inTable.GetColumn( index ) ) ) +
                " holds no numbers: only count and value apply to text" );
}

/// Rejects tables with very many columns: they are not readable, and computing them takes long.
void PivotCommand::CheckSize( const XPivotTable& inTable, const Plan& inPlan ) const
{
    constexpr std::uint64_t kMostColumns = 10000;
    if ( inPlan.columns.empty() )
        return;
    const XPivotTableAccumulator count( XPivotTableAccumulator::kAccumulateCount );
    const auto countGroups = [&]( const XPivotTable::XColumnIndices& inKeys ) -> std::uint64_t {
        return inTable.Pivot( inKeys, {}, { { inPlan.values.front(), count } } ).GetNumRows();
    };

    const auto results = inPlan.values.size() * ParseAggregates( itsAggregates ).size();
    // A pivot by these keys alone has one row for each of the groups.
    const auto columns = countGroups( inPlan.columns );
    if ( columns * results > kMostColumns )
        throw WrongUsage(
            "--columns has " + std::to_string( columns ) + " groups; they would make more than " +
            std::to_string( kMostColumns ) + " result columns" );
    auto keys = inPlan.pages;
    keys.insert( keys.end(), inPlan.rows.begin(), inPlan.rows.end() );
    if ( const auto rows = countGroups( keys ); columns * rows > XPivotTable::kMaxPivotCells )
        throw WrongUsage(
            "too many cells: " + std::to_string( rows ) + " rows for " + std::to_string( columns ) +
            " groups of --columns" );
}

XPivotTable PivotCommand::MakePivot( const XPivotTable& inTable, const Plan& inPlan ) const
{
    const auto accumulator = MakeAccumulator( ParseAggregates( itsAggregates ) );
    XVector<XPivotTable::XPivotValue> values;
    for ( const auto index : inPlan.values )
        values.push_back( { index, accumulator } );
    auto pivot = inPlan.pages.empty()
        ? inTable.Pivot( inPlan.rows, inPlan.columns, values )
        : inTable.PagePivot( inPlan.pages, inPlan.rows, inPlan.columns, values );
    return PickResults( std::move( pivot ), inPlan );
}

std::uint32_t PivotCommand::Plan::GetKeyCount() const
{
    const auto pageColumns = pages.empty() ? 0 : pages.size() + 1; // Their number comes first.
    return static_cast<std::uint32_t>( pageColumns + rows.size() );
}

/// The results that are asked for, in the order in which they are: an accumulator may give more, in its own.
XPivotTable PivotCommand::PickResults( XPivotTable inPivot, const Plan& inPlan ) const
{
    const auto aggregates = ParseAggregates( itsAggregates );
    const auto accumulator = MakeAccumulator( aggregates );
    std::vector<std::unique_ptr<XPivotColumn>> columns;
    while ( inPivot.GetNumColumns() > 0 )
        columns.push_back( inPivot.RemoveColumn( inPivot.GetNumColumns() - 1 ) );
    std::ranges::reverse( columns );

    XPivotTable picked;
    const auto keyCount = inPlan.GetKeyCount();
    for ( std::uint32_t i = 0; i < keyCount; ++i )
        picked.AddColumn( std::move( columns[i] ) );
    for ( std::size_t first = keyCount; first < columns.size(); first += accumulator.GetNumValues() )
        for ( const auto& aggregate : aggregates )
            picked.AddColumn( std::move( columns[first + FindPlace( accumulator, aggregate )] ) );
    return picked;
}
