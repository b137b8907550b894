#include "Program/ShowCommand.h"

#include "Core/Streams/XFileStream.h"
#include "Jobs/XProgress.h"
#include "Program/CommandLine.h"
#include "Program/TableOutputs.h"
#include "Support/Failure.h"
#include "Support/FilePaths.h"
#include "Tables/StructurePrinter.h"
#include "Tables/TableFile.h"
#include "Tables/TableText.h"
#include "Terminal/ProgressDisplay.h"
#include "Terminal/Session.h"

void ShowCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain( "--structure also reads damaged files: it prints what can be read, then where\n"
                       "and why the rest cannot (exit status 1).\n"
                       "\n"
                       "Exit status: 0, 1 after a failure, 2 for wrong usage, 130 when interrupted." );
    inOptions.Add( "TABLE", itsTable, "Table file" ).Takes( "" ).Required();
    inOptions.AddFlag( "--csv", itsAsCSV, "Print as CSV" );
    inOptions.AddFlag( "--structure", itsStructure, "Print objects and fields with offsets" )
        .Excludes( "--csv" );
    inOptions.AddFlag( "-q,--quiet", itsIsQuiet, "No progress" );
}

int ShowCommand::Run( Session& ioSession )
{
    if ( itsIsQuiet )
        ioSession.progress.Silence();
    try
    {
        if ( itsStructure )
            ShowStructure( ioSession );
        else
            ShowTable( ioSession );
        return kSuccess;
    }
    catch ( ... )
    {
        const auto failure = DescribeCurrentException();
        if ( failure.IsUserAbort() )
            throw;
        ioSession.out.flush();
        ioSession.ReportFailure( itsTable, failure );
        return kFailure;
    }
}

void ShowCommand::ShowStructure( Session& ioSession ) const
{
    CheckIsTableFile( PathFromUTF8( itsTable ) );
    XFileStream stream( PathFromUTF8( itsTable ) );
    const auto damage = StructurePrinter( stream, ioSession.out ).Print();
    if ( !damage.empty() )
        throw std::runtime_error( "the file is damaged " + damage );
}

void ShowCommand::ShowTable( Session& ioSession ) const
{
    XProgress progress( 2, XProgress::kProgressSteps, kProgressDelayMs );
    progress.SetTitle( "Showing" );
    progress.SetMessage( XString::FromUTF8( itsTable ) );
    const auto table = ReadTableFile( PathFromUTF8( itsTable ) );
    progress.Increment();
    if ( !itsAsCSV )
        return PrintTable( *table, ioSession );
    if ( ioSession.isOutTerminal )
        ioSession.progress.Silence();
    WriteCSV( *table, WorkerLimit( 0 ), [&]( std::string_view inText ) { ioSession.out << inText; } );
}
