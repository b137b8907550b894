#pragma once

#include "Commands/Command.h"
#include "Pivot/Tables/XPivotTable.h"

/// A subcommand that reads a stored table and processes it.
class TableCommand : public Command
{
public:
    CommandFiles GetFiles() const final;
    int Run( Session& ioSession ) override;

protected:
    /// Adds the common options: the table file and --quiet.
    void DeclareTable( const CommandOptions& inOptions );

    /// The names of the requested output files, as UTF-8.
    virtual std::vector<std::string> GetOutputNames() const = 0;

    /// The title of its progress: "Sorting".
    virtual const char* GetTitle() const = 0;

    /// Processes the table in place; return value and exceptions are those of Run. If no row is left, this is
    /// reported and the command fails, unless TakesEmptyTables.
    virtual int RunOnTable( XPivotTable& ioTable, Session& ioSession ) = 0;
    virtual bool TakesEmptyTables() const { return false; }

    const std::string& GetTableName() const { return itsTable; }
    void SilenceIfAsked( Session& ioSession ) const;

    /// Returns whether the action succeeded. A failure is reported as one of the table; the user's abort
    /// (1001) is thrown.
    bool Try( Session& ioSession, const std::function<void()>& inAction ) const;

private:
    std::string itsTable;
    bool itsIsQuiet = false;
};
