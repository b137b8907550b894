#include "Commands/ShowCommand.h"

#include "Core/Streams/XFileStream.h"
#include "Options/CommandLine.h"
#include "Options/TableOutputs.h"
#include "Support/FilePaths.h"
#include "Tables/StructurePrinter.h"
#include "Tables/TableFile.h"
#include "Tables/TableText.h"
#include "Terminal/Session.h"

void ShowCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain( "--structure also reads damaged files: it prints what can be read, then where\n"
                       "and why the rest cannot (exit status 1).\n"
                       "\n"
                       "Exit status: 0, 1 after a failure, 2 for wrong usage, 130 when interrupted." );
    DeclareTable( inOptions );
    inOptions.AddFlag( "--csv", itsAsCSV, "Print as CSV" );
    inOptions.AddFlag( "--structure", itsStructure, "Print objects and fields with offsets" )
        .Excludes( "--csv" );
}

int ShowCommand::Run( Session& ioSession )
{
    if ( !itsStructure )
        return TableCommand::Run( ioSession );
    SilenceIfAsked( ioSession );
    return Try( ioSession, [&] { ShowStructure( ioSession ); } ) ? kSuccess : kFailure;
}

void ShowCommand::ShowStructure( Session& ioSession ) const
{
    const auto path = PathFromUTF8( GetTableName() );
    CheckIsTableFile( path );
    XFileStream stream( path );
    const auto damage = StructurePrinter( stream, ioSession.out ).Print();
    if ( !damage.empty() )
        throw std::runtime_error( "the file is damaged " + damage );
}

int ShowCommand::RunOnTable( XPivotTable& ioTable, Session& ioSession )
{
    return Try( ioSession, [&] { Print( ioTable, ioSession ); } ) ? kSuccess : kFailure;
}

void ShowCommand::Print( const XPivotTable& inTable, Session& ioSession ) const
{
    if ( !itsAsCSV )
        return PrintTable( inTable, ioSession );
    if ( ioSession.isOutTerminal )
        ioSession.progress.Silence();
    WriteCSV( inTable, WorkerLimit( 0 ), [&]( std::string_view inText ) { ioSession.out << inText; } );
}
