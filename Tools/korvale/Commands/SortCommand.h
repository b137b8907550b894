#pragma once

#include "Commands/TableCommand.h"
#include "Options/TableOutputs.h"

/// `korvale sort`: sorts the rows of a table.
class SortCommand : public TableCommand
{
public:
    const char* GetName() const override { return "sort"; }
    const char* GetSummary() const override { return "Sorts the rows of a table."; }
    void Declare( const CommandOptions& inOptions ) override;
    void Check() const override;

protected:
    const char* GetTitle() const override { return "Sorting"; }
    std::vector<std::string> GetOutputNames() const override { return itsOutputs.GetNames(); }
    int RunOnTable( XPivotTable& ioTable, Session& ioSession ) override;

private:
    std::string itsKeys;
    TableOutputs itsOutputs;
};
