#pragma once

#include "Commands/TableCommand.h"
#include "Options/RowConditions.h"
#include "Plots/XPlotSettings.h"

/// `korvale plot`: draws the numbers of a table's columns.
class PlotCommand : public TableCommand
{
public:
    const char* GetName() const override { return "plot"; }
    const char* GetSummary() const override { return "Draws publication-ready figures from a table."; }
    void Declare( const CommandOptions& inOptions ) override;
    void Check() const override;

protected:
    const char* GetTitle() const override { return "Plotting"; }
    std::vector<std::string> GetOutputNames() const override { return { itsOutput }; }
    int RunOnTable( XPivotTable& ioTable, Session& ioSession ) override;

private:
    std::string itsHistogram; // a column name; either this or itsScatter is empty
    std::string itsScatter;   // the names of two columns
    std::string itsGroups;
    RowConditions itsConditions;
    std::string itsOutput;
    std::string itsPlotTitle;
    double itsWidth = 160; // in millimetres
    double itsHeight = 120;
    std::uint32_t itsBins = 0; // 0: chosen from the data
    bool itsIsLogarithmicX = false;
    bool itsIsLogarithmicY = false;

    bool IsSVG() const;
    XPlotSettings GetSettings() const;
    std::vector<XPlotColumn> FindColumns( const XPivotTable& inTable ) const;
    const XPivotColumn* FindGroups( const XPivotTable& inTable ) const;
    std::string Draw(
        const std::vector<XPlotColumn>& inColumns, const XPlotData& inData,
        const XPlotSettings& inSettings ) const;
};
