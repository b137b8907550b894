#pragma once

#include "Commands/TableCommand.h"

/// `korvale export`: writes a stored table for other programs.
class ExportCommand : public TableCommand
{
public:
    const char* GetName() const override { return "export"; }
    const char* GetSummary() const override { return "Writes a table for other programs."; }
    void Declare( const CommandOptions& inOptions ) override;
    void Check() const override;

protected:
    const char* GetTitle() const override { return "Exporting"; }
    std::vector<std::string> GetOutputNames() const override;
    int RunOnTable( XPivotTable& ioTable, Session& ioSession ) override;

private:
    std::string itsCSV;
    std::string itsNPZ;
};
