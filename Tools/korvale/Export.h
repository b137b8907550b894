#pragma once

#include "TableCommand.h"

/// `korvale export`: writes a stored table for other programs.
class Export : public TableCommand
{
public:
    CLI::App* Declare( CLI::App& ioProgram ) override;
    void Check() const override;

protected:
    const char* GetTitle() const override { return "Exporting"; }
    std::vector<std::string> GetOutputNames() const override;
    int RunOnTable( XPivotTable& ioTable, Session& ioSession ) override;

private:
    std::string itsCSV;
    std::string itsNPZ;
};
