#pragma once

#include "Command.h"
#include "MeasurementTable.h"
#include "PageMeasurement.h"

#include <vector>

class ProgressCounter;

/// `korvale measure`: finds the objects of every page of every image and measures them into a table.
class Measure : public Command
{
public:
    CLI::App* Declare( CLI::App& ioProgram ) override;
    void Check() const override;
    int Run( Terminal& ioTerminal ) override;

private:
    std::vector<std::string> itsImages;
    std::string itsTable;
    std::string itsCSV;
    std::string itsChannel = "C1";
    std::string itsThreshold = "otsu";
    std::uint32_t itsConnectivity = 8;
    std::uint64_t itsLeastPixels = 1;
    bool itsIsQuiet = false;

    MeasureSettings GetSettings() const;
    ImageMeasurement MeasureImage( const std::string& inImage, ProgressCounter& ioProgress ) const;
    void WriteOutputs( const XPivotTable& inTable ) const;
};
