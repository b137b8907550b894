#include "Program/FilterCommand.h"

#include "Jobs/XProgress.h"
#include "Program/Command.h"
#include "Program/CommandLine.h"
#include "Tables/ColumnNames.h"

void FilterCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( RowConditions::GetHelp() ) + "\n" + kColumnNamesHelp +
        "\nWithout -o and --csv the rows are printed. Where no row passes, what is written has none.\n"
        "Exit status: 0, 1 after a failure or when no row is left, 2 for wrong usage, 130 when interrupted." );
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
