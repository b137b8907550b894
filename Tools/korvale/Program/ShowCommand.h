#pragma once

#include "Program/Command.h"

/// `korvale show`: prints a stored table.
class ShowCommand : public Command
{
public:
    const char* GetName() const override { return "show"; }
    const char* GetSummary() const override { return "Prints a table that korvale measure wrote."; }
    void Declare( const CommandOptions& inOptions ) override;
    CommandFiles GetFiles() const override { return { { itsTable }, {} }; }
    int Run( Session& ioSession ) override;

private:
    std::string itsTable;
    bool itsAsCSV = false;
    bool itsStructure = false;
    bool itsIsQuiet = false;

    void ShowStructure( Session& ioSession ) const;
    void ShowTable( Session& ioSession ) const;
};
