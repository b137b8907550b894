#include "Show.h"

#include "Core/XFileStream.h"
#include "Jobs/XProgress.h"
#include "Session.h"
#include "StructureWalk.h"
#include "TableFile.h"
#include "TableOutputs.h"
#include "TableText.h"

#include <CLI/CLI.hpp>

CLI::App* Show::Declare( CLI::App& ioProgram )
{
    auto* const command = ioProgram.add_subcommand( "show", "Prints a table that korvale measure wrote." );
    command->footer(
        "--structure also walks damaged files: it prints what makes sense, and then where and why the rest\n"
        "does not (exit status 1).\n"
        "Exit status: 0, 1 after a failure, 2 for wrong usage, 130 when interrupted." );
    command->add_option( "TABLE", itsTable, "Table file" )->type_name( "" )->required();
    auto* const csv = command->add_flag( "--csv", itsAsCSV, "As CSV, the same as measure writes" );
    command
        ->add_flag(
            "--structure", itsStructure, "The stream's header, objects and fields with their offsets" )
        ->excludes( csv );
    command->add_flag( "-q,--quiet", itsIsQuiet, "No progress" );
    return command;
}

int Show::Run( Session& ioSession )
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

void Show::ShowStructure( Session& ioSession ) const
{
    CheckIsTableFile( PathFromUTF8( itsTable ) );
    XFileStream stream( PathFromUTF8( itsTable ) );
    const auto damage = StructureWalk( stream, ioSession.out ).Walk();
    if ( !damage.empty() )
        throw std::runtime_error( "the file is damaged " + damage );
}

void Show::ShowTable( Session& ioSession ) const
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
