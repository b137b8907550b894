#pragma once

#include "Commands/TableCommand.h"
#include "Options/RowConditions.h"
#include "Options/TableOutputs.h"

/// `korvale filter`: keeps some rows of a table.
class FilterCommand : public TableCommand
{
public:
    const char* GetName() const override { return "filter"; }
    const char* GetSummary() const override { return "Keeps the rows of a table that match conditions."; }
    void Declare( const CommandOptions& inOptions ) override;
    void Check() const override;

protected:
    const char* GetTitle() const override { return "Filtering"; }
    std::vector<std::string> GetOutputNames() const override { return itsOutputs.GetNames(); }
    int RunOnTable( XPivotTable& ioTable, Session& ioSession ) override;

private:
    RowConditions itsConditions;
    TableOutputs itsOutputs;
};
