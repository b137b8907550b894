#pragma once

#include "Outputs/OutputFiles.h"
#include "Pivot/Tables/XPivotTable.h"
#include "Support/WorkerLimit.h"

#include <string>
#include <vector>

class CommandOptions;

class Session;

/// The options for files that a table is written to, and the code that writes them.
class TableOutputs
{
public:
    /// Adds -o and --csv.
    void Declare( const CommandOptions& inOptions );

    /// The names of the requested files.
    std::vector<std::string> GetNames() const;

    /// The requested files, for callers that write other files together with them. The table must outlive
    /// them.
    std::vector<OutputFile>
    GetFiles( const XPivotTable& inTable, WorkerLimit inLimit = WorkerLimit( 0 ) ) const;

    /// Writes the requested files; if there are none, prints the table.
    void WriteOrPrint( const XPivotTable& inTable, Session& ioSession ) const;

    /// Warns of columns whose stored contents were lost by a change of rows and will be missing in the table
    /// file. `inHadContents` is the result of ListUnknownContents before the change.
    void WarnOfLostContents(
        const XPivotTable& inTable, const std::vector<bool>& inHadContents, Session& ioSession ) const;

private:
    std::string itsTable;
    std::string itsCSV;
};

/// For each column, whether it is of an unknown class and still has its stored contents.
std::vector<bool> ListUnknownContents( const XPivotTable& inTable );

/// A CSV file of the table, which must outlive it.
OutputFile MakeCSVOutput( const std::string& inName, const XPivotTable& inTable, WorkerLimit inLimit );

/// Prints the table in aligned columns.
void PrintTable( const XPivotTable& inTable, Session& ioSession );
