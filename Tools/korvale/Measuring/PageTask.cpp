#include "Measuring/PageTask.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Jobs/XProgress.h"
#include "Measuring/ImageJournal.h"
#include "Measuring/MeasurePageJob.h"
#include "Measuring/MeasuredPage.h"
#include "Plots/XOverlay.h"

#include <utility>

PageTask::PageTask( XPageMemory& ioPages, XMeasurementMemory& ioMeasurements )
    : itsPages( ioPages ), itsMeasurements( ioMeasurements )
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
    const auto given = ReadGiven( ioPage );
    const auto allocate = [&]( std::uint64_t inBytes ) { return itsPages.Allocate( inBytes ); };
    auto samples = ioReader.ReadPage( ioPage.number, allocate );
    ioProgress.Increment();
    MeasureSamples( ioPage, std::move( samples ), given );
}

void PageTask::MeasureLoaded(
    PageRecord& ioPage, const StackBackground& inBackground, XProgress& ioProgress ) const
{
    const auto given = ReadGiven( ioPage );
    auto samples = ioPage.samples.Lock( itsPages, kLockForReadWrite );
    inBackground.SubtractFrom( samples );
    ioProgress.Increment();
    MeasureSamples( ioPage, std::move( samples ), given );
}

void PageTask::Read( PageRecord& ioPage, XImageReader& ioReader, XProgress& ioProgress ) const
{
    ioPage.samples.Read( ioReader, ioPage.number, itsPages );
    ioProgress.Increment();
}

void PageTask::SubtractBackground( PageRecord& ioPage, const StackBackground& inBackground ) const
{
    auto samples = ioPage.samples.Lock( itsPages, kLockForReadWrite );
    inBackground.SubtractFrom( samples );
    ioPage.samples.CheckIntact(); // While they are locked.
}

void PageTask::MeasureRead( PageRecord& ioPage ) const
{
    MeasureSamples( ioPage, ioPage.samples.Lock( itsPages, kLockForRead ) );
}

/// The page of given objects is released before that of the samples is locked: a thread must not wait for memory while
/// it holds a page.
std::optional<XGivenObjects> PageTask::ReadGiven( PageRecord& ioPage ) const
{
    if ( !ioPage.given )
        return std::nullopt;
    auto& [path, reader, kind] = *ioPage.given;
    const auto allocate = [&]( std::uint64_t inBytes ) { return itsPages.Allocate( inBytes ); };
    try
    {
        return XTakeGivenObjects( reader.ReadPage( ioPage.number, allocate ), kind );
    }
    catch ( const WImageError& error )
    {
        throw WImageError( path + ": " + error.what() );
    }
}

void PageTask::MeasureSamples(
    PageRecord& ioPage, WImagePage inSamples, const std::optional<XGivenObjects>& inGiven ) const
{
    auto measured =
        MeasurePageSamples( inSamples, *ioPage.settings, ioPage.needsOverlay, inGiven ? &*inGiven : nullptr );
    if ( !ioPage.samples.IsEmpty() )
        ioPage.samples.CheckIntact(); // While they are locked.
    inSamples = {};                   // Others may be waiting for its memory.
    Finish( ioPage, std::move( measured ) );
}

/// A page is written to the journal while it is in memory.
void PageTask::Finish( PageRecord& ioPage, MeasuredPage inMeasured ) const
{
    if ( ioPage.journal )
        ioPage.journal->AddPage( ioPage.number, inMeasured, ioPage.ignoredPixelSize );
    Keep( ioPage, std::move( inMeasured ) );
}

void PageTask::Keep( PageRecord& ioPage, MeasuredPage inMeasured ) const
{
    if ( inMeasured.sketch )
        ioPage.overlay.emplace().Keep( std::move( *inMeasured.sketch ), itsPages );
    itsMeasurements.Keep( inMeasured.measurement );
    ioPage.measurement = std::move( inMeasured.measurement );
}

bool PageTask::IsFinished( const PageRecord& inPage )
{
    return inPage.journal && inPage.journal->HasPage( inPage.number );
}

void PageTask::TakeFinished( PageRecord& ioPage ) const
{
    const auto result = ioPage.journal->ReadPage( ioPage.number );
    if ( ioPage.needsOverlay && !result->page.sketch )
        XThrow( kErrorStreamCorrupted );
    ioPage.ignoredPixelSize = result->ignoredPixelSize;
    Keep( ioPage, std::move( result->page ) );
}

void PageTask::TakeResult( PageRecord& ioPage, MeasurePageJob& ioJob, std::uint32_t inResultCode ) const
{
    try
    {
        if ( inResultCode == XJob::kStopped )
            return;
        const auto result = ioJob.TakeResult();
        auto* const page = dynamic_cast<MeasurePageResult*>( result.get() );
        ioPage.ignoredPixelSize = page ? page->ignoredPixelSize : 0;
        if ( inResultCode == kErrorDisconnected )
            ioPage.failure = Failure{ "the last 3 nodes that measured it were lost", inResultCode };
        else if ( inResultCode != 0 )
            ioPage.failure = DescribeError( inResultCode );
        else if ( !page || ( ioPage.needsOverlay && !page->failure && !page->page.sketch ) )
            ioPage.failure = DescribeError( kErrorStreamCorrupted );
        else if ( page->failure )
            ioPage.failure = std::move( page->failure );
        else
            Finish( ioPage, std::move( page->page ) );
    }
    catch ( ... )
    {
        ioPage.failure = DescribeCurrentException();
    }
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
