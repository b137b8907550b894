#pragma once

#include "Commands/TableCommand.h"
#include "Options/RowConditions.h"
#include "Options/TableOutputs.h"
#include "Tables/Aggregates.h"

/// `korvale pivot`: groups the rows of a table and aggregates each group.
class PivotCommand : public TableCommand
{
public:
    const char* GetName() const override { return "pivot"; }
    const char* GetSummary() const override { return "Groups rows and aggregates their values."; }
    void Declare( const CommandOptions& inOptions ) override;
    void Check() const override;

protected:
    const char* GetTitle() const override { return "Pivoting"; }
    std::vector<std::string> GetOutputNames() const override { return itsOutputs.GetNames(); }
    int RunOnTable( XPivotTable& ioTable, Session& ioSession ) override;

private:
    /// The columns given by the options.
    struct Plan
    {
        XPivotTable::XColumnIndices pages;
        XPivotTable::XColumnIndices rows;
        XPivotTable::XColumnIndices columns;
        XPivotTable::XColumnIndices values;

        /// The number of columns before the results.
        std::uint32_t GetKeyCount() const;
    };

    std::string itsPages;
    std::string itsRows;
    std::string itsColumns;
    std::string itsValues;
    std::string itsAggregates;
    RowConditions itsConditions;
    TableOutputs itsOutputs;

    Plan MakePlan( const XPivotTable& inTable ) const;
    void CheckValues( const XPivotTable& inTable, const Plan& inPlan ) const;
    void CheckSize( const XPivotTable& inTable, const Plan& inPlan ) const;
    XPivotTable MakePivot( const XPivotTable& inTable, const Plan& inPlan ) const;
    XPivotTable PickResults( XPivotTable inPivot, const Plan& inPlan ) const;
};
