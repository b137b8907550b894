#include "Measuring/PageJob.h"

#include "Jobs/XProgress.h"
#include "Terminal/ProgressDisplay.h"
#include "Threads/XStopThreadException.h"

PageJob::PageJob(
    std::uint32_t inPage, const std::string& inImage, ProgressDisplay& ioDisplay, PageResult& outResult )
    : itsPage( inPage ), itsImage( inImage ), itsStrategy( ioDisplay, false ), itsResult( outResult )
{
    SetProgressStrategy( &itsStrategy );
}

void PageJob::RunJobSelf()
{
    try
    {
        WorkWithProgress();
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... )
    {
        // Short enough to take no memory, for there may be none to describe that.
        itsResult.failure = Failure{ "out of memory", kErrorOutOfMemory };
        itsResult.failure = DescribeCurrentException();
        throw;
    }
}

void PageJob::Measure(
    WImagePage inPage, const MeasureSettings& inSettings, PageMemory& ioMemory,
    MeasurementMemory& ioMeasurements )
{
    auto objects = FindPageObjects( inPage, inSettings );
    auto measurement = MeasureObjects( inPage, objects );
    std::optional<OverlaySketch> sketch;
    if ( itsResult.overlay )
        sketch = SketchOverlay( inPage, inSettings, std::move( objects ) );
    CheckSamples();
    inPage = {}; // Others may be waiting for its memory.
    if ( sketch )
        itsResult.overlay->Keep( std::move( *sketch ), ioMemory );
    ioMeasurements.Keep( measurement );
    itsResult.measurement = std::move( measurement );
}

void PageJob::WorkWithProgress()
{
    XProgress progress( GetSteps(), XProgress::kProgressSteps, kProgressDelayMs );
    progress.SetMessage( "page " + std::to_string( itsPage ) + " of " + XString::FromUTF8( itsImage ) );
    Work( progress );
}
