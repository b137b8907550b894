#include "Measuring/MeasurePageJob.h"

#include "Jobs/XProgress.h"

MeasurePageJob::MeasurePageJob(
    std::uint32_t inPage, const std::string& inImage, ImageReader& ioReaders, PageMemory& ioMemory,
    MeasurementMemory& ioMeasurements, const MeasureSettings& inSettings, ProgressDisplay& ioDisplay,
    PageResult& outResult )
    : PageJob( inPage, inImage, ioDisplay, outResult ), itsReaders( ioReaders ), itsMemory( ioMemory ),
      itsMeasurements( ioMeasurements ), itsSettings( inSettings )
{
}

void MeasurePageJob::Work( XProgress& ioProgress )
{
    const auto allocate = [&]( std::uint64_t inBytes ) { return itsMemory.Allocate( inBytes ); };
    auto page = itsReaders.ReadPage( GetPage(), allocate );
    ioProgress.Increment();
    Measure( std::move( page ), itsSettings, itsMemory, itsMeasurements );
}
