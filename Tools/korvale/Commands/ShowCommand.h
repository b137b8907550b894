#pragma once

#include "Commands/TableCommand.h"

/// `korvale show`: prints a stored table.
class ShowCommand : public TableCommand
{
public:
    const char* GetName() const override { return "show"; }
    const char* GetSummary() const override { return "Prints a table that korvale measure wrote."; }
    void Declare( const CommandOptions& inOptions ) override;
    int Run( Session& ioSession ) override;

protected:
    const char* GetTitle() const override { return "Showing"; }
    std::vector<std::string> GetOutputNames() const override { return {}; }
    int RunOnTable( XPivotTable& ioTable, Session& ioSession ) override;
    bool TakesEmptyTables() const override { return true; }

private:
    bool itsAsCSV = false;
    bool itsStructure = false;

    void ShowStructure( Session& ioSession ) const;
    void Print( const XPivotTable& inTable, Session& ioSession ) const;
};
