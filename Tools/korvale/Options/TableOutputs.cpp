#include "Options/TableOutputs.h"

#include "Jobs/XProgress.h"
#include "Options/CommandLine.h"
#include "Options/OptionChecks.h"
#include "Pivot/Columns/XPivotOpaqueColumn.h"
#include "Support/InQuotes.h"
#include "Tables/ColumnNames.h"
#include "Tables/TableFile.h"
#include "Tables/TableText.h"
#include "Terminal/Session.h"

void TableOutputs::Declare( const CommandOptions& inOptions )
{
    inOptions.Add( "-o,--output", itsTable, "Table file to write" ).Takes( "TABLE" ).Check( CheckFileName );
    inOptions.Add( "--csv", itsCSV, "CSV file to write" ).Takes( "FILE" ).Check( CheckFileName );
}

std::vector<std::string> TableOutputs::GetNames() const
{
    std::vector<std::string> names{ itsTable, itsCSV };
    std::erase( names, "" );
    return names;
}

std::vector<OutputFile> TableOutputs::GetFiles( const XPivotTable& inTable, WorkerLimit inLimit ) const
{
    std::vector<OutputFile> files;
    if ( !itsTable.empty() )
        files.push_back( { itsTable, [&inTable]( WFile& ioFile ) { WriteTableFile( inTable, ioFile ); } } );
    if ( !itsCSV.empty() )
        files.push_back( MakeCSVOutput( itsCSV, inTable, inLimit ) );
    return files;
}

void TableOutputs::WriteOrPrint( const XPivotTable& inTable, Session& ioSession ) const
{
    if ( GetNames().empty() )
        PrintTable( inTable, ioSession );
    else
        WriteOutputFiles( GetFiles( inTable ) );
}

void TableOutputs::WarnOfLostContents(
    const XPivotTable& inTable, const std::vector<bool>& inHadContents, Session& ioSession ) const
{
    const auto hasContents = ListUnknownContents( inTable );
    for ( std::uint32_t i = 0; i < hasContents.size() && !itsTable.empty(); ++i )
        if ( inHadContents[i] && !hasContents[i] )
            ioSession.ReportInfo(
                "column " + InQuotes( GetColumnName( inTable.GetColumn( i ) ) ) + " has no values in " +
                itsTable + ": its type is unknown to this version, so its rows cannot be separated" );
}

std::vector<bool> ListUnknownContents( const XPivotTable& inTable )
{
    std::vector<bool> hasContents;
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
    {
        const auto* const column = dynamic_cast<const XPivotOpaqueColumn*>( &inTable.GetColumn( i ) );
        hasContents.push_back( column && column->HasContents() );
    }
    return hasContents;
}

OutputFile MakeCSVOutput( const std::string& inName, const XPivotTable& inTable, WorkerLimit inLimit )
{
    const auto write = [&inTable, inLimit]( WFile& ioFile )
    {
        std::uint64_t position = 0;
        WriteCSV(
            inTable, inLimit,
            [&]( std::string_view inText )
            {
                ioFile.WriteAt( position, inText.data(), inText.size() );
                position += inText.size();
            } );
    };
    return { inName, write };
}

void PrintTable( const XPivotTable& inTable, Session& ioSession )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    const auto text = AlignTable( inTable );
    progress.Increment();
    // A terminal that shows the table shows no bars meanwhile.
    if ( ioSession.isOutTerminal )
        ioSession.progress.Silence();
    text.Print( ioSession.out );
}
