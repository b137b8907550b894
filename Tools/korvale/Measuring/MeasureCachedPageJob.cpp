#include "Measuring/MeasureCachedPageJob.h"

#include "Jobs/XProgress.h"

MeasureCachedPageJob::MeasureCachedPageJob(
    std::uint32_t inPage, const std::string& inImage, PageMemory& ioMemory,
    const StackBackground& inBackground, CachedPage& ioPage, MeasurementMemory& ioMeasurements,
    const MeasureSettings& inSettings, ProgressDisplay& ioDisplay, PageResult& outResult )
    : PageJob( inPage, inImage, ioDisplay, outResult ), itsMemory( ioMemory ),
      itsMeasurements( ioMeasurements ), itsBackground( inBackground ), itsKept( ioPage ),
      itsSettings( inSettings )
{
}

void MeasureCachedPageJob::Work( XProgress& ioProgress )
{
    auto page = itsKept.Lock( itsMemory, kLockForReadWrite );
    itsBackground.SubtractFrom( page );
    ioProgress.Increment();
    Measure( std::move( page ), itsSettings, itsMemory, itsMeasurements );
}

void MeasureCachedPageJob::JobCompleteSelf( std::uint32_t )
{
    itsKept.Drop();
    GetResult().isDone = true;
}
