#include "Program/MeasureCommand.h"

#include "Files/WFolders.h"
#include "Files/WWildcards.h"
#include "Imaging/TIFFWriter.h"
#include "Jobs/XProgress.h"
#include "Measuring/ImageMeasurer.h"
#include "Measuring/MeasurementSummary.h"
#include "Program/CommandLine.h"
#include "Program/MemoryBudget.h"
#include "Program/OptionChecks.h"
#include "Support/ByteCount.h"
#include "Support/FilePaths.h"
#include "Support/NumberText.h"
#include "Support/WrongUsage.h"
#include "Terminal/ProgressDisplay.h"
#include "Terminal/Session.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace
{
/// The index that a name such as C1 stands for.
std::optional<std::uint32_t> ParseChannel( std::string_view inText )
{
    if ( !inText.starts_with( 'C' ) && !inText.starts_with( 'c' ) )
        return std::nullopt;
    const auto number = ParseNumber<std::uint32_t>( inText.substr( 1 ) );
    return number && *number > 0 ? std::optional( *number - 1 ) : std::nullopt;
}

std::string CheckChannel( const std::string& inText )
{
    return ParseChannel( inText ) ? "" : inText + " is no channel: they are C1, C2, ...";
}

/// The width and the height of a pixel, from "X" or "X,Y".
std::optional<std::pair<double, double>> ParsePixelSize( const std::string& inText )
{
    constexpr double kLeast = 1e-6, kMost = 1e6;
    const auto parse = []( std::string_view inPart )
    {
        const auto size = ParseNumber<double>( inPart );
        return size && *size >= kLeast && *size <= kMost ? size : std::nullopt;
    };
    const auto comma = std::min( inText.find( ',' ), inText.size() );
    const auto width = parse( inText.substr( 0, comma ) );
    const auto height = comma < inText.size() ? parse( inText.substr( comma + 1 ) ) : width;
    return width && height ? std::optional( std::pair( *width, *height ) ) : std::nullopt;
}

std::string CheckPixelSize( const std::string& inText )
{
    return ParsePixelSize( inText )
        ? ""
        : "invalid pixel size \"" + inText + "\" (expected X or X,Y in micrometres, such as 0.65)";
}

std::string CheckThreshold( const std::string& inText )
{
    const auto number = ParseNumber<double>( inText );
    return inText == "otsu" || ( number && std::isfinite( *number ) )
        ? ""
        : inText + " is neither otsu nor a number";
}

/// The images that patterns of names stand for.
std::vector<std::string> ExpandWildcards( const std::vector<std::string>& inNames )
{
    std::vector<std::string> names;
    for ( const auto& name : inNames )
    {
        const auto paths = WWildcards::Expand( PathFromUTF8( name ) );
        if ( paths.empty() )
            throw WrongUsage( "no file matches " + name );
        for ( const auto& path : paths )
            names.push_back( PathToUTF8( path ) );
    }
    return names;
}
/// Says so if images are given more than once, by whatever names.
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
    ioSession.ReportFact(
        repeated.front() +
        ( more > 0 ? " and " + std::to_string( more ) + " more images are" : std::string( " is" ) ) +
        " given more than once, and measured and counted each time" );
}
} // namespace

void MeasureCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        "Images are TIFF files (8 or 16 bits, or 32-bit float, any number of pages) and PNG files. TIFF files may be\n"
        "compressed with LZW, deflate or PackBits, on Linux also with JPEG, LZMA, Zstandard, WebP or LERC. Each page is\n"
        "one time point, counted from 0; the samples of a pixel are the channels C1, C2, ... Pages of reduced resolution\n"
        "and masks are left out and not counted. Grey images that store white as 0 are inverted. Places in a palette (of\n"
        "8 bits in TIFF files) become red, green and blue, which have 16 bits where a TIFF palette is finer than 8.\n"
        "TIFF files whose description (OME-XML, ImageJ's, or the shape of an array) declares several channels, slices or\n"
        "images, or other planes than they have pages, are refused: those planes are no time points. With\n"
        "--planes-as-times each page is one all the same. Stacks and volumes whose planes lie in the file behind a single\n"
        "page are refused in any case.\n"
        "Objects are the connected pixels whose value in the chosen channel is greater than the threshold, in each page\n"
        "in the order of their first pixel, row by row; the ID numbers all of a table from 1. Centroid, location and\n"
        "bounds are in pixels and the first pixel is 0; the perimeter counts the edges of pixels. Areas are given with\n"
        "--pixel-size, or where the image has a resolution of at most 20 um a pixel: coarser ones are those of a screen\n"
        "or of paper. The standard deviation is that of all the object's pixels.\n"
        "With --inside the connected pixels above a second threshold are found inside every object and are rows of their\n"
        "own, after the objects of their page; Parent ID is the ID of the object that they lie in.\n"
        "With --background the mean or the minimum over all pages of an image, each pixel and channel for itself, is\n"
        "subtracted from the pages before the threshold is taken, and what would be less than 0 becomes 0. The mean of\n"
        "whole numbers is rounded to the nearest, halves up; of float samples only finite ones count. Pages that cannot\n"
        "be read, or differ in size or type from the first one, have no part in it. An image of one page becomes 0.\n"
        "Pages that do not fit into --memory wait in temporary files; the results are the same.\n"
        "With --overlay the outlines of the objects and their IDs are drawn over the channel they were found in, its\n"
        "grey levels stretched; objects inside objects in a second colour, and with --inside-channel the inside of the\n"
        "objects shows that channel. IDs that would lie on one another are left\n"
        "out. Small pages are enlarged, and those of more than 5000 pixels a side reduced. With pages 0, 1, ... the files\n"
        "are FILE-0000.png, FILE-0001.png, ...; with several images FILE-IMAGE.png or FILE-IMAGE-0000.png, and\n"
        "-2, -3, ... behind that for more images of one name.\n"
        "Images in different folders that have equal names are told apart in a column Folder. Characters of names that\n"
        "Windows-1252, the encoding of tables, lacks are written as their numbers, \\u{3A9}.\n"
        "A table file or a CSV file is written only when it is asked for, and replaces an older one when all is measured.\n"
        "Images that are given more than once are measured each time, which standard error tells.\n"
        "An image or a page that cannot be read is told on standard error; the others are measured, and the exit status\n"
        "is 1. Interrupted, the command writes no file; the exit status is 130.\n"
        "Exit status: 0, 1 after a failure, 2 for wrong usage, 130 when interrupted." );
    inOptions.Add( "IMAGE", itsImages, "Images to measure" ).Takes( "" ).Required();
    inOptions.WhenParsed( [this] { itsImages = ExpandWildcards( itsImages ); } );
    itsOutputs.Declare( inOptions );
    inOptions.Add( "--channel", itsChannel, "Channel that tells objects from background" )
        .Takes( "Cn" )
        .Check( CheckChannel )
        .ShowsDefault();
    inOptions.Add( "--threshold", itsThreshold, "otsu (chosen for each page by itself) or a value" )
        .Takes( "otsu|VALUE" )
        .Check( CheckThreshold )
        .ShowsDefault();
    inOptions
        .Add( "--connectivity", itsConnectivity, "Whether pixels connect by edges (4) or by corners too (8)" )
        .Takes( "N" )
        .IsOneOf( { "4", "8" } )
        .ShowsDefault();
    inOptions.Add( "--pixel-size", itsPixelSize, "Width and height of a pixel in um [what the image says]" )
        .Takes( "X[,Y]" )
        .Check( CheckPixelSize );
    inOptions.AddFlag(
        "--planes-as-times", itsArePlanesTimes, "Measure each page as a time point, whatever is declared" );
    inOptions.Add( "--min-pixels", itsLeastPixels, "Leave out smaller objects" )
        .Takes( "N" )
        .Check( CheckWholeNumber )
        .ShowsDefault();
    inOptions
        .Add(
            "--inside", itsInside,
            "Find objects inside objects: otsu (chosen for each object by itself) or a value" )
        .Takes( "otsu|VALUE" )
        .Check( CheckThreshold );
    inOptions
        .Add( "--inside-channel", itsInsideChannel, "Channel that tells inner objects [that of --channel]" )
        .Takes( "Cn" )
        .Check( CheckChannel )
        .Needs( "--inside" );
    inOptions.Add( "--inside-min-pixels", itsInsideLeastPixels, "Leave out smaller inner objects" )
        .Takes( "N" )
        .Check( CheckWholeNumber )
        .Needs( "--inside" )
        .ShowsDefault();
    inOptions
        .Add( "--background", itsBackground, "Subtract what all pages of an image have in common [nothing]" )
        .Takes( "mean|min" )
        .IsOneOf( { "mean", "min" } );
    inOptions
        .Add(
            "--save-background", itsBackgroundFile, "TIFF file to write the background of the one image to" )
        .Takes( "FILE" )
        .Check( CheckFileName )
        .Needs( "--background" );
    inOptions.Add( "--overlay", itsOverlay, "PNG file to draw the page and what was found on it to" )
        .Takes( "FILE.png" )
        .Check( CheckFileName );
    inOptions
        .Add(
            "--memory", itsMemory,
            std::string(
                "Memory for pages, such as 512M or 1.5G [60 % of the machine's]; the others wait in files in " ) +
                WFolders::DescribeTemporaryFolder() )
        .Takes( "SIZE" )
        .Check( CheckByteCount );
    inOptions.Add( "--workers", itsWorkers, "Workers to keep busy at most [one for each processor]" )
        .Takes( "N" )
        .IsBetween( 1u, 1024u );
    inOptions.AddFlag( "-q,--quiet", itsIsQuiet, "No progress, no summary" );
}

void MeasureCommand::Check() const
{
    if ( !itsOverlay.empty() && !HasEnding( itsOverlay, ".png" ) )
        throw WrongUsage( itsOverlay + " does not end in .png" );
    if ( !itsBackgroundFile.empty() && itsImages.size() > 1 )
        throw WrongUsage( "--save-background takes the background of one image, not of several" );
}

CommandFiles MeasureCommand::GetFiles() const
{
    CommandFiles files{ itsImages, GetOutputNames() };
    if ( !itsOverlay.empty() )
        files.outputs.push_back( itsOverlay );
    return files;
}

int MeasureCommand::Run( Session& ioSession )
{
    if ( itsIsQuiet )
        ioSession.progress.Silence();
    const MemoryBudget budget( ParseByteCount( itsMemory ) );
    CheckOutputFiles( GetOutputNames() );
    ReportRepeatedImages( itsImages, ioSession );
    auto overlays = MakeOverlayFiles( ioSession.GetLogName() );
    ImageMeasurer measurer(
        GetReadSettings(), GetSettings(), GetBackgroundKind(), WorkerLimit( itsWorkers ),
        overlays ? &*overlays : nullptr, ioSession );
    auto measurements = measurer.Measure( itsImages );
    budget.NoteFigures( ioSession );
    // Nothing measured, nothing written: an older output stays.
    if ( measurements.empty() )
        return kFailure;

    const auto table = WriteFiles( measurements, measurer.GetBackground(), overlays ? &*overlays : nullptr );
    ioSession.progress.Silence(); // What is printed now is short.
    if ( !itsIsQuiet )
        PrintSummary( measurements, table, GetSettings().objects.channel, ioSession.out );
    return measurer.HasFailures() ? kFailure : kSuccess;
}

BackgroundKind MeasureCommand::GetBackgroundKind() const
{
    if ( itsBackground.empty() )
        return BackgroundKind::kNone;
    return itsBackground == "mean" ? BackgroundKind::kMean : BackgroundKind::kMinimum;
}

std::vector<std::string> MeasureCommand::GetOutputNames() const
{
    auto names = itsOutputs.GetNames();
    if ( !itsBackgroundFile.empty() )
        names.push_back( itsBackgroundFile );
    return names;
}

std::optional<OverlayFiles> MeasureCommand::MakeOverlayFiles( const std::string& inLog ) const
{
    if ( itsOverlay.empty() )
        return std::nullopt;
    auto others = GetOutputNames();
    others.insert( others.end(), itsImages.begin(), itsImages.end() );
    if ( !inLog.empty() )
        others.push_back( inLog );
    return std::optional<OverlayFiles>( std::in_place, itsOverlay, itsImages.size() > 1, others );
}

MeasureSettings MeasureCommand::GetSettings() const
{
    MeasureSettings settings;
    settings.objects = { *ParseChannel( itsChannel ), ParseNumber<double>( itsThreshold ), itsLeastPixels };
    settings.connectivity = itsConnectivity == 4 ? Connectivity::kEdges : Connectivity::kEdgesAndCorners;
    if ( itsInside.empty() )
        return settings;
    const auto channel =
        itsInsideChannel.empty() ? settings.objects.channel : *ParseChannel( itsInsideChannel );
    settings.inside = { channel, ParseNumber<double>( itsInside ), itsInsideLeastPixels };
    return settings;
}

ReadSettings MeasureCommand::GetReadSettings() const
{
    ReadSettings settings;
    settings.arePagesTimes = itsArePlanesTimes;
    if ( const auto size = ParsePixelSize( itsPixelSize ) )
        std::tie( settings.pixelWidth, settings.pixelHeight ) = *size;
    return settings;
}

XPivotTable MeasureCommand::WriteFiles(
    std::vector<ImageMeasurement>& ioMeasurements, const WImagePage& inBackground,
    OverlayFiles* ioOverlays ) const
{
    const auto failure = ioOverlays ? ioOverlays->GetFailure() : "";
    XProgress progress( 2, XProgress::kProgressSteps, kProgressDelayMs );
    progress.SetTitle( "Writing" );
    auto table = MakeMeasurementTable( ioMeasurements, GetSettings() );
    progress.Increment();
    auto files = itsOutputs.GetFiles( table, WorkerLimit( itsWorkers ) );
    if ( !itsBackgroundFile.empty() )
        files.push_back(
            { itsBackgroundFile, [&]( WFile& ioFile ) {
                 TIFFWriter( ioFile, TIFFWriter::GetFormat( inBackground, 1 ) ).WritePage( inBackground );
             } } );
    WriteOutputFiles( files, ioOverlays ? ioOverlays->TakeFiles() : std::vector<CompleteFile>(), failure );
    return table;
}
