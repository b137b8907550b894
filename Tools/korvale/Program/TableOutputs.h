#pragma once

#include "Outputs/OutputFiles.h"
#include "Pivot/Tables/XPivotTable.h"
#include "Support/WorkerLimit.h"

#include <string>
#include <vector>

class CommandOptions;

class Session;

/// The options for files that a table is written to, and the writing.
class TableOutputs
{
public:
    /// Adds -o and --csv.
    void Declare( const CommandOptions& inOptions );

    /// The names of the files that the user asked for.
    std::vector<std::string> GetNames() const;

    /// The files asked for, for who writes others together with them. The table outlives them.
    std::vector<OutputFile>
    GetFiles( const XPivotTable& inTable, WorkerLimit inLimit = WorkerLimit( 0 ) ) const;

    /// Writes the files asked for; where none is, prints the table.
    void WriteOrPrint( const XPivotTable& inTable, Session& ioSession ) const;

    /// Warns the user of columns whose contents a table had before its rows were changed, where the table file will be
    /// without them. `inHadContents` is what ListUnknownContents gave before.
    void WarnOfLostContents(
        const XPivotTable& inTable, const std::vector<bool>& inHadContents, Session& ioSession ) const;

private:
    std::string itsTable;
    std::string itsCSV;
};

/// For each column, whether it is of an unknown class and has the contents that it was stored with.
std::vector<bool> ListUnknownContents( const XPivotTable& inTable );

/// A CSV file of the table, which outlives it.
OutputFile MakeCSVOutput( const std::string& inName, const XPivotTable& inTable, WorkerLimit inLimit );

/// Prints the table in aligned columns.
void PrintTable( const XPivotTable& inTable, Session& ioSession );
