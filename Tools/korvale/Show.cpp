#include "Show.h"

#include "Core/XFileStream.h"
#include "StructureWalk.h"
#include "TableFile.h"
#include "TableText.h"

#include <CLI/CLI.hpp>

CLI::App* Show::Declare( CLI::App& ioProgram )
{
    auto* const command = ioProgram.add_subcommand( "show", "Prints a table that korvale measure wrote." );
    command->footer(
        "--structure also walks damaged files: it prints what makes sense, and then where and why the rest\n"
        "does not (exit status 1)." );
    command->add_option( "TABLE", itsTable, "Table file" )->type_name( "" )->required();
    auto* const csv = command->add_flag( "--csv", itsAsCSV, "As CSV, the same as measure writes" );
    command
        ->add_flag(
            "--structure", itsStructure, "The stream's header, objects and fields with their offsets" )
        ->excludes( csv );
    return command;
}

int Show::Run( Terminal& ioTerminal )
{
    try
    {
        if ( itsStructure )
        {
            XFileStream stream( PathFromUTF8( itsTable ) );
            const auto damage = StructureWalk( stream, ioTerminal.out ).Walk();
            if ( !damage.empty() )
                throw std::runtime_error( "the file is damaged " + damage );
            return kSuccess;
        }
        const auto table = ReadTableFile( PathFromUTF8( itsTable ) );
        if ( itsAsCSV )
            WriteCSV( *table, [&]( std::string_view inText ) { ioTerminal.out << inText; } );
        else
            PrintTable( *table, ioTerminal.out );
        return kSuccess;
    }
    catch ( ... )
    {
        ioTerminal.out.flush();
        ReportFailure( ioTerminal, itsTable, DescribeCurrentException() );
        return kFailure;
    }
}
