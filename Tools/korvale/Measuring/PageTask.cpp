#include "Measuring/PageTask.h"

#include "Jobs/XProgress.h"
#include "Plots/XOverlay.h"

PageTask::PageTask(
    const XMeasureSettings& inSettings, XPageMemory& ioPages, XMeasurementMemory& ioMeasurements )
    : itsSettings( inSettings ), itsPages( ioPages ), itsMeasurements( ioMeasurements )
{
}

void PageTask::Load(
    PageRecord& ioPage, XImageReader& ioReader, StackBackground& ioBackground, XProgress& ioProgress ) const
{
    ioPage.samples.Read( ioReader, ioPage.number, itsPages );
    ioProgress.Increment();
    ioBackground.Add( ioPage.number, ioPage.samples );
}

void PageTask::Measure( PageRecord& ioPage, XImageReader& ioReader, XProgress& ioProgress ) const
{
    const auto allocate = [&]( std::uint64_t inBytes ) { return itsPages.Allocate( inBytes ); };
    auto samples = ioReader.ReadPage( ioPage.number, allocate );
    ioProgress.Increment();
    MeasureSamples( ioPage, std::move( samples ) );
}

void PageTask::MeasureLoaded(
    PageRecord& ioPage, const StackBackground& inBackground, XProgress& ioProgress ) const
{
    auto samples = ioPage.samples.Lock( itsPages, kLockForReadWrite );
    inBackground.SubtractFrom( samples );
    ioProgress.Increment();
    MeasureSamples( ioPage, std::move( samples ) );
}

void PageTask::MeasureSamples( PageRecord& ioPage, WImagePage inSamples ) const
{
    auto objects = XFindPageObjects( inSamples, itsSettings );
    auto measurement = XMeasureObjects( inSamples, objects );
    // Made while the samples are there: the numbers of the objects follow when the preceding pages are known.
    std::optional<XOverlaySketch> sketch;
    if ( ioPage.needsOverlay )
        sketch = XSketchOverlay( inSamples, itsSettings, std::move( objects ) );
    if ( !ioPage.samples.IsEmpty() )
        ioPage.samples.CheckIntact(); // While they are locked.
    inSamples = {};                   // Others may be waiting for its memory.
    if ( sketch )
        ioPage.overlay.emplace().Keep( std::move( *sketch ), itsPages );
    itsMeasurements.Keep( measurement );
    ioPage.measurement = std::move( measurement );
}

void PageTask::DrawOverlay(
    CachedOverlay& ioOverlay, std::uint64_t inFirstNumber, CompleteFile& ioFile, XProgress& ioProgress ) const
{
    const auto write = [&]( WFile& ioOutput )
    {
        auto sketch = ioOverlay.Take( itsPages );
        sketch.SetNumbers( inFirstNumber );
        ioProgress.Increment();
        const auto bytes = XDrawOverlay( sketch );
        ioOutput.WriteAt( 0, bytes.data(), bytes.size() );
    };
    ioFile = WriteCompleteFile( { ioFile.name, write } );
}
