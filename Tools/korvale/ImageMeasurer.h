#pragma once

#include "Core/XTimer.h"
#include "MeasurePageJob.h"
#include "MeasurementTable.h"
#include "PageReaders.h"
#include "WorkerLimit.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

class Session;
class XProgress;

/// Measures the pages of images as jobs on the shared pool, a few pages ahead of the workers. The results are in the
/// order of images and pages, whatever order the jobs end in.
///
/// What fails is told, in that order too, and does not keep the others from being measured.
class ImageMeasurer
{
public:
    ImageMeasurer( const MeasureSettings& inSettings, WorkerLimit inLimit, Session& ioSession );

    /// Stops the jobs that there are and waits for them.
    ~ImageMeasurer();

    /// Measures all images. Those of which nothing could be measured are missing in the result; a page that failed has
    /// no objects. Throws the user's abort (1001) when the jobs have ended.
    std::vector<ImageMeasurement> Measure( const std::vector<std::string>& inImages );

    bool HasFailures() const { return itsHasFailures; }

private:
    struct Image;

    const MeasureSettings itsSettings;
    const WorkerLimit itsLimit;
    Session& itsSession;
    bool itsHasFailures = false;
    std::vector<ImageMeasurement> itsMeasurements;
    std::deque<std::unique_ptr<Image>> itsImages; ///< Those that are not complete.
    XJobQueue itsQueue;                           ///< Destroyed, with its jobs, before what they use.

    void MeasureImage( const std::string& inPath, bool inIsLast );
    void AttachPages( Image& ioImage, XProgress& ioProgress );
    void ShowPages( USize inAttached, XProgress& ioProgress ) const;
    void WaitForJobs( XProgress* ioProgress = nullptr );
    void Gather();
    void GatherPage( Image& ioImage );
    void ReportPages( const Image& inImage );
    void Finish( Image& ioImage );
};
