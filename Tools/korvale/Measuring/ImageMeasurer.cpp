#include "Measuring/ImageMeasurer.h"

#include "Core/Errors/XException.h"
#include "Core/Strings/XNumberText.h"
#include "Ground/XErrorNumbers.h"
#include "Imaging/Objects/XLabelImage.h"
#include "Jobs/XProgress.h"
#include "Support/Failure.h"
#include "Support/FilePaths.h"
#include "Terminal/ProgressDisplay.h"
#include "Terminal/Session.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

// The thread of the command opens images, submits a job for each page and gathers results; only page jobs run
// on workers. Submitting waits until the pipeline has room (PagePipeline), so the number of pages that are
// locked in memory is bounded by the number of workers and not by the length of a stack.
//
// Jobs end in any order, results are taken in the order of images and pages: `itsImages` is a queue of the
// images that are not complete, `gathered` the next page of each. A job writes only to its own PageRecord or
// overlay; `isDone` is set last, on the worker, and read by the command's thread (Gather), which alone
// collects measurements and failures and prints messages. So object numbers, the table and the messages do
// not depend on the number of workers. An image stays in the queue until its last page has been gathered,
// because its jobs refer to it.
//
// Without a background the pages of the next image are submitted while those of the previous one are still
// being measured. With a background each image needs two passes with a wait between them; no other image is
// open meanwhile.

namespace
{
/// An image of one file is not listed: naming it again measures it again.
template<class TSetFiles>
void AddSet( const XImageStructure& inStructure, const std::string& inPath, TSetFiles& ioSetFiles )
{
    if ( inStructure.files.size() > 1 )
        for ( const auto& file : inStructure.files )
            ioSetFiles.emplace( WFilePath::GetKey( file ), inPath );
}

} // namespace

ImageMeasurer::ImageMeasurer(
    const Settings& inSettings, OverlayFiles* ioOverlays, MeasureJournal* ioJournal,
    std::unique_ptr<NodeWorkers> inNodes, Session& ioSession )
    : itsReading( inSettings.reading ), itsSettings( inSettings.measuring ),
      itsChannelNames( inSettings.channelNames ), itsBackground( inSettings.background ),
      itsAreFilesShared( inSettings.areFilesShared ), itsSavesBackground( inSettings.savesBackground ),
      itsGiven( inSettings.given ), itsLabels( inSettings.labels ), itsOverlays( ioOverlays ),
      itsJournal( ioJournal ), itsSession( ioSession ),
      itsPipeline( inSettings.workers, ioSession.progress, std::move( inNodes ) )
{
}

ImageMeasurer::~ImageMeasurer() = default;

std::vector<XImageMeasurement> ImageMeasurer::Measure( const std::vector<std::string>& inImages )
{
    if ( itsOverlays )
        PlanOverlays( inImages );
    // A single image has no bar beside that of its pages.
    const auto type = inImages.size() > 1 ? XProgress::kProgressWork : XProgress::kProgressWait;
    XProgress progress( inImages.size(), type, kProgressDelayMS );
    progress.SetTitle( "Measuring" );
    for ( USize number = 0; number < inImages.size(); ++number )
    {
        MeasureImage( inImages[number], number, number + 1 == inImages.size() );
        progress.Increment();
    }
    WaitForJobs(); // Overlays are drawn when the pages have been gathered.
    ReportSetParts();
    return std::move( itsMeasurements );
}

/// An image that cannot be read now counts as one of a single page; it is reported in its turn.
void ImageMeasurer::PlanOverlays( const std::vector<std::string>& inImages )
{
    XProgress progress( inImages.size(), XProgress::kProgressWork, kProgressDelayMS );
    progress.SetTitle( "Checking overlays" );
    SetFiles setFiles;
    for ( const auto& image : inImages )
    {
        const auto path = PathFromUTF8( image );
        std::uint32_t pageCount = 1;
        try
        {
            if ( setFiles.contains( WFilePath::GetKey( path ) ) )
                pageCount = 0; // See OpenImage.
            else
            {
                const XImageReader reader( path, itsReading );
                AddSet( reader.GetStructure(), image, setFiles );
                pageCount = reader.GetPageCount();
            }
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
    ReportChange( image );
    const auto pages = image.GetPageCount();
    const auto steps = HasBackground() ? 2 * USize{ pages } : pages;
    XProgress progress( steps, XProgress::kProgressWork, kProgressDelayMS, true );
    progress.SetMessage( XString::FromUTF8( image.measurement.name ) );
    itsShownWorkers = 0;
    if ( HasBackground() )
        MeasureWithBackground( image, progress );
    else
        MeasurePages( image, progress );
    // Otherwise the next image is opened while the workers finish this one.
    if ( inIsLast || HasBackground() )
        WaitForJobs( &progress, steps );
}

/// Each file of a set may have the description of the whole set, which is measured once.
bool ImageMeasurer::IsOfOpenedSet( const std::string& inPath )
{
    const auto found = itsSetFiles.find( WFilePath::GetKey( PathFromUTF8( inPath ) ) );
    if ( found == itsSetFiles.end() )
        return false;
    if ( itsSetPartCount++ == 0 )
        itsFirstSetPart = inPath + ": not measured again: it is a part of " + found->second;
    return true;
}

/// In one line: a set may consist of thousands of files.
void ImageMeasurer::ReportSetParts()
{
    if ( itsSetPartCount > 1 )
        itsFirstSetPart += " (and " + std::to_string( itsSetPartCount - 1 ) + " more such images)";
    if ( itsSetPartCount > 0 )
        itsSession.ReportInfo( itsFirstSetPart );
}

bool ImageMeasurer::OpenImage( const std::string& inPath, USize inNumber )
{
    if ( IsOfOpenedSet( inPath ) )
        return false;
    try
    {
        const auto isReadByNodes = itsAreFilesShared && !HasBackground();
        const auto file =
            isReadByNodes || itsJournal ? SharedFile::TryDescribe( PathFromUTF8( inPath ) ) : std::nullopt;
        const auto givenFile =
            itsGiven && itsJournal ? SharedFile::TryDescribe( PathFromUTF8( itsGiven->path ) ) : std::nullopt;
        auto image = std::make_unique<ImageRecord>( inPath, inNumber, itsReading );
        if ( isReadByNodes )
            image->file = file;
        if ( itsOverlays && itsOverlays->GetPageCount( inNumber ) != image->pages.size() )
            throw WImageError( "the file has changed" );
        // Only one file is compared with that of the nodes.
        if ( image->reader.GetStructure().files.size() > 1 )
            image->file.reset();
        PlanPages( *image );
        if ( itsGiven )
            image->OpenGiven( *itsGiven, itsReading );
        if ( itsJournal )
            image->OpenJournal( *itsJournal, itsReading, file, givenFile );
        AddSet( image->reader.GetStructure(), inPath, itsSetFiles );
        itsImages.push_back( std::move( image ) );
        return true;
    }
    catch ( ... )
    {
        const auto failure = DescribeCurrentException();
        WaitForJobs(); // Failures of preceding images are reported first.
        itsHasFailures = true;
        itsSession.ReportFailure( inPath, failure );
        return false;
    }
}

void ImageMeasurer::ReportChange( const ImageRecord& inImage )
{
    if ( !inImage.journal || !inImage.journal->HasChanged() )
        return;
    WaitForJobs(); // Failures of preceding images are reported first.
    itsSession.ReportInfo( inImage.path + ": has changed since the interrupted run: it is measured again" );
}

void ImageMeasurer::PlanPages( ImageRecord& ioImage )
{
    ioImage.settings.resize( ioImage.reader.GetStructure().series.size(), itsSettings );
    for ( auto& page : ioImage.pages )
    {
        const auto& position = ioImage.reader.GetPosition( page.number );
        // Of a series that is not measured, no channel is missed.
        if ( position.time == itsReading.selection.firstTime )
            ioImage.settings[position.series] =
                itsChannelNames.Apply( itsSettings, ioImage.reader.GetStructure().series[position.series] );
        page.settings = &ioImage.settings[position.series];
        if ( !itsChannel )
            itsChannel = page.settings->objects.channel;
        page.needsOverlay = itsOverlays || !itsLabels.empty();
        ioImage.measurement.positions.push_back( position );
    }
}

/// Pages that nodes read need no job of this process.
void ImageMeasurer::MeasurePages( ImageRecord& ioImage, XProgress& ioProgress )
{
    const auto pageCount = ioImage.GetPageCount();
    for ( std::uint32_t number = 0; number < pageCount; ++number )
    {
        auto& page = ioImage.pages[number];
        const auto isFinished = PageTask::IsFinished( page );
        ioImage.finished += isFinished ? 1 : 0;
        if ( ioImage.file && !isFinished )
        {
            itsPipeline.WaitForNodes();
            SubmitToNodes( ioImage, page );
            ShowPages( number + 1, ioProgress );
            // After the last page the image may be gone.
            Gather();
            continue;
        }
        const auto isOnNode = std::make_shared<bool>( false );
        const auto run = [&, isFinished, isOnNode, this]( XProgress& ioSteps )
        {
            if ( isFinished )
                return itsTask.TakeFinished( page );
            if ( !HasNodes() )
                return itsTask.Measure( page, ioImage.reader, ioSteps );
            itsTask.Read( page, ioImage.reader, ioSteps );
            *isOnNode = MeasureOnNode( ioImage, page );
            if ( !*isOnNode )
                itsTask.MeasureRead( page );
        };
        const auto complete = [&page, isOnNode]( std::uint32_t )
        {
            if ( !*isOnNode ) // else the page may be gone already
                page.End();
        };
        // After the last page the image may be gone.
        Submit( { ioImage.measurement.name, number, run, complete }, page, number + 1, ioProgress );
    }
}

// ---- On nodes

/// Returns false for a page that is too large for the network: this process measures it.
bool ImageMeasurer::MeasureOnNode( ImageRecord& ioImage, PageRecord& ioPage )
{
    if ( ioPage.samples.GetFormat().GetByteCount() > MeasurePageJob::kMostBytes )
        return false;
    SubmitToNodes( ioImage, ioPage );
    return true;
}

void ImageMeasurer::SubmitToNodes( ImageRecord& ioImage, PageRecord& ioPage )
{
    const MeasurePageJob::Request request{ ioImage.measurement.name, ioPage.number, *ioPage.settings,
                                           ioPage.needsOverlay,      ioImage.file,  itsReading };
    const auto completed = [&, this]( MeasurePageJob& ioJob, std::uint32_t inResultCode )
    {
        itsTask.TakeResult( ioPage, ioJob, inResultCode );
        ioPage.End();
    };
    itsPipeline.GetNodes()->Submit( request, ioImage.file ? nullptr : &ioPage.samples, itsMemory, completed );
}

// ---- With a background

void ImageMeasurer::MeasureWithBackground( ImageRecord& ioImage, XProgress& ioProgress )
{
    itsLastBackground = {};
    // Pages that are finished belong to their background, for which all pages are needed.
    if ( !itsSavesBackground && ioImage.journal && ioImage.journal->HasAllPages() )
        return MeasureLoadedPages( ioImage, ioProgress );
    LoadPages( ioImage, ioProgress );
    ioImage.CheckAbort();
    // Else the background would depend on the memory that the machine has.
    if ( ioImage.HasLackedMemory() )
        ioImage.Refuse( { "not measured: the background is incomplete" } );
    if ( ioImage.HasGoodPages() )
        ComputeBackground( ioImage );
    MeasureLoadedPages( ioImage, ioProgress );
}

void ImageMeasurer::LoadPages( ImageRecord& ioImage, XProgress& ioProgress )
{
    const auto pageCount = ioImage.GetPageCount();
    ioImage.background = std::make_unique<StackBackground>( itsBackground, pageCount, itsMemory );
    for ( std::uint32_t number = 0; number < pageCount; ++number )
    {
        auto& page = ioImage.pages[number];
        const auto run = [&, this]( XProgress& ioSteps )
        { itsTask.Load( page, ioImage.reader, *ioImage.background, ioSteps ); };
        const auto complete = [&]( std::uint32_t inResultCode )
        {
            // Also after a failure or a stop: later pages wait for this one in each stage.
            ioImage.background->HasEnded( page.number );
            if ( inResultCode != 0 )
                page.samples.Drop();
        };
        Submit( { ioImage.measurement.name, number, run, complete }, page, number + 1, ioProgress );
    }
    WaitForJobs( &ioProgress, pageCount );
}

void ImageMeasurer::ComputeBackground( ImageRecord& ioImage )
{
    try
    {
        ioImage.background->Compute();
        if ( ioImage.journal )
            ioImage.journal->SetBackground( ioImage.background->GetPage() );
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() != kErrorOutOfMemory )
            throw;
        ioImage.Refuse( DescribeCurrentException() );
        return;
    }
    itsSession.LogInfo(
        ioImage.path + ": background of " + std::to_string( ioImage.background->GetAddedCount() ) +
        " pages, " + XFormatSeconds( ioImage.timer.GetElapsedSeconds() ) );
}

/// Backwards: where memory is short, the pages that were read last are those that are still in memory.
void ImageMeasurer::MeasureLoadedPages( ImageRecord& ioImage, XProgress& ioProgress )
{
    const auto pageCount = ioImage.GetPageCount();
    for ( auto number = pageCount; number-- > 0; )
    {
        auto& page = ioImage.pages[number];
        if ( page.failure )
        {
            page.isDone = true;
            continue;
        }
        const auto isFinished = PageTask::IsFinished( page );
        ioImage.finished += isFinished ? 1 : 0;
        const auto isOnNode = std::make_shared<bool>( false );
        const auto run = [&, isFinished, isOnNode, this]( XProgress& ioSteps )
        {
            if ( isFinished )
                return itsTask.TakeFinished( page );
            if ( !HasNodes() )
                return itsTask.MeasureLoaded( page, *ioImage.background, ioSteps );
            itsTask.SubtractBackground( page, *ioImage.background );
            ioSteps.Increment();
            *isOnNode = MeasureOnNode( ioImage, page );
            if ( !*isOnNode )
                itsTask.MeasureRead( page );
        };
        const auto complete = [&page, isOnNode]( std::uint32_t )
        {
            if ( !*isOnNode ) // else the page may be gone already
                page.End();
        };
        const auto submitted = 2 * USize{ pageCount } - number;
        Submit( { ioImage.measurement.name, number, run, complete }, page, submitted, ioProgress );
    }
}

// ---- Jobs

/// `inSubmitted`: the jobs of the image, this one included.
void ImageMeasurer::Submit( PageWork inWork, PageRecord& ioPage, USize inSubmitted, XProgress& ioProgress )
{
    itsPipeline.Submit( std::move( inWork ), ioPage.failure );
    ShowPages( inSubmitted, ioProgress );
    Gather();
}

/// The number of ended jobs of the image, without those of preceding images.
void ImageMeasurer::ShowPages( USize inSubmitted, XProgress& ioProgress )
{
    if ( HasNodes() )
        ShowWorkers( ioProgress );
    const auto unfinished = itsPipeline.GetUnfinishedCount();
    ioProgress.SetProgress( static_cast<double>( inSubmitted - std::min( inSubmitted, unfinished ) ) );
    ioProgress.YieldAndCheckAbort();
}

void ImageMeasurer::ShowWorkers( XProgress& ioProgress )
{
    const auto workers = itsPipeline.GetNodes()->GetWorkerCount();
    if ( std::exchange( itsShownWorkers, workers ) != workers && !itsImages.empty() )
        ioProgress.SetMessage( XString::FromUTF8(
            itsImages.back()->measurement.name + " (" + std::to_string( workers ) + " workers)" ) );
}

void ImageMeasurer::WaitForJobs( XProgress* ioProgress, USize inSubmitted )
{
    for ( auto left = itsPipeline.GetUnfinishedCount(); left > 0; --left )
    {
        itsPipeline.WaitForFewerThan( left );
        if ( ioProgress )
            ShowPages( inSubmitted, *ioProgress );
        Gather();
    }
    Gather();
}

/// Takes the results that are next in order.
void ImageMeasurer::Gather()
{
    if ( itsJournal )
        itsJournal->FlushSometimes();
    while ( !itsImages.empty() )
    {
        auto& image = *itsImages.front();
        while ( !image.IsComplete() && image.pages[image.gathered].isDone )
            GatherPage( image );
        if ( !image.IsComplete() )
            return;
        Finish( image );
        itsImages.pop_front();
    }
}

void ImageMeasurer::GatherPage( ImageRecord& ioImage )
{
    auto& page = ioImage.pages[ioImage.gathered];
    if ( page.failure && page.failure->IsUserAbort() )
        XThrow( page.failure->number );
    if ( page.failure != ioImage.failure )
    {
        ReportPages( ioImage );
        ioImage.failure = page.failure;
        ioImage.firstFailed = ioImage.gathered;
    }
    ioImage.measured += page.failure ? 0 : 1;
    if ( page.measurement.nonFinite > 0 )
        ReportNonFinite( ioImage, page );
    ioImage.ignoredPixelSize = std::max( ioImage.ignoredPixelSize, page.ignoredPixelSize );
    if ( itsOverlays && itsLabels.empty() && !page.failure )
        DrawOverlay( ioImage, page, itsObjectCount + 1 );
    itsObjectCount += page.measurement.GetObjectCount();
    ioImage.measurement.pages.push_back( std::move( page.measurement ) );
    ++ioImage.gathered;
}

void ImageMeasurer::ReportNonFinite( const ImageRecord& inImage, const PageRecord& inPage )
{
    const auto count = inPage.measurement.nonFinite;
    itsSession.ReportInfo(
        inImage.path + ": page " + std::to_string( inPage.number ) + ": " + std::to_string( count ) +
        ( count == 1 ? " pixel is" : " pixels are" ) +
        " infinite or not a number and never part of an object" );
}

/// The numbers of a page's objects follow those of all pages before, as their IDs in the table do.
void ImageMeasurer::DrawOverlay( ImageRecord& ioImage, PageRecord& ioPage, std::uint64_t inFirstNumber )
{
    auto& output = itsOverlays->GetPage( ioImage.number, ioPage.number );
    // Shared, because a std::function must be copyable.
    const auto overlay = std::make_shared<CachedOverlay>( std::move( *ioPage.overlay ) );
    const auto run = [this, overlay, &output, first = inFirstNumber]( XProgress& ioSteps )
    { itsTask.DrawOverlay( *overlay, first, output.file, ioSteps ); };
    itsPipeline.Submit( { ioImage.path, ioPage.number, run }, output.failure );
}

/// The width of the labels depends on the number of all objects, so they are written when all pages have been measured. A
/// failure must not cost the measurements.
void ImageMeasurer::WriteLabels( ImageRecord& ioImage )
{
    try
    {
        itsLabelFiles.push_back(
            WriteCompleteFile( { itsLabels, [&]( WFile& ioFile ) { AppendLabels( ioImage, ioFile ); } } ) );
    }
    catch ( const std::runtime_error& failure )
    {
        itsLabelFailure = failure.what();
    }
}

/// A page that could not be measured has no labels, and the size of the first one that could.
void ImageMeasurer::AppendLabels( ImageRecord& ioImage, WFile& ioFile )
{
    const auto type = XGetLabelType( ioImage.measurement.GetObjectCount() );
    std::vector<WImageFormat> formats;
    for ( const auto& page : ioImage.pages )
    {
        const auto isMeasured = [&]( const PageRecord& inPage ) { return !inPage.failure; };
        const auto& like = page.failure ? *std::ranges::find_if( ioImage.pages, isMeasured ) : page;
        WImageFormat format;
        format.width = like.overlay->GetWidth();
        format.height = like.overlay->GetHeight();
        format.pixelWidth = ioImage.measurement.pages[like.number].pixelWidth;
        format.pixelHeight = ioImage.measurement.pages[like.number].pixelHeight;
        formats.push_back( XTIFFWriter::GetLabelFormat( format, type ) );
    }
    const auto& largest = *std::ranges::max_element( formats, {}, &WImageFormat::GetByteCount );
    XTIFFWriter writer( ioFile, XTIFFWriter::GetFormat( largest, ioImage.GetPageCount() ) );
    const XLabelledObjects none;
    std::uint64_t first = 1;
    for ( auto& page : ioImage.pages )
    {
        auto sketch = page.failure ? XOverlaySketch() : page.overlay->Take( itsMemory );
        const auto& objects = page.failure ? none : sketch.objects.front().objects;
        XWriteLabels( writer, formats[page.number], objects, first, type );
        if ( itsOverlays && !page.failure )
        {
            page.overlay->Keep( std::move( sketch ), itsMemory );
            DrawOverlay( ioImage, page, first );
        }
        first += ioImage.measurement.pages[page.number].GetObjectCount();
    }
}

/// Consecutive pages that failed in the same way are reported together.
void ImageMeasurer::ReportPages( const ImageRecord& inImage )
{
    if ( !inImage.failure )
        return;
    const auto first = std::to_string( inImage.firstFailed ), last = std::to_string( inImage.gathered - 1 );
    const auto pages = first == last ? "page " + first : "pages " + first + " to " + last;
    itsHasFailures = true;
    itsSession.ReportFailure( inImage.path + ": " + pages, *inImage.failure );
}

/// For what is likely to be the same for all images.
void ImageMeasurer::ReportOnce( const std::string& inText, bool& ioIsReported )
{
    if ( std::exchange( ioIsReported, true ) )
        itsSession.LogInfo( inText );
    else
        itsSession.ReportInfo( inText );
}

/// Reports contents of the file that were ignored or changed.
void ImageMeasurer::ReportReading( ImageRecord& ioImage )
{
    if ( const auto skipped = ioImage.reader.GetSkippedCount(); skipped > 0 )
        itsSession.ReportInfo(
            ioImage.path + ": left out " + std::to_string( skipped ) + ( skipped == 1 ? " page" : " pages" ) +
            " of reduced resolution or with a mask" );

    const auto isRounded = [&]( const XPagePosition& inPosition )
    { return ioImage.reader.GetStructure().series[inPosition.series].sampleType == "64-bit float"; };
    if ( std::ranges::any_of( ioImage.measurement.positions, isRounded ) )
        ReportOnce( ioImage.path + ": 64-bit floats are rounded to 32 bits", itsHasReportedRounding );

    const auto size = std::max( ioImage.reader.GetIgnoredPixelSize(), ioImage.ignoredPixelSize );
    if ( size == 0 )
        return;
    auto text = ioImage.path + ": areas left out: pixel size ";
    XAppendNumber( text, std::round( size * 100 ) / 100 );
    text += " \u00B5m is a screen or print resolution (set it with --pixel-size)";
    ReportOnce( text, itsHasReportedPixelSize );
}

void ImageMeasurer::Finish( ImageRecord& ioImage )
{
    ReportPages( ioImage );
    ReportReading( ioImage );
    itsSession.LogInfo(
        ioImage.path + ": " + std::to_string( ioImage.measured ) + " of " +
        std::to_string( ioImage.gathered ) + " pages, " +
        ( ioImage.finished > 0 ? std::to_string( ioImage.finished ) + " from the journal, " : "" ) +
        std::to_string( ioImage.measurement.GetObjectCount() ) + " objects, " +
        XFormatSeconds( ioImage.timer.GetElapsedSeconds() ) );
    if ( ioImage.background )
        itsLastBackground = ioImage.background->TakePage();
    if ( ioImage.measured > 0 && !itsLabels.empty() )
        WriteLabels( ioImage );
    if ( ioImage.measured > 0 )
        itsMeasurements.push_back( std::move( ioImage.measurement ) );
}
