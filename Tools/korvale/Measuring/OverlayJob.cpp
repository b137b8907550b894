#include "Measuring/OverlayJob.h"

#include "Jobs/XProgress.h"
#include "Plots/Overlay.h"

OverlayJob::OverlayJob(
    std::uint32_t inPage, const std::string& inImage, CachedOverlay inOverlay, std::uint64_t inFirstNumber,
    PageMemory& ioMemory, ProgressDisplay& ioDisplay, CompleteFile& ioFile, PageResult& outResult )
    : PageJob( inPage, inImage, ioDisplay, outResult ), itsOverlay( std::move( inOverlay ) ),
      itsFirstNumber( inFirstNumber ), itsMemory( ioMemory ), itsFile( ioFile )
{
}

void OverlayJob::Work( XProgress& ioProgress )
{
    const auto write = [&]( WFile& ioFile )
    {
        auto sketch = itsOverlay.Take( itsMemory );
        sketch.SetNumbers( itsFirstNumber );
        ioProgress.Increment();
        const auto bytes = DrawOverlay( sketch );
        ioFile.WriteAt( 0, bytes.data(), bytes.size() );
    };
    itsFile = WriteCompleteFile( { itsFile.name, write } );
}
