#include "Measuring/LoadPageJob.h"

#include "Jobs/XProgress.h"

LoadPageJob::LoadPageJob(
    std::uint32_t inPage, const std::string& inImage, ImageReader& ioReaders, PageMemory& ioMemory,
    StackBackground& ioBackground, CachedPage& outPage, ProgressDisplay& ioDisplay, PageResult& outResult )
    : PageJob( inPage, inImage, ioDisplay, outResult ), itsReaders( ioReaders ), itsMemory( ioMemory ),
      itsBackground( ioBackground ), itsKept( outPage )
{
}

void LoadPageJob::Work( XProgress& ioProgress )
{
    itsKept.Read( itsReaders, GetPage(), itsMemory );
    ioProgress.Increment();
    itsBackground.Add( GetPage(), itsKept );
}

void LoadPageJob::JobCompleteSelf( std::uint32_t inResultCode )
{
    itsBackground.HasEnded( GetPage() );
    if ( inResultCode != 0 )
        itsKept.Drop();
}
