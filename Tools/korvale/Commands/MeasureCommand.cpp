// Options become the settings of ImageMeasurer, and its results the output files. What can fail because of the command line
// fails before an image is measured: contradictory options (Check), outputs that cannot be written, groups, a journal of
// another run, a service that refuses. The outputs are put in place together; only then is the journal removed, so an
// interrupted run with `--resume` leaves one of the two.

#include "Commands/MeasureCommand.h"

#include "Core/Streams/XMemStream.h"
#include "Core/Strings/XByteCount.h"
#include "Core/Strings/XNumberText.h"
#include "Files/WFolders.h"
#include "Imaging/Writing/XTIFFWriter.h"
#include "Jobs/XProgress.h"
#include "Measuring/MeasurementStream.h"
#include "Measuring/MeasurementSummary.h"
#include "NetJobs/XNetJobDeployment.h"
#include "Options/CommandLine.h"
#include "Options/MemoryBudget.h"
#include "Options/OptionChecks.h"
#include "Process/WInterrupt.h"
#include "Support/FilePaths.h"
#include "Support/InQuotes.h"
#include "Support/NetworkPlace.h"
#include "Support/WrongUsage.h"
#include "Tables/ColumnNames.h"
#include "Terminal/ProgressDisplay.h"
#include "Terminal/Session.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace
{
/// After an interrupt, the time within which nodes are notified that their jobs are stopped.
constexpr std::uint32_t kLogOffMS = 900;

std::string MakeHelp()
{
    std::string help = "Images\n"
                       "  TIFF (whole numbers, floats or masks, any number of pages) and PNG. Samples\n"
                       "  that are not 8- or 16-bit unsigned become 32-bit floats: whole numbers up to\n"
                       "  16777216 exactly, images with larger ones are rejected; 64-bit floats are\n"
                       "  rounded, with a note. Min-is-white images are inverted, palettes resolved to\n"
                       "  red, green and blue. TIFF may be compressed with LZW, deflate or PackBits; on\n"
                       "  Linux also with JPEG, LZMA, Zstandard, WebP or LERC. Pages of reduced\n"
                       "  resolution and masks are skipped. Stacks and volumes whose planes follow a\n"
                       "  single page are rejected.\n"
                       "\n";
    help += ReadingOptions::kHelp;
    help += "\n"
            "Objects\n"
            "  The connected pixels whose value in the chosen channel is greater than the\n"
            "  threshold, numbered in raster order of their first pixel; IDs count from 1\n"
            "  over the whole table. Coordinates are in pixels, the first pixel is 0; the\n"
            "  perimeter counts pixel edges; the standard deviation is the population's.\n"
            "  Areas need --pixel-size, or a resolution of at most 20 um per pixel in the\n"
            "  image; coarser ones belong to screens or paper and are ignored.\n"
            "  --inside finds objects inside each object by a second threshold of the\n"
            "  original pixels. Their rows follow the objects of their page; Parent ID\n"
            "  names the object around them.\n"
            "\n";
    help += SegmentationOptions::kHelp;
    help += "\n"
            "Given objects\n"
            "  --objects measures the objects of a label image, as other programs write it:\n"
            "  each has the pixels of one value other than 0, connected or not, without\n"
            "  preprocessing, threshold, clean-up and splitting. --mask measures the\n"
            "  connected pixels above 0 of another image, after clean-up and splitting;\n"
            "  there is no threshold. The file must have as many pages as the image, of the\n"
            "  same size and one channel. --min-pixels, --max-pixels, --exclude-edges and\n"
            "  --inside work as for objects that are found.\n"
            "\n"
            "Shape\n"
            "  --shape adds the axes, eccentricity and orientation of the ellipse with the\n"
            "  same second moments, Feret diameters, convex area, solidity, Crofton\n"
            "  perimeter, circularity, equivalent diameter, extent and holes, in pixels,\n"
            "  and in \u00B5m if the pixel size is known and pixels are square.\n"
            "\n"
            "Background\n"
            "  --background subtracts the per-pixel mean or minimum over all pages of an\n"
            "  image before thresholding; negative results become 0. Means of integers are\n"
            "  rounded to nearest, halves up; for floats only finite samples count. Pages\n"
            "  that cannot be read, or differ from the first in size or type, are left out.\n"
            "\n"
            "Overlays\n"
            "  --overlay draws contours and IDs over the channel that was segmented, with\n"
            "  stretched grey levels; child objects have a second colour, and\n"
            "  --inside-channel shows inside the objects. Overlapping IDs are omitted. Small\n"
            "  pages are enlarged, pages above 5000 pixels a side reduced. Several pages\n"
            "  give FILE-0000.png, FILE-0001.png, ...; several images FILE-IMAGE.png or\n"
            "  FILE-IMAGE-0000.png, with -2, -3, ... for further images of one name.\n"
            "\n"
            "Nodes\n"
            "  With --control, the nodes of a control service (korvale control, korvale\n"
            "  node) measure the pages; the results are the same. This process reads the\n"
            "  images, subtracts backgrounds and draws. With --shared-files, nodes read\n"
            "  images without background subtraction themselves, if they find files of the\n"
            "  same size, time and checksum under the same paths.\n"
            "\n"
            "Names\n"
            "  Images of equal names in different folders get a column Folder. Characters\n"
            "  that Windows-1252, the encoding of tables, lacks are written as \\u{3A9}.\n"
            "\n"
            "Output\n"
            "  Without -o or --csv only a summary is printed. Outputs replace older files\n"
            "  when everything is measured. Pages that do not fit into --memory are swapped\n"
            "  to temporary files; results are the same. Repeated images are measured each\n"
            "  time, with a note. Unreadable images and pages are reported on standard\n"
            "  error; the others are measured, and the exit status is 1.\n";
    help += "  Temporary files are written to ";
    help += WFolders::DescribeTemporaryFolder();
    help += ".\n"
            "\n"
            "Interrupted runs\n"
            "  With --resume, finished pages are kept beside the first output, in a file\n"
            "  OUTPUT.journal. After an interrupt, a crash or a power failure, the same\n"
            "  command measures only what is missing or has failed, also on nodes; results\n"
            "  are those of an uninterrupted run. Pages of images that have changed since\n"
            "  are measured again, and other settings than those of the run are rejected.\n"
            "  The journal is removed when the outputs are in place.\n"
            "\n"
            "Examples\n"
            "  korvale measure cells.tif --csv cells.csv\n"
            "  korvale measure *.tif --channel C2 --min-pixels 20 -o cells.table\n"
            "  korvale measure nuclei.tif --smooth 1 --threshold li --csv nuclei.csv\n"
            "  korvale measure stack.tif --background mean --overlay marked.png\n"
            "  korvale measure night/*.tif -o night.table --resume\n"
            "\n"
            "Exit status: 0, 1 after a failure, 2 for wrong usage, 130 when interrupted.";
    return help;
}

std::string CheckInsideThreshold( const std::string& inText )
{
    const auto number = XParseNumber<double>( inText );
    return inText == "otsu" || ( number && std::isfinite( *number ) )
        ? ""
        : "invalid threshold " + InQuotes( inText ) + " (expected otsu or a number)";
}

/// Reports images that are listed more than once, by whatever names.
void ReportRepeatedImages( const std::vector<std::string>& inNames, Session& ioSession )
{
    std::map<WFilePath::Key, std::string> first;
    std::vector<std::string> repeated;
    for ( const auto& name : inNames )
    {
        const auto path = PathFromUTF8( name );
        const auto [other, isNew] = first.emplace( WFilePath::GetKey( path ), name );
        if ( isNew || !WFilePath::Exists( path ) )
            continue;
        repeated.push_back( name + ( name == other->second ? "" : " (" + other->second + ")" ) );
    }
    if ( repeated.empty() )
        return;
    const auto more = repeated.size() - 1;
    ioSession.ReportInfo(
        repeated.front() +
        ( more > 0 ? " and " + std::to_string( more ) + " more images are" : std::string( " is" ) ) +
        " listed more than once: each time it is measured and counted" );
}
} // namespace

void MeasureCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain( MakeHelp() );
    itsImages.Declare( inOptions, "Images to measure" );
    DeclareSegmentation( inOptions );
    itsReading.Declare( inOptions.Under( "Reading" ) );
    const auto background = inOptions.Under( "Background subtraction" );
    background.Add( "--background", itsBackground, "Subtract the mean or minimum over all pages [none]" )
        .Takes( "mean|min" )
        .IsOneOf( { "mean", "min" } );
    background.Add( "--save-background", itsBackgroundFile, "Write the background as a TIFF file" )
        .Takes( "FILE" )
        .Check( CheckFileName )
        .Needs( "--background" );
    const auto output = inOptions.Under( "Results" );
    itsOutputs.Declare( output );
    output.Add( "--labels", itsLabels, "Write the objects as pixels with their IDs (TIFF)" )
        .Takes( "FILE.tif" )
        .Check( CheckFileName );
    output.AddFlag( "--shape", itsMeasuresShape, "Also measure the shape of objects (see Shape)" );
    output.Add( "--overlay", itsOverlay, "Write an annotated PNG of each page" )
        .Takes( "FILE.png" )
        .Check( CheckFileName );
    output.AddFlag( "--resume", itsIsResumed, "Keep finished pages; continue an interrupted run" );
    output.AddFlag( "-q,--quiet", itsIsQuiet, "No progress, no summary" );
    const auto resources = inOptions.Under( "Resources" );
    resources.Add( "--memory", itsMemory, "Memory to use, e.g. 512M, 1.5G [60 % of all]" )
        .Takes( "SIZE" )
        .Check( CheckByteCount );
    resources.Add( "--workers", itsWorkers, "Maximum number of threads [one per processor]" )
        .Takes( "N" )
        .IsBetween( 1u, 1024u );
    DeclareNodes( inOptions.Under( "Nodes" ) );
    DeclareGiven( inOptions.Under( "Given objects" ) );
}

void MeasureCommand::DeclareGiven( const CommandOptions& inOptions )
{
    const auto objects = inOptions.Add( "--objects", itsObjects, "Measure the objects of a label image" )
                             .Takes( "FILE" )
                             .Check( CheckFileName );
    const auto mask = inOptions.Add( "--mask", itsMask, "Measure the objects of a mask" )
                          .Takes( "FILE" )
                          .Check( CheckFileName )
                          .Excludes( "--objects" );
    for ( const auto* const option : { "--threshold", "--threshold-scale", "--control" } )
    {
        objects.Excludes( option );
        mask.Excludes( option );
    }
    for ( const auto* const option :
          { "--flatten", "--dark", "--median", "--smooth", "--subtract-background", "--open", "--close",
            "--fill-holes", "--split" } )
        objects.Excludes( option );
}

void MeasureCommand::DeclareNodes( const CommandOptions& inOptions )
{
    inOptions.Add( "--control", itsControl, "Measure on the nodes of this control service" )
        .Takes( "HOST:PORT" )
        .Check( NetworkPlace::Check );
    inOptions.AddFlag( "--shared-files", itsAreFilesShared, "Nodes read the images under the same paths" )
        .Needs( "--control" );
    itsProtection.Declare( inOptions );
}

void MeasureCommand::DeclareSegmentation( const CommandOptions& inOptions )
{
    itsSegmentation.Declare( inOptions );
    const auto objects = inOptions.Under( "Objects" );
    objects.Add( "--connectivity", itsConnectivity, "Connect pixels by edges (4) or also corners (8)" )
        .Takes( "N" )
        .IsOneOf( { "4", "8" } )
        .ShowsDefault();
    objects.Add( "--min-pixels", itsLeastPixels, "Minimum object size in pixels" )
        .Takes( "N" )
        .Check( CheckWholeNumber )
        .ShowsDefault();
    objects.Add( "--max-pixels", itsMostPixels, "Maximum object size in pixels [none]" )
        .Takes( "N" )
        .Check( CheckWholeNumber );
    objects.AddFlag( "--exclude-edges", itsExcludesEdges, "Ignore objects at the border of the page" );
    const auto children = inOptions.Under( "Child objects" );
    children.Add( "--inside", itsInside, "Segment child objects: otsu (for each) or a value" )
        .Takes( "otsu|VALUE" )
        .Check( CheckInsideThreshold );
    children.Add( "--inside-channel", itsInsideChannel, "Channel for child objects [that of --channel]" )
        .Takes( "NAME|Cn" )
        .Check( CheckChannel )
        .Needs( "--inside" );
    children.Add( "--inside-min-pixels", itsInsideLeastPixels, "Minimum size of child objects in pixels" )
        .Takes( "N" )
        .Check( CheckWholeNumber )
        .Needs( "--inside" )
        .ShowsDefault();
}

void MeasureCommand::Check() const
{
    if ( itsMostPixels < itsLeastPixels )
        throw WrongUsage( "--max-pixels is less than --min-pixels" );
    if ( !itsOverlay.empty() && !HasEnding( itsOverlay, ".png" ) )
        throw WrongUsage( "invalid overlay file " + itsOverlay + " (expected a name that ends in .png)" );
    if ( !itsLabels.empty() && !HasEnding( itsLabels, ".tif" ) && !HasEnding( itsLabels, ".tiff" ) )
        throw WrongUsage(
            "invalid label file " + itsLabels + " (expected a name that ends in .tif or .tiff)" );
    if ( !itsBackgroundFile.empty() && itsImages.Get().size() > 1 )
        throw WrongUsage( "--save-background accepts only one image" );
    if ( !itsLabels.empty() && itsImages.Get().size() > 1 )
        throw WrongUsage( "--labels accepts only one image" );
    if ( GetGiven() && itsImages.Get().size() > 1 )
        throw WrongUsage(
            ( itsMask.empty() ? "--objects" : "--mask" ) + std::string( " accepts only one image" ) );
    if ( itsIsResumed && GetJournalName().empty() )
        throw WrongUsage( "--resume needs an output (-o, --csv, --labels, --overlay or --save-background)" );
}

CommandFiles MeasureCommand::GetFiles() const
{
    CommandFiles files{ GetInputNames(), GetOutputNames() };
    if ( !itsOverlay.empty() )
        files.outputs.push_back( itsOverlay );
    if ( itsIsResumed )
        files.outputs.push_back( GetJournalName() );
    return files;
}

int MeasureCommand::Run( Session& ioSession )
{
    if ( itsIsQuiet )
        ioSession.progress.Silence();
    const MemoryBudget budget( XParseByteCount( itsMemory ) );
    // An output that cannot be written is reported before the images are measured.
    CheckOutputFiles( GetOutputNames() );
    const auto areFoldersRead = itsImages.Report( ioSession );
    itsImages.CheckGroups( GetColumnNames(), ioSession );
    std::unique_ptr<MeasureJournal> journal;
    if ( itsIsResumed && !Try( ioSession, GetJournalName(), [&] { journal = OpenJournal( ioSession ); } ) )
        return kFailure;
    ReportRepeatedImages( itsImages.Get(), ioSession );
    auto overlays = MakeOverlayFiles( ioSession.GetLogName() );
    std::unique_ptr<NodeWorkers> nodes;
    if ( !itsControl.empty() && !Try( ioSession, itsControl, [&] { nodes = ConnectToNodes( ioSession ); } ) )
        return kFailure;
    ImageMeasurer measurer(
        { itsReading.GetSettings(), GetSettings(), GetChannelNames(), GetBackgroundKind(),
          WorkerLimit( itsWorkers ), itsAreFilesShared, !itsBackgroundFile.empty(), GetGiven(), itsLabels },
        overlays ? &*overlays : nullptr, journal.get(), std::move( nodes ), ioSession );
    auto measurements = measurer.Measure( itsImages.Get() );
    for ( auto& measurement : measurements )
        measurement.groups = itsImages.GetGroups( measurement.folder + "/" + measurement.name );
    // Nothing measured, nothing written: an older output stays.
    if ( measurements.empty() )
    {
        budget.LogFigures( ioSession );
        return kFailure;
    }

    auto table = WriteFiles( measurements, measurer, overlays ? &*overlays : nullptr );
    if ( journal )
        journal->Remove();
    budget.LogFigures( ioSession );
    ioSession.progress.Silence(); // What is printed now is short.
    if ( !itsIsQuiet )
        PrintSummary( measurements, std::move( table ), measurer.GetChannel(), ioSession.out );
    return measurer.HasFailures() || !areFoldersRead ? kFailure : kSuccess;
}

std::unique_ptr<NodeWorkers> MeasureCommand::ConnectToNodes( Session& ioSession ) const
{
    WInterrupt::BeginService( kLogOffMS ); // or the nodes would go on for a while
    const NetworkPlace place( itsControl );
    const auto protection = itsProtection.Choose(
        place.IsLoopBack(), XDeploymentKeys::kRoleNode, XDeploymentKeys::kRoleControlService );
    if ( protection.isWeak )
        ioSession.ReportWarning( "without TLS, others in the network can read and change what is sent" );
    auto nodes = std::make_unique<NodeWorkers>(
        XNetJobDeployment{ place.GetAddress(), protection.cipher, protection.tls }, itsControl, ioSession );
    nodes->Start();
    return nodes;
}

XBackgroundKind MeasureCommand::GetBackgroundKind() const
{
    if ( itsBackground.empty() )
        return XBackgroundKind::kNone;
    return itsBackground == "mean" ? XBackgroundKind::kMean : XBackgroundKind::kMinimum;
}

std::optional<GivenFile> MeasureCommand::GetGiven() const
{
    if ( !itsMask.empty() )
        return GivenFile{ itsMask, XGivenKind::kMask };
    if ( !itsObjects.empty() )
        return GivenFile{ itsObjects, XGivenKind::kLabels };
    return std::nullopt;
}

/// The names that the columns of a table may have with these settings, those of groups left out, without their units.
std::vector<std::string> MeasureCommand::GetColumnNames() const
{
    XPageMeasurement page;
    page.channels = 1;
    page.pixelWidth = page.pixelHeight = 1;
    XImageMeasurement image{ "image", {} };
    image.positions.push_back( { 1, 1, 1, 1, 0 } );
    image.pages.push_back( std::move( page ) );
    std::vector<XImageMeasurement> images;
    for ( const auto* folder : { "/1", "/2" } )
    {
        images.push_back( image );
        images.back().folder = folder;
    }
    const auto table = XMakeMeasurementTable( images, GetSettings() );
    std::vector<std::string> names;
    for ( std::uint32_t i = 0; i < table.GetNumColumns(); ++i )
    {
        const auto name = GetColumnName( table.GetColumn( i ) );
        names.push_back( name.substr( 0, name.find( " (" ) ) );
    }
    return names;
}

std::vector<std::string> MeasureCommand::GetInputNames() const
{
    auto names = itsImages.Get();
    if ( const auto given = GetGiven() )
        names.push_back( given->path );
    return names;
}

std::vector<std::string> MeasureCommand::GetOutputNames() const
{
    auto names = itsOutputs.GetNames();
    if ( !itsBackgroundFile.empty() )
        names.push_back( itsBackgroundFile );
    if ( !itsLabels.empty() )
        names.push_back( itsLabels );
    return names;
}

/// Beside the first output that is a file; empty if there is none.
std::string MeasureCommand::GetJournalName() const
{
    auto names = GetOutputNames();
    names.push_back( itsOverlay );
    for ( const auto& name : names )
        if ( !name.empty() && !WFile::IsDevice( PathFromUTF8( name ) ) )
            return name + ".journal";
    return "";
}

/// What the results depend on, apart from the images.
JournalRecords::Conditions MeasureCommand::GetConditions() const
{
    const auto store = []( const auto& inWrite )
    {
        const auto stream = JournalRecords::MakeStream();
        inWrite( *stream );
        return std::string( stream->GetData(), stream->GetData() + stream->GetLength() );
    };
    const auto writeObjects = [&]( XStream& ioStream )
    {
        MeasurementStream::WriteSettings( ioStream, GetSettings() );
        const auto [channel, insideChannel] = GetChannelNames();
        MeasurementStream::WriteText( ioStream, channel );
        MeasurementStream::WriteText( ioStream, insideChannel );
        const auto given = GetGiven();
        ioStream.WriteBool( given.has_value() );
        ioStream.WriteBool( given && given->kind == XGivenKind::kMask );
    };
    const auto writeReading = [&]( XStream& ioStream )
    { MeasurementStream::WriteReadSettings( ioStream, itsReading.GetSettings() ); };
    return {
        { "version", KORVALE_VERSION },
        { "reading", store( writeReading ) },
        { "objects", store( writeObjects ) },
        { "background", itsBackground },
        { "overlays", itsOverlay.empty() && itsLabels.empty() ? "" : "drawn" },
    };
}

std::unique_ptr<MeasureJournal> MeasureCommand::OpenJournal( Session& ioSession ) const
{
    return std::make_unique<MeasureJournal>( GetJournalName(), GetConditions(), ioSession );
}

std::optional<OverlayFiles> MeasureCommand::MakeOverlayFiles( const std::string& inLog ) const
{
    if ( itsOverlay.empty() )
        return std::nullopt;
    auto others = GetOutputNames();
    const auto inputs = GetInputNames();
    others.insert( others.end(), inputs.begin(), inputs.end() );
    if ( !inLog.empty() )
        others.push_back( inLog );
    return std::optional<OverlayFiles>( std::in_place, itsOverlay, itsImages.Get().size() > 1, others );
}

XMeasureSettings MeasureCommand::GetSettings() const
{
    XMeasureSettings settings;
    settings.objects = itsSegmentation.GetSettings();
    settings.leastPixels = itsLeastPixels;
    settings.mostPixels = itsMostPixels;
    settings.excludesEdges = itsExcludesEdges;
    settings.values.shape = itsMeasuresShape;
    settings.connectivity = itsConnectivity == 4 ? XConnectivity::kEdges : XConnectivity::kEdgesAndCorners;
    if ( itsInside.empty() )
        return settings;
    const auto channel =
        itsInsideChannel.empty() ? settings.objects.channel : ParseChannel( itsInsideChannel ).value_or( 0 );
    // "otsu" is no number: the empty value selects the automatic threshold.
    settings.children = { channel, XParseNumber<double>( itsInside ), itsInsideLeastPixels };
    return settings;
}

/// The channels that are given by name.
ChannelNames MeasureCommand::GetChannelNames() const
{
    const auto getName = []( const std::string& inText )
    { return ParseChannel( inText ) ? std::string() : inText; };
    const auto& channel = itsSegmentation.GetChannel();
    return { getName( channel ), getName( itsInsideChannel.empty() ? channel : itsInsideChannel ) };
}

XPivotTable MeasureCommand::WriteFiles(
    std::vector<XImageMeasurement>& ioMeasurements, ImageMeasurer& ioMeasurer,
    OverlayFiles* ioOverlays ) const
{
    auto failure = ioMeasurer.GetLabelFailure();
    // Without the labels, the overlays are not complete either.
    if ( ioOverlays && failure.empty() )
        failure = ioOverlays->GetFailure();
    XProgress progress( 2, XProgress::kProgressSteps, kProgressDelayMS );
    progress.SetTitle( "Writing" );
    auto table = XMakeMeasurementTable( ioMeasurements, GetSettings(), &ioMeasurer.GetMeasurementMemory() );
    progress.Increment();
    auto files = itsOutputs.GetFiles( table, WorkerLimit( itsWorkers ) );
    const auto& background = ioMeasurer.GetBackground();
    if ( !itsBackgroundFile.empty() )
        files.push_back(
            { itsBackgroundFile, [&]( WFile& ioFile ) {
                 XTIFFWriter( ioFile, XTIFFWriter::GetFormat( background, 1 ) ).WritePage( background );
             } } );
    auto complete = ioMeasurer.TakeLabelFiles();
    if ( ioOverlays )
        std::ranges::move( ioOverlays->TakeFiles(), std::back_inserter( complete ) );
    WriteOutputFiles( files, std::move( complete ), failure );
    return table;
}
