#include "ImageMeasurer.h"

#include "Jobs/XProgress.h"
#include "NumberText.h"
#include "Session.h"
#include "WCodePage.h"

#include <algorithm>

/// An image whose pages are being measured.
struct ImageMeasurer::Image
{
    std::string path; ///< As the user gave it.
    PageReaders readers;
    ImageMeasurement measurement;
    std::deque<PageResult> results;
    std::uint32_t gathered = 0; ///< Pages whose results have been taken, in order.
    std::uint32_t measured = 0;
    std::optional<Failure> failure; ///< That of the pages gathered last, from `firstFailed` on.
    std::uint32_t firstFailed = 0;
    XTimer timer;

    explicit Image( const std::string& inPath )
        : path( inPath ), readers( PathFromUTF8( inPath ) ), results( readers.GetPageCount() )
    {
        measurement.name = PathToUTF8( PathFromUTF8( inPath ).filename() );
    }
    bool IsComplete() const { return gathered == results.size(); }
};

ImageMeasurer::ImageMeasurer( const MeasureSettings& inSettings, WorkerLimit inLimit, Session& ioSession )
    : itsSettings( inSettings ), itsLimit( inLimit ), itsSession( ioSession )
{
    itsQueue.Start();
}

ImageMeasurer::~ImageMeasurer() = default;

std::vector<ImageMeasurement> ImageMeasurer::Measure( const std::vector<std::string>& inImages )
{
    // A single image has no bar beside that of its pages.
    const auto type = inImages.size() > 1 ? XProgress::kProgressWork : XProgress::kProgressWait;
    XProgress progress( inImages.size(), type, kProgressDelayMs );
    progress.SetTitle( "Measuring" );
    for ( const auto& image : inImages )
    {
        MeasureImage( image, &image == &inImages.back() );
        progress.Increment();
    }
    return std::move( itsMeasurements );
}

void ImageMeasurer::MeasureImage( const std::string& inPath, bool inIsLast )
{
    try
    {
        itsImages.push_back( std::make_unique<Image>( inPath ) );
    }
    catch ( ... )
    {
        const auto failure = DescribeCurrentException();
        WaitForJobs(); // What went wrong before is told before.
        itsHasFailures = true;
        itsSession.ReportFailure( inPath, failure );
        return;
    }
    XProgress progress( itsImages.back()->results.size(), XProgress::kProgressWork, kProgressDelayMs, true );
    progress.SetMessage( WCodePage::UTF8ToAnsi( itsImages.back()->measurement.name ) );
    AttachPages( *itsImages.back(), progress );
    if ( inIsLast )
        WaitForJobs( &progress );
}

void ImageMeasurer::AttachPages( Image& ioImage, XProgress& ioProgress )
{
    const auto pageCount = ioImage.results.size();
    for ( std::uint32_t page = 0; page < pageCount; ++page )
    {
        itsLimit.WaitForTurn( itsQueue );
        itsQueue.AttachJob( new MeasurePageJob(
            ioImage.readers, page, ioImage.measurement.name, itsSettings, itsSession.progress,
            ioImage.results[page] ) );
        ShowPages( page + 1, ioProgress );
        Gather(); // After the last page the image may be gone.
    }
}

/// Pages of the image that is being attached whose jobs have ended, but for those of images before it.
void ImageMeasurer::ShowPages( USize inAttached, XProgress& ioProgress ) const
{
    const auto weight = itsQueue.GetCurrentJobWeight();
    ioProgress.SetProgress( static_cast<double>( inAttached - std::min( inAttached, weight ) ) );
    ioProgress.YieldAndCheckAbort();
}

void ImageMeasurer::WaitForJobs( XProgress* ioProgress )
{
    for ( auto left = itsQueue.GetCurrentJobWeight(); left > 0; --left )
    {
        WorkerLimit::WaitForFewerJobs( itsQueue, left );
        if ( ioProgress )
            ShowPages( ioProgress->GetMaxProgress(), *ioProgress );
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
    ioImage.measurement.pages.push_back( std::move( result.measurement ) );
    ++ioImage.gathered;
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

void ImageMeasurer::Finish( Image& ioImage )
{
    ReportPages( ioImage );
    itsSession.Note(
        ioImage.path + ": " + std::to_string( ioImage.measured ) + " of " +
        std::to_string( ioImage.gathered ) + " pages, " +
        std::to_string( ioImage.measurement.GetObjectCount() ) + " objects, " +
        FormatSeconds( ioImage.timer.GetElapsedSeconds() ) );
    if ( ioImage.measured > 0 )
        itsMeasurements.push_back( std::move( ioImage.measurement ) );
}
