#pragma once

#include "Imaging/Measurements/XMeasurementTable.h"
#include "Imaging/XImageReader.h"
#include "Measuring/ChannelNames.h"
#include "Measuring/ImageRecord.h"
#include "Measuring/MeasureJournal.h"
#include "Measuring/OverlayFiles.h"
#include "Measuring/PagePipeline.h"
#include "Measuring/PageTask.h"
#include "Support/FilePaths.h"
#include "Support/WorkerLimit.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class Session;
class XProgress;

/// Measures the pages of images as jobs on the shared pool, a few pages ahead of the workers. The results are
/// in the order of images and pages, regardless of the order in which the jobs end.
///
/// With a background, all pages of an image are needed before the first one can be measured. Therefore a
/// first pass reads each page once and keeps it in purgeable memory; a second pass measures the kept pages.
///
/// Failures are reported in page order and do not stop other pages.
class ImageMeasurer
{
public:
    struct Settings
    {
        XImageReadSettings reading;
        XMeasureSettings measuring;
        ChannelNames channelNames;
        XBackgroundKind background;
        WorkerLimit workers;
        bool areFilesShared = false;         ///< nodes read the images themselves
        bool savesBackground = false;        ///< the background is needed even if all pages are finished
        std::optional<GivenFile> given = {}; ///< not with nodes
        std::string labels = {};             ///< file for the labels of the only image; empty: none
    };

    /// With `inNodes`, which may be null, nodes measure the pages. If `ioOverlays` is not null, also draws overlays; its
    /// files are complete after Measure. If `ioJournal` is not null, pages that are finished in it are not measured again,
    /// and the others are added. Both must outlive this object.
    ImageMeasurer(
        const Settings& inSettings, OverlayFiles* ioOverlays, MeasureJournal* ioJournal,
        std::unique_ptr<NodeWorkers> inNodes, Session& ioSession );

    /// Stops the remaining jobs and waits for them.
    ~ImageMeasurer();

    /// Measures all images, after checking that all overlays can be written. Images without any measured page
    /// are missing in the result; a failed page has no objects. If the user aborts, throws 1001 when the jobs
    /// have ended.
    std::vector<XImageMeasurement> Measure( const std::vector<std::string>& inImages );

    /// Holds the objects of the result, and counts the table made of them.
    XMeasurementMemory& GetMeasurementMemory() { return itsMeasurementMemory; }

    /// The segmented channel, counted from 0; if it was given by name, that of the first image that has it.
    std::uint32_t GetChannel() const { return itsChannel.value_or( itsSettings.objects.channel ); }

    /// The file of labels, if it has been written, and why not; empty if nothing failed.
    std::vector<CompleteFile> TakeLabelFiles() { return std::move( itsLabelFiles ); }
    const std::string& GetLabelFailure() const { return itsLabelFailure; }

    bool HasFailures() const { return itsHasFailures; }

    /// The background of the last measured image; without samples if there is none.
    const WImagePage& GetBackground() const { return itsLastBackground; }

private:
    /// The files of images that consist of several, with the name of the image.
    using SetFiles = std::map<WFilePath::Key, std::string>;

    const XImageReadSettings itsReading;
    const XMeasureSettings itsSettings;
    const ChannelNames itsChannelNames;
    const XBackgroundKind itsBackground;
    const bool itsAreFilesShared;
    const bool itsSavesBackground;
    const std::optional<GivenFile> itsGiven;
    const std::string itsLabels;      // empty: none
    OverlayFiles* const itsOverlays;  // null if no overlays are drawn
    MeasureJournal* const itsJournal; // null without
    Session& itsSession;
    std::optional<std::uint32_t> itsChannel;
    SetFiles itsSetFiles;        // of the images that have been opened
    std::string itsFirstSetPart; // a message about the first image that is one of these files
    std::uint64_t itsSetPartCount = 0;
    bool itsHasFailures = false;
    bool itsHasReportedPixelSize = false;
    bool itsHasReportedRounding = false;
    std::uint64_t itsObjectCount = 0; // of the gathered pages
    std::vector<XImageMeasurement> itsMeasurements;
    XPageMemory itsMemory;
    XMeasurementMemory itsMeasurementMemory{ itsMemory };
    WImagePage itsLastBackground;
    std::vector<CompleteFile> itsLabelFiles; // one or none
    std::string itsLabelFailure;
    std::uint32_t itsShownWorkers = 0; // of the nodes, in the bar of the image
    const PageTask itsTask{ itsMemory, itsMeasurementMemory };
    std::deque<std::unique_ptr<ImageRecord>> itsImages; // the images that are not complete
    /// Destroyed, with its jobs, before the data that they use.
    PagePipeline itsPipeline;

    bool HasNodes() const { return itsPipeline.GetNodes() != nullptr; }
    bool HasBackground() const { return itsBackground != XBackgroundKind::kNone; }
    void MeasureImage( const std::string& inPath, USize inNumber, bool inIsLast );
    void PlanOverlays( const std::vector<std::string>& inImages );
    bool OpenImage( const std::string& inPath, USize inNumber );
    bool IsOfOpenedSet( const std::string& inPath );
    void ReportSetParts();
    void ReportChange( const ImageRecord& inImage );
    void PlanPages( ImageRecord& ioImage );
    void MeasurePages( ImageRecord& ioImage, XProgress& ioProgress );
    bool MeasureOnNode( ImageRecord& ioImage, PageRecord& ioPage );
    void SubmitToNodes( ImageRecord& ioImage, PageRecord& ioPage );
    void MeasureWithBackground( ImageRecord& ioImage, XProgress& ioProgress );
    void LoadPages( ImageRecord& ioImage, XProgress& ioProgress );
    void ComputeBackground( ImageRecord& ioImage );
    void MeasureLoadedPages( ImageRecord& ioImage, XProgress& ioProgress );
    void Submit( PageWork inWork, PageRecord& ioPage, USize inSubmitted, XProgress& ioProgress );
    void ShowPages( USize inSubmitted, XProgress& ioProgress );
    void ShowWorkers( XProgress& ioProgress );
    void WaitForJobs( XProgress* ioProgress = nullptr, USize inSubmitted = 0 );
    void Gather();
    void GatherPage( ImageRecord& ioImage );
    void DrawOverlay( ImageRecord& ioImage, PageRecord& ioPage, std::uint64_t inFirstNumber );
    void WriteLabels( ImageRecord& ioImage );
    void AppendLabels( ImageRecord& ioImage, WFile& ioFile );
    void ReportPages( const ImageRecord& inImage );
    void ReportNonFinite( const ImageRecord& inImage, const PageRecord& inPage );
    void ReportReading( ImageRecord& ioImage );
    void ReportOnce( const std::string& inText, bool& ioIsReported );
    void Finish( ImageRecord& ioImage );
};
