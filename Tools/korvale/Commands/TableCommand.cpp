#include "Commands/TableCommand.h"

#include "Jobs/XProgress.h"
#include "Options/CommandLine.h"
#include "Outputs/OutputFiles.h"
#include "Support/Failure.h"
#include "Support/FilePaths.h"
#include "Tables/TableFile.h"
#include "Terminal/ProgressDisplay.h"
#include "Terminal/Session.h"

void TableCommand::DeclareTable( const CommandOptions& inOptions )
{
    inOptions.Add( "TABLE", itsTable, "Table file" ).Takes( "" ).Required();
    inOptions.AddFlag( "-q,--quiet", itsIsQuiet, "No progress" );
}

CommandFiles TableCommand::GetFiles() const
{
    return { { itsTable }, GetOutputNames() };
}

int TableCommand::Run( Session& ioSession )
{
    SilenceIfAsked( ioSession );
    CheckOutputFiles( GetOutputNames() );
    XProgress progress( 2, XProgress::kProgressSteps, kProgressDelayMS );
    progress.SetTitle( GetTitle() );
    progress.SetMessage( XString::FromUTF8( itsTable ) );
    std::unique_ptr<XPivotTable> table;
    if ( !Try( ioSession, [&] { table = ReadTableFile( PathFromUTF8( itsTable ) ); } ) )
        return kFailure;
    progress.Increment();
    const auto hadRows = table->GetNumRows() > 0;
    const auto status = RunOnTable( *table, ioSession );
    if ( table->GetNumRows() > 0 || TakesEmptyTables() )
        return status;
    ioSession.ReportFailure(
        itsTable, { hadRows ? "no row passes the conditions" : "the table has no rows" } );
    return kFailure;
}

void TableCommand::SilenceIfAsked( Session& ioSession ) const
{
    if ( itsIsQuiet )
        ioSession.progress.Silence();
}

bool TableCommand::Try( Session& ioSession, const std::function<void()>& inAction ) const
{
    return Command::Try( ioSession, itsTable, inAction );
}
