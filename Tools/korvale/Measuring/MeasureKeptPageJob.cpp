#include "Measuring/MeasureKeptPageJob.h"

#include "Jobs/XProgress.h"

MeasureKeptPageJob::MeasureKeptPageJob(
    std::uint32_t inPage, const std::string& inImage, WorkingMemory& ioMemory,
    const StackBackground& inBackground, KeptPage& ioPage, const MeasureSettings& inSettings,
    ProgressDisplay& ioDisplay, PageResult& outResult )
    : PageJob( inPage, inImage, ioDisplay, outResult ), itsMemory( ioMemory ), itsBackground( inBackground ),
      itsKept( ioPage ), itsSettings( inSettings )
{
}

void MeasureKeptPageJob::Work( XProgress& ioProgress )
{
    auto page = itsKept.Lock( itsMemory, kLockForReadWrite );
    itsBackground.SubtractFrom( page );
    ioProgress.Increment();
    Measure( std::move( page ), itsSettings, itsMemory );
}

void MeasureKeptPageJob::JobCompleteSelf( std::uint32_t )
{
    itsKept.Drop();
    GetResult().isDone = true;
}
