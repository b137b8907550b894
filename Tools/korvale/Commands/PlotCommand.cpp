#include "Commands/PlotCommand.h"

#include "Commands/Command.h"
#include "Jobs/XProgress.h"
#include "Options/CommandLine.h"
#include "Options/OptionChecks.h"
#include "Outputs/OutputFiles.h"
#include "Plots/XHistogramPlot.h"
#include "Plots/XScatterPlot.h"
#include "Support/InQuotes.h"
#include "Support/WrongUsage.h"
#include "Tables/ColumnKind.h"
#include "Tables/ColumnNames.h"
#include "Terminal/Session.h"

namespace
{
constexpr double kDotsPerInch = 300;
constexpr double kPointsPerMillimetre = 72 / 25.4;

void CheckColumns( const char* inOption, const std::string& inList, std::size_t inCount )
{
    if ( !inList.empty() && SplitColumnNames( inList ).size() != inCount )
        throw WrongUsage(
            std::string( inOption ) +
            ( inCount == 1 ? " takes one column" : " takes two columns, separated by a comma" ) );
}

/// The columns' names, for a sentence.
std::string ListNames( const std::vector<XPlotColumn>& inColumns )
{
    std::string names;
    for ( const auto& [column, isLogarithmic] : inColumns )
        names += ( names.empty() ? "" : " and " ) + InQuotes( GetColumnName( column ) ) +
            ( isLogarithmic ? " greater than 0" : "" );
    return names;
}
} // namespace

void PlotCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( RowConditions::GetHelp() ) + "\n" + kColumnNamesHelp + "\n" +
        "Plots\n"
        "  Histogram bins follow the rule of Freedman and Diaconis (Scott's where the\n"
        "  quartiles are equal), at most 200; integers get bins of integer width.\n"
        "  --by colours groups; of more than 7 groups the 7 largest have colours, the\n"
        "  others are grey. Rows whose value is missing, infinite or undefined, or not\n"
        "  above 0 on a logarithmic axis, are left out and counted on standard error.\n"
        "  PNG files have 300 dots per inch. SVG files store text as text.\n"
        "\n"
        "Examples\n"
        "  korvale plot cells.table --histogram Area -o areas.svg\n"
        "  korvale plot cells.table --scatter \"Area,Mean C1\" --by Name -o cells.png\n"
        "\n"
        "Exit status: 0, 1 after a failure or when there is nothing to draw, 2 for\n"
        "wrong usage, 130 when interrupted." );
    DeclareTable( inOptions );
    inOptions.Add( "--histogram", itsHistogram, "Draw the distribution of a column" ).Takes( "COLUMN" );
    inOptions.Add( "--scatter", itsScatter, "Draw a point per row: first column x, second y" )
        .Takes( "COLUMN,COLUMN" )
        .Excludes( "--histogram" );
    inOptions.Add( "--by", itsGroups, "Column to group by, one colour per group" ).Takes( "COLUMN" );
    itsConditions.Declare( inOptions );
    inOptions.Add( "-o,--output", itsOutput, "File to write, .svg or .png" )
        .Takes( "FILE" )
        .Required()
        .Check( CheckFileName );
    const auto figure = inOptions.Under( "Figure" );
    figure.Add( "--title", itsPlotTitle, "Title above the plot" ).Takes( "TEXT" );
    figure.Add( "--bins", itsBins, "Number of histogram bins [chosen by the data]" )
        .Takes( "N" )
        .IsBetween( 1u, 1000u )
        .Excludes( "--scatter" );
    figure.AddFlag( "--log-x", itsIsLogarithmicX, "Logarithmic x axis" );
    figure.AddFlag( "--log-y", itsIsLogarithmicY, "Logarithmic y axis" );
    for ( const auto& [name, length] :
          { std::pair( "--width", &itsWidth ), std::pair( "--height", &itsHeight ) } )
        figure.Add( name, *length, "Size of the whole plot" )
            .Takes( "MM" )
            .IsBetween( 40.0, 500.0 )
            .ShowsDefault();
}

void PlotCommand::Check() const
{
    if ( itsHistogram.empty() && itsScatter.empty() )
        throw WrongUsage( "one of --histogram and --scatter is required" );
    CheckColumns( "--histogram", itsHistogram, 1 );
    CheckColumns( "--scatter", itsScatter, 2 );
    CheckColumns( "--by", itsGroups, 1 );
    itsConditions.Check();
    if ( !IsSVG() && !HasEnding( itsOutput, ".png" ) )
        throw WrongUsage( "invalid plot file " + itsOutput + " (expected a name that ends in .svg or .png)" );
}

bool PlotCommand::IsSVG() const
{
    return HasEnding( itsOutput, ".svg" );
}

int PlotCommand::RunOnTable( XPivotTable& ioTable, Session& ioSession )
{
    XProgress progress( 3, XProgress::kProgressSteps );
    itsConditions.FilterRows( ioTable );
    progress.Increment();
    const auto columns = FindColumns( ioTable );
    const auto* const groups = FindGroups( ioTable );
    if ( ioTable.GetNumRows() == 0 )
        return kFailure;
    auto settings = GetSettings();
    if ( groups )
        settings.groupTitle = GetColumnName( *groups );
    const auto data = XReadPlotData( ioTable.GetNumRows(), columns, groups );
    progress.Increment();
    if ( data.groupOfRow.empty() )
        throw std::runtime_error( "nothing to draw: no row has a finite number in " + ListNames( columns ) );
    const auto bytes = Draw( columns, data, settings );
    WriteOutputFiles(
        { { itsOutput, [&]( WFile& ioFile ) { ioFile.WriteAt( 0, bytes.data(), bytes.size() ); } } } );
    if ( data.leftOut > 0 )
        ioSession.ReportInfo(
            std::to_string( data.leftOut ) + " of " + std::to_string( ioTable.GetNumRows() ) +
            " rows left out: no finite number in " + ListNames( columns ) );
    return kSuccess;
}

XPlotSettings PlotCommand::GetSettings() const
{
    XPlotSettings settings;
    settings.width = itsWidth * kPointsPerMillimetre;
    settings.height = itsHeight * kPointsPerMillimetre;
    settings.title = itsPlotTitle;
    settings.isLogarithmicX = itsIsLogarithmicX;
    settings.isLogarithmicY = itsIsLogarithmicY;
    if ( itsBins > 0 )
        settings.bins = itsBins;
    return settings;
}

std::vector<XPlotColumn> PlotCommand::FindColumns( const XPivotTable& inTable ) const
{
    std::vector<XPlotColumn> columns;
    for ( const auto index : FindColumnsByName( inTable, itsScatter.empty() ? itsHistogram : itsScatter ) )
    {
        const auto& column = inTable.GetColumn( index );
        if ( !HoldsNumbers( column ) )
            throw WrongUsage( "column " + InQuotes( GetColumnName( column ) ) + " holds no numbers" );
        columns.push_back( { column, columns.empty() ? itsIsLogarithmicX : itsIsLogarithmicY } );
    }
    return columns;
}

const XPivotColumn* PlotCommand::FindGroups( const XPivotTable& inTable ) const
{
    return itsGroups.empty() ? nullptr
                             : &inTable.GetColumn( FindColumnsByName( inTable, itsGroups ).front() );
}

std::string PlotCommand::Draw(
    const std::vector<XPlotColumn>& inColumns, const XPlotData& inData,
    const XPlotSettings& inSettings ) const
{
    const auto canvas = IsSVG() ? WCanvas::MakeSVG( inSettings.width, inSettings.height )
                                : WCanvas::MakePNG( inSettings.width, inSettings.height, kDotsPerInch );
    const auto title = GetColumnName( inColumns[0].column );
    if ( inColumns.size() == 1 )
        XDrawHistogram( inData, title, inSettings, *canvas );
    else
        XDrawScatterPlot( inData, title, GetColumnName( inColumns[1].column ), inSettings, *canvas );
    return canvas->Encode();
}
