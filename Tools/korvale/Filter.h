#pragma once

#include "RowConditions.h"
#include "TableCommand.h"
#include "TableOutputs.h"

/// `korvale filter`: keeps some rows of a table.
class Filter : public TableCommand
{
public:
    CLI::App* Declare( CLI::App& ioProgram ) override;
    void Check() const override;

protected:
    const char* GetTitle() const override { return "Filtering"; }
    std::vector<std::string> GetOutputNames() const override { return itsOutputs.GetNames(); }
    int RunOnTable( XPivotTable& ioTable, Session& ioSession ) override;

private:
    RowConditions itsConditions;
    TableOutputs itsOutputs;
};
