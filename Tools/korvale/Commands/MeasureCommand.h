#pragma once

#include "Commands/Command.h"
#include "Imaging/Measurements/XMeasurementTable.h"
#include "Imaging/Measurements/XPageMeasurement.h"
#include "Imaging/Pages/XBackgroundAccumulator.h"
#include "Measuring/ImageMeasurer.h"
#include "Measuring/MeasureJournal.h"
#include "Measuring/NodeWorkers.h"
#include "Measuring/OverlayFiles.h"
#include "Options/ImageNames.h"
#include "Options/ProtectionOptions.h"
#include "Options/ReadingOptions.h"
#include "Options/SegmentationOptions.h"
#include "Options/TableOutputs.h"

#include <limits>
#include <memory>
#include <optional>
#include <vector>

/// `korvale measure`: finds the objects of every page of every image and measures them into a table.
class MeasureCommand : public Command
{
public:
    const char* GetName() const override { return "measure"; }
    const char* GetSummary() const override { return "Finds and measures the objects of images."; }
    void Declare( const CommandOptions& inOptions ) override;
    void Check() const override;
    CommandFiles GetFiles() const override;
    int Run( Session& ioSession ) override;

private:
    ImageNames itsImages;
    TableOutputs itsOutputs;
    SegmentationOptions itsSegmentation;
    std::uint32_t itsConnectivity = 8;
    std::uint64_t itsLeastPixels = 1;
    std::uint64_t itsMostPixels = ( std::numeric_limits<std::uint64_t>::max )();
    bool itsExcludesEdges = false;
    bool itsMeasuresShape = false;
    std::string itsObjects;       // an image of labels; empty: none
    std::string itsMask;          // empty: none
    std::string itsLabels;        // file to write; empty: none
    std::string itsInside;        // empty: no child objects
    std::string itsInsideChannel; // empty: the channel of the objects
    std::uint64_t itsInsideLeastPixels = 1;
    std::string itsBackground; // empty: none
    std::string itsBackgroundFile;
    std::string itsOverlay;       // empty: none
    bool itsIsResumed = false;    // keeps a journal, and continues from one
    std::string itsMemory;        // empty: the default of the library
    std::uint32_t itsWorkers = 0; // 0: one for each logical processor
    ReadingOptions itsReading;
    std::string itsControl; // empty: no nodes
    bool itsAreFilesShared = false;
    ProtectionOptions itsProtection;
    bool itsIsQuiet = false;

    void DeclareSegmentation( const CommandOptions& inOptions );
    void DeclareGiven( const CommandOptions& inOptions );
    void DeclareNodes( const CommandOptions& inOptions );
    std::unique_ptr<NodeWorkers> ConnectToNodes( Session& ioSession ) const;
    XMeasureSettings GetSettings() const;
    ChannelNames GetChannelNames() const;
    std::optional<OverlayFiles> MakeOverlayFiles( const std::string& inLog ) const;
    XBackgroundKind GetBackgroundKind() const;
    std::optional<GivenFile> GetGiven() const;
    std::vector<std::string> GetInputNames() const;
    std::vector<std::string> GetColumnNames() const;
    std::vector<std::string> GetOutputNames() const;
    std::string GetJournalName() const;
    JournalRecords::Conditions GetConditions() const;
    std::unique_ptr<MeasureJournal> OpenJournal( Session& ioSession ) const;
    XPivotTable WriteFiles(
        std::vector<XImageMeasurement>& ioMeasurements, ImageMeasurer& ioMeasurer,
        OverlayFiles* ioOverlays ) const;
};
