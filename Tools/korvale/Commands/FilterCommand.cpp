#include "Commands/FilterCommand.h"

#include "Commands/Command.h"
#include "Jobs/XProgress.h"
#include "Options/CommandLine.h"
#include "Tables/ColumnNames.h"

void FilterCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( RowConditions::GetHelp() ) + "\n" + kColumnNamesHelp + "\n" +
        "Output\n"
        "  Without -o and --csv the matching rows are printed. If no row matches, the\n"
        "  files are written without rows.\n"
        "\n"
        "Examples\n"
        "  korvale filter cells.table --where \"Area >= 12.5\" --csv large.csv\n"
        "  korvale filter cells.table --where \"Name contains control\" -o control.table\n"
        "\n"
        "Exit status: 0, 1 after a failure or when no row is left, 2 for\n"
        "wrong usage, 130 when interrupted." );
    DeclareTable( inOptions );
    itsConditions.DeclareWithAny( inOptions );
    itsOutputs.Declare( inOptions );
}

void FilterCommand::Check() const
{
    itsConditions.Check();
}

int FilterCommand::RunOnTable( XPivotTable& ioTable, Session& ioSession )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    const auto hadContents = ListUnknownContents( ioTable );
    itsConditions.FilterRows( ioTable );
    itsOutputs.WarnOfLostContents( ioTable, hadContents, ioSession );
    progress.Increment();
    itsOutputs.WriteOrPrint( ioTable, ioSession );
    return kSuccess;
}
