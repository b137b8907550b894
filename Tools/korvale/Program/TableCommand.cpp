#include "Program/TableCommand.h"

#include "Jobs/XProgress.h"
#include "Outputs/OutputFiles.h"
#include "Program/CommandLine.h"
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
    if ( itsIsQuiet )
        ioSession.progress.Silence();
    CheckOutputFiles( GetOutputNames() );
    XProgress progress( 2, XProgress::kProgressSteps, kProgressDelayMs );
    progress.SetTitle( GetTitle() );
    progress.SetMessage( XString::FromUTF8( itsTable ) );
    const auto table = ReadTable( ioSession );
    progress.Increment();
    if ( !table )
        return kFailure;
    const auto hadRows = table->GetNumRows() > 0;
    const auto status = RunOnTable( *table, ioSession );
    if ( table->GetNumRows() > 0 )
        return status;
    ioSession.ReportFailure(
        itsTable, { hadRows ? "no row passes the conditions" : "the table has no rows" } );
    return kFailure;
}

/// Null when it cannot be read, which is then reported.
std::unique_ptr<XPivotTable> TableCommand::ReadTable( Session& ioSession ) const
{
    try
    {
        return ReadTableFile( PathFromUTF8( itsTable ) );
    }
    catch ( ... )
    {
        const auto failure = DescribeCurrentException();
        if ( failure.IsUserAbort() )
            throw;
        ioSession.ReportFailure( itsTable, failure );
        return nullptr;
    }
}
