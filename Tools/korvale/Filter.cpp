#include "Filter.h"

#include "ColumnNames.h"
#include "Jobs/XProgress.h"

#include <CLI/CLI.hpp>

CLI::App* Filter::Declare( CLI::App& ioProgram )
{
    auto* const command =
        ioProgram.add_subcommand( "filter", "Keeps the rows of a table that pass conditions." );
    command->footer(
        std::string( RowConditions::GetHelp() ) + "\n" + kColumnNamesHelp +
        "\nWithout -o and --csv the rows are printed. Where no row passes, what is written has none.\n"
        "Exit status: 0, 1 after a failure or when no row is left, 2 for wrong usage, 130 when interrupted." );
    DeclareTable( *command );
    itsConditions.DeclareWithAny( *command );
    itsOutputs.Declare( *command );
    return command;
}

void Filter::Check() const
{
    itsConditions.Check();
}

int Filter::RunOnTable( XPivotTable& ioTable, Session& ioSession )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    const auto hadContents = ListUnknownContents( ioTable );
    itsConditions.FilterRows( ioTable );
    itsOutputs.WarnOfLostContents( ioTable, hadContents, ioSession );
    progress.Increment();
    itsOutputs.WriteOrPrint( ioTable, ioSession );
    return kSuccess;
}
