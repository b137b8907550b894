#include "Measuring/ImageMeasurer.h"

#include "Core/Errors/XException.h"
#include "Core/Strings/XNumberText.h"
#include "Ground/XErrorNumbers.h"
#include "Jobs/XProgress.h"
#include "Measuring/LoadPageJob.h"
#include "Measuring/MeasureCachedPageJob.h"
#include "Measuring/MeasurePageJob.h"
#include "Support/Failure.h"
#include "Support/FilePaths.h"
#include "Terminal/ProgressDisplay.h"
#include "Terminal/Session.h"

#include <algorithm>
#include <cmath>

/// An image whose pages are being measured.
struct ImageMeasurer::Image
{
    std::string path; ///< As the user gave it.
    USize number;     ///< Among all images.
    ImageReader readers;
    ImageMeasurement measurement;
    std::deque<PageResult> results;
    std::deque<CachedPage> keptPages;            ///< With a background.
    std::unique_ptr<StackBackground> background; ///< Null without.
    std::uint32_t gathered = 0;                  ///< Pages whose results have been taken, in order.
    std::uint32_t measured = 0;
    std::optional<Failure> failure; ///< That of the pages gathered last, from `firstFailed` on.
    std::uint32_t firstFailed = 0;
    XTimer timer;

    Image( const std::string& inPath, USize inNumber, const ImageReadSettings& inReading )
        : path( inPath ), number( inNumber ), readers( PathFromUTF8( inPath ), inReading ),
          results( readers.GetPageCount() )
    {
        const auto full = WFilePath::Normalise( PathFromUTF8( inPath ) );
        measurement.name = PathToUTF8( full.filename() );
        const auto folder = full.parent_path().generic_u8string();
        measurement.folder = std::string( folder.begin(), folder.end() );
    }
    std::uint32_t GetPageCount() const { return static_cast<std::uint32_t>( results.size() ); }
    bool IsComplete() const { return gathered == results.size(); }
    void CheckAbort() const;
    bool HasLackedMemory() const;
    bool HasGoodPages() const;
    void Refuse( const Failure& inFailure );
};

void ImageMeasurer::Image::CheckAbort() const
{
    for ( const auto& result : results )
        if ( result.failure && result.failure->IsUserAbort() )
            XThrow( result.failure->number );
}

bool ImageMeasurer::Image::HasLackedMemory() const
{
    return std::ranges::any_of(
        results,
        []( const PageResult& inResult )
        {
            return inResult.failure &&
                ( inResult.failure->number == kErrorOutOfMemory ||
                  inResult.failure->number == kErrorMemoryNotMapped );
        } );
}

bool ImageMeasurer::Image::HasGoodPages() const
{
    return std::ranges::any_of( results, []( const PageResult& inResult ) { return !inResult.failure; } );
}

/// The failure is that of all pages that have none yet.
void ImageMeasurer::Image::Refuse( const Failure& inFailure )
{
    for ( auto& result : results )
        if ( !result.failure )
            result.failure = inFailure;
}

ImageMeasurer::ImageMeasurer(
    const ImageReadSettings& inReading, const MeasureSettings& inSettings, BackgroundKind inBackground,
    WorkerLimit inLimit, OverlayFiles* ioOverlays, Session& ioSession )
    : itsReading( inReading ), itsSettings( inSettings ), itsBackground( inBackground ), itsLimit( inLimit ),
      itsOverlays( ioOverlays ), itsSession( ioSession )
{
    itsQueue.Start();
}

ImageMeasurer::~ImageMeasurer() = default;

std::vector<ImageMeasurement> ImageMeasurer::Measure( const std::vector<std::string>& inImages )
{
    if ( itsOverlays )
        PlanOverlays( inImages );
    // A single image has no bar beside that of its pages.
    const auto type = inImages.size() > 1 ? XProgress::kProgressWork : XProgress::kProgressWait;
    XProgress progress( inImages.size(), type, kProgressDelayMs );
    progress.SetTitle( "Measuring" );
    for ( USize number = 0; number < inImages.size(); ++number )
    {
        MeasureImage( inImages[number], number, number + 1 == inImages.size() );
        progress.Increment();
    }
    WaitForJobs(); // Overlays are drawn when the pages have been gathered.
    return std::move( itsMeasurements );
}

/// An image that cannot be read now, which is told of in its turn, counts as one of a single page.
void ImageMeasurer::PlanOverlays( const std::vector<std::string>& inImages )
{
    XProgress progress( inImages.size(), XProgress::kProgressWork, kProgressDelayMs );
    progress.SetTitle( "Checking overlays" );
    for ( const auto& image : inImages )
    {
        std::uint32_t pageCount = 1;
        try
        {
            pageCount = ImageReader( PathFromUTF8( image ), itsReading ).GetPageCount();
        }
        catch ( const std::exception& )
        {
        }
        itsOverlays->AddImage( image, pageCount );
        progress.Increment();
        progress.YieldAndCheckAbort();
    }
}

void ImageMeasurer::MeasureImage( const std::string& inPath, USize inNumber, bool inIsLast )
{
    if ( !OpenImage( inPath, inNumber ) )
        return;
    auto& image = *itsImages.back();
    const auto pages = image.GetPageCount();
    const auto steps = HasBackground() ? 2 * USize{ pages } : pages;
    XProgress progress( steps, XProgress::kProgressWork, kProgressDelayMs, true );
    progress.SetMessage( XString::FromUTF8( image.measurement.name ) );
    if ( HasBackground() )
        MeasureWithBackground( image, progress );
    else
        MeasurePages( image, progress );
    if ( inIsLast || HasBackground() )
        WaitForJobs( &progress, steps );
}

bool ImageMeasurer::OpenImage( const std::string& inPath, USize inNumber )
{
    try
    {
        auto image = std::make_unique<Image>( inPath, inNumber, itsReading );
        if ( itsOverlays && itsOverlays->GetPageCount( inNumber ) != image->results.size() )
            throw WImageError( "the file has changed" );
        if ( itsOverlays )
            for ( auto& result : image->results )
                result.overlay.emplace();
        itsImages.push_back( std::move( image ) );
        return true;
    }
    catch ( ... )
    {
        const auto failure = DescribeCurrentException();
        WaitForJobs(); // What went wrong before is told before.
        itsHasFailures = true;
        itsSession.ReportFailure( inPath, failure );
        return false;
    }
}

void ImageMeasurer::MeasurePages( Image& ioImage, XProgress& ioProgress )
{
    const auto pageCount = ioImage.GetPageCount();
    for ( std::uint32_t page = 0; page < pageCount; ++page )
    {
        const auto makeJob = [&]
        {
            return new MeasurePageJob(
                page, ioImage.measurement.name, ioImage.readers, itsMemory, itsMeasurementMemory, itsSettings,
                itsSession.progress, ioImage.results[page] );
        };
        Attach( makeJob, page + 1, ioProgress ); // After the last page the image may be gone.
    }
}

// ---- With a background

void ImageMeasurer::MeasureWithBackground( Image& ioImage, XProgress& ioProgress )
{
    itsLastBackground = {};
    KeepPages( ioImage, ioProgress );
    ioImage.CheckAbort();
    // Else the background would depend on the memory that the machine has.
    if ( ioImage.HasLackedMemory() )
        ioImage.Refuse( { "not measured: the background is incomplete" } );
    if ( ioImage.HasGoodPages() )
        ComputeBackground( ioImage );
    MeasureKeptPages( ioImage, ioProgress );
}

void ImageMeasurer::KeepPages( Image& ioImage, XProgress& ioProgress )
{
    const auto pageCount = ioImage.GetPageCount();
    ioImage.keptPages.resize( pageCount );
    ioImage.background = std::make_unique<StackBackground>( itsBackground, pageCount, itsMemory );
    for ( std::uint32_t page = 0; page < pageCount; ++page )
    {
        const auto makeJob = [&]
        {
            return new LoadPageJob(
                page, ioImage.measurement.name, ioImage.readers, itsMemory, *ioImage.background,
                ioImage.keptPages[page], itsSession.progress, ioImage.results[page] );
        };
        Attach( makeJob, page + 1, ioProgress );
    }
    WaitForJobs( &ioProgress, pageCount );
}

void ImageMeasurer::ComputeBackground( Image& ioImage )
{
    try
    {
        ioImage.background->Compute();
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() != kErrorOutOfMemory )
            throw;
        ioImage.Refuse( DescribeCurrentException() );
        return;
    }
    itsSession.Note(
        ioImage.path + ": background of " + std::to_string( ioImage.background->GetAddedCount() ) +
        " pages, " + FormatSeconds( ioImage.timer.GetElapsedSeconds() ) );
}

/// Backwards: where memory is short, the pages that were read last are those that are still in memory.
void ImageMeasurer::MeasureKeptPages( Image& ioImage, XProgress& ioProgress )
{
    const auto pageCount = ioImage.GetPageCount();
    for ( auto page = pageCount; page-- > 0; )
    {
        auto& result = ioImage.results[page];
        if ( result.failure )
        {
            result.isDone = true;
            continue;
        }
        const auto makeJob = [&]
        {
            return new MeasureCachedPageJob(
                page, ioImage.measurement.name, itsMemory, *ioImage.background, ioImage.keptPages[page],
                itsMeasurementMemory, itsSettings, itsSession.progress, result );
        };
        Attach( makeJob, 2 * USize{ pageCount } - page, ioProgress );
    }
}

// ---- Jobs

/// `inAttached`: the jobs of the image, this one included.
template<class MakeJob>
void ImageMeasurer::Attach( MakeJob inMakeJob, USize inAttached, XProgress& ioProgress )
{
    itsLimit.WaitForTurn( itsQueue );
    itsQueue.AttachJob( inMakeJob() );
    ShowPages( inAttached, ioProgress );
    Gather();
}

/// Jobs of the image that have ended, but for those of images before it.
void ImageMeasurer::ShowPages( USize inAttached, XProgress& ioProgress ) const
{
    const auto weight = itsQueue.GetCurrentJobWeight();
    ioProgress.SetProgress( static_cast<double>( inAttached - std::min( inAttached, weight ) ) );
    ioProgress.YieldAndCheckAbort();
}

void ImageMeasurer::WaitForJobs( XProgress* ioProgress, USize inAttached )
{
    for ( auto left = itsQueue.GetCurrentJobWeight(); left > 0; --left )
    {
        WorkerLimit::WaitForFewerJobs( itsQueue, left );
        if ( ioProgress )
            ShowPages( inAttached, *ioProgress );
        Gather();
    }
    Gather();
}

/// Takes the results that are next in order.
void ImageMeasurer::Gather()
{
    while ( !itsImages.empty() )
    {
        auto& image = *itsImages.front();
        while ( !image.IsComplete() && image.results[image.gathered].isDone )
            GatherPage( image );
        if ( !image.IsComplete() )
            return;
        Finish( image );
        itsImages.pop_front();
    }
}

void ImageMeasurer::GatherPage( Image& ioImage )
{
    auto& result = ioImage.results[ioImage.gathered];
    if ( result.failure && result.failure->IsUserAbort() )
        XThrow( result.failure->number );
    if ( result.failure != ioImage.failure )
    {
        ReportPages( ioImage );
        ioImage.failure = result.failure;
        ioImage.firstFailed = ioImage.gathered;
    }
    ioImage.measured += result.failure ? 0 : 1;
    if ( itsOverlays && !result.failure )
        DrawOverlay( ioImage, result );
    itsObjectCount += result.measurement.GetObjectCount();
    ioImage.measurement.pages.push_back( std::move( result.measurement ) );
    ++ioImage.gathered;
}

/// The numbers of a page's objects follow those of all pages before, as their IDs in the table do.
void ImageMeasurer::DrawOverlay( Image& ioImage, PageResult& ioResult )
{
    auto job = itsOverlays->MakeJob(
        ioImage.number, ioImage.gathered, std::move( *ioResult.overlay ), itsObjectCount + 1, itsMemory,
        itsSession.progress );
    itsLimit.WaitForTurn( itsQueue );
    itsQueue.AttachJob( job.release() );
}

/// Pages in a row that failed alike are told of together.
void ImageMeasurer::ReportPages( const Image& inImage )
{
    if ( !inImage.failure )
        return;
    const auto first = std::to_string( inImage.firstFailed ), last = std::to_string( inImage.gathered - 1 );
    const auto pages = first == last ? "page " + first : "pages " + first + " to " + last;
    itsHasFailures = true;
    itsSession.ReportFailure( inImage.path + ": " + pages, *inImage.failure );
}

/// What was not taken as the file has it. The size of its pixels is told of once, for all images are likely to be alike.
void ImageMeasurer::ReportReading( Image& ioImage )
{
    if ( const auto skipped = ioImage.readers.GetSkippedCount(); skipped > 0 )
        itsSession.ReportFact(
            ioImage.path + ": left out " + std::to_string( skipped ) + ( skipped == 1 ? " page" : " pages" ) +
            " of reduced resolution or with a mask" );

    const auto size = ioImage.readers.GetIgnoredPixelSize();
    if ( size == 0 )
        return;
    auto text = ioImage.path + ": areas left out: a resolution of ";
    AppendNumber( text, std::round( size * 100 ) / 100 );
    text += " \u00B5m a pixel is that of a screen or of paper (--pixel-size gives another)";
    if ( itsHasReportedPixelSize )
        itsSession.Note( text );
    else
        itsSession.ReportFact( text );
    itsHasReportedPixelSize = true;
}

void ImageMeasurer::Finish( Image& ioImage )
{
    ReportPages( ioImage );
    ReportReading( ioImage );
    itsSession.Note(
        ioImage.path + ": " + std::to_string( ioImage.measured ) + " of " +
        std::to_string( ioImage.gathered ) + " pages, " +
        std::to_string( ioImage.measurement.GetObjectCount() ) + " objects, " +
        FormatSeconds( ioImage.timer.GetElapsedSeconds() ) );
    if ( ioImage.background )
        itsLastBackground = ioImage.background->TakePage();
    if ( ioImage.measured > 0 )
        itsMeasurements.push_back( std::move( ioImage.measurement ) );
}
