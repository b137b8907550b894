#include "Measuring/KeepPageJob.h"

#include "Jobs/XProgress.h"

KeepPageJob::KeepPageJob(
    std::uint32_t inPage, const std::string& inImage, PageReaders& ioReaders, WorkingMemory& ioMemory,
    StackBackground& ioBackground, KeptPage& outPage, ProgressDisplay& ioDisplay, PageResult& outResult )
    : PageJob( inPage, inImage, ioDisplay, outResult ), itsReaders( ioReaders ), itsMemory( ioMemory ),
      itsBackground( ioBackground ), itsKept( outPage )
{
}

void KeepPageJob::Work( XProgress& ioProgress )
{
    itsKept.Read( itsReaders, GetPage(), itsMemory );
    ioProgress.Increment();
    itsBackground.Add( GetPage(), itsKept );
}

void KeepPageJob::JobCompleteSelf( std::uint32_t inResultCode )
{
    itsBackground.HasEnded( GetPage() );
    if ( inResultCode != 0 )
        itsKept.Drop();
}
