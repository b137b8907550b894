#pragma once

#include "Core/Times/XTimer.h"
#include "Imaging/XImageReader.h"
#include "Imaging/XMeasurementTable.h"
#include "Measuring/OverlayFiles.h"
#include "Measuring/PagePipeline.h"
#include "Measuring/PageTask.h"
#include "Support/WorkerLimit.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

class Session;
class XProgress;

/// Measures the pages of images as jobs on the shared pool, a few pages ahead of the workers. The results are in the
/// order of images and pages, whatever order the jobs end in.
///
/// With a background, all pages of an image are needed before the first one can be measured. So one pass over them reads
/// them, once, and keeps them in memory that can be purged; a second one measures what has been kept.
///
/// What fails is told, in that order too, and does not keep the others from being measured.
class ImageMeasurer
{
public:
    struct Settings
    {
        XImageReadSettings reading;
        XMeasureSettings measuring;
        XBackgroundKind background;
        WorkerLimit workers;
    };

    /// Draws overlays too where there are files for them, which outlive it. They are complete when all is measured.
    ImageMeasurer( const Settings& inSettings, OverlayFiles* ioOverlays, Session& ioSession );

    /// Stops the jobs that there are and waits for them.
    ~ImageMeasurer();

    /// Measures all images, when the overlays of all of them have been found writable. Those of which nothing could be
    /// measured are missing in the result; a page that failed has no objects. Throws the user's abort (1001) when the
    /// jobs have ended.
    std::vector<XImageMeasurement> Measure( const std::vector<std::string>& inImages );

    /// Where the objects of the result are kept, and the table of it is to be counted.
    XMeasurementMemory& GetMeasurementMemory() { return itsMeasurementMemory; }

    bool HasFailures() const { return itsHasFailures; }

    /// The background of the image that was measured last; without samples when there is none.
    const WImagePage& GetBackground() const { return itsLastBackground; }

private:
    struct Image;

    const XImageReadSettings itsReading;
    const XMeasureSettings itsSettings;
    const XBackgroundKind itsBackground;
    OverlayFiles* const itsOverlays; ///< Null: none.
    Session& itsSession;
    bool itsHasFailures = false;
    bool itsHasReportedPixelSize = false;
    std::uint64_t itsObjectCount = 0; ///< Of the pages gathered.
    std::vector<XImageMeasurement> itsMeasurements;
    XPageMemory itsMemory;
    XMeasurementMemory itsMeasurementMemory{ itsMemory };
    WImagePage itsLastBackground;
    const PageTask itsTask{ itsSettings, itsMemory, itsMeasurementMemory };
    std::deque<std::unique_ptr<Image>> itsImages; ///< Those that are not complete.
    PagePipeline itsPipeline;                     ///< Destroyed, with its jobs, before what they use.

    bool HasBackground() const { return itsBackground != XBackgroundKind::kNone; }
    void MeasureImage( const std::string& inPath, USize inNumber, bool inIsLast );
    void PlanOverlays( const std::vector<std::string>& inImages );
    bool OpenImage( const std::string& inPath, USize inNumber );
    void MeasurePages( Image& ioImage, XProgress& ioProgress );
    void MeasureWithBackground( Image& ioImage, XProgress& ioProgress );
    void LoadPages( Image& ioImage, XProgress& ioProgress );
    void ComputeBackground( Image& ioImage );
    void MeasureLoadedPages( Image& ioImage, XProgress& ioProgress );
    void Submit( PageWork inWork, PageRecord& ioPage, USize inSubmitted, XProgress& ioProgress );
    void ShowPages( USize inSubmitted, XProgress& ioProgress ) const;
    void WaitForJobs( XProgress* ioProgress = nullptr, USize inSubmitted = 0 );
    void Gather();
    void GatherPage( Image& ioImage );
    void DrawOverlay( Image& ioImage, PageRecord& ioPage );
    void ReportPages( const Image& inImage );
    void ReportReading( Image& ioImage );
    void Finish( Image& ioImage );
};
