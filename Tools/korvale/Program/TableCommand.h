#pragma once

#include "Pivot/Tables/XPivotTable.h"
#include "Program/Command.h"

#include <functional>

/// A subcommand that does something with a stored table, which it reads first.
class TableCommand : public Command
{
public:
    CommandFiles GetFiles() const final;
    int Run( Session& ioSession ) override;

protected:
    /// Adds what all of them have: the table file and --quiet.
    void DeclareTable( const CommandOptions& inOptions );

    /// The files that the user asked for, as UTF-8.
    virtual std::vector<std::string> GetOutputNames() const = 0;

    /// What the user sees while it works: "Sorting".
    virtual const char* GetTitle() const = 0;

    /// Does the work, on the table itself, and returns and throws what Run does. When it leaves the table without rows,
    /// the user is told and the command fails, unless it takes tables without rows.
    virtual int RunOnTable( XPivotTable& ioTable, Session& ioSession ) = 0;
    virtual bool TakesEmptyTables() const { return false; }

    const std::string& GetTableName() const { return itsTable; }
    void SilenceIfAsked( Session& ioSession ) const;

    /// Returns whether it went well. A failure is reported as one of the table; the user's abort (1001) is thrown.
    bool Try( Session& ioSession, const std::function<void()>& inAction ) const;

private:
    std::string itsTable;
    bool itsIsQuiet = false;
};
