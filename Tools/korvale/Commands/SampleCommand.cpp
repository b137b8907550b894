#include "Commands/SampleCommand.h"

#include "Files/WPendingFiles.h"
#include "Imaging/Writing/XTIFFWriter.h"
#include "Jobs/XProgress.h"
#include "Options/CommandLine.h"
#include "Options/OptionChecks.h"
#include "Outputs/NewFolder.h"
#include "Support/FilePaths.h"
#include "Support/WrongUsage.h"
#include "Terminal/ProgressDisplay.h"
#include "Terminal/Session.h"

#include <limits>
#include <optional>

namespace
{
const char* const kImageFile = "sample.tif";
const char* const kTruthFile = "truth.csv";
} // namespace

void SampleCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain( "The stack shows round objects with soft edges on a noisy background, at 0.25 µm\n"
                       "per pixel. Every plane has all objects; from plane to plane they move a little\n"
                       "and never touch. truth.csv has a line per object and plane: position, size\n"
                       "and brightness. Stacks of 4 GiB or more are BigTIFF files.\n"
                       "\n"
                       "Example\n"
                       "  korvale sample stack --planes 100 --width 2048 --height 2048\n"
                       "\n"
                       "Exit status: 0, 1 after a failure, 2 for wrong usage, 130 when interrupted;\n"
                       "then no file is written." );
    inOptions.Add( "DIR", itsFolder, "Folder for sample.tif and truth.csv" ).Takes( "" ).Required();
    const auto addNumber = [&]( const char* inName, std::uint32_t& outNumber, std::uint32_t inLeast,
                                std::uint32_t inMost, const char* inText )
    { inOptions.Add( inName, outNumber, inText ).Takes( "N" ).IsBetween( inLeast, inMost ).ShowsDefault(); };
    addNumber( "--planes", itsSettings.planes, 1, 100000, "Pages of the stack" );
    addNumber( "--width", itsSettings.width, 1, 65536, "Width of a plane in pixels" );
    addNumber( "--height", itsSettings.height, 1, 65536, "Height of a plane in pixels" );
    addNumber( "--channels", itsSettings.channels, 1, 64, "Samples of a pixel" );
    addNumber( "--objects", itsSettings.objects, 0, 10000000, "Objects in each plane" );
    inOptions.Add( "--bits", itsSettings.bits, "Bits of a sample" )
        .Takes( "N" )
        .IsOneOf( { "8", "16" } )
        .ShowsDefault();
    inOptions.Add( "--seed", itsSettings.seed, "Random seed: the same seed gives the same files" )
        .Takes( "N" )
        .Check( CheckWholeNumber )
        .ShowsDefault();
    inOptions.AddFlag( "-q,--quiet", itsIsQuiet, "No progress, no summary" );
}

void SampleCommand::Check() const
{
    constexpr auto kMostPixels = std::numeric_limits<std::uint32_t>::max();
    if ( std::uint64_t{ itsSettings.width } * itsSettings.height > kMostPixels )
        throw WrongUsage(
            "planes of " + std::to_string( itsSettings.width ) + " x " +
            std::to_string( itsSettings.height ) + " pixels are too large (at most " +
            std::to_string( kMostPixels ) + " pixels)" );
    try
    {
        XSyntheticStack{ itsSettings };
    }
    catch ( const WImageError& error )
    {
        throw WrongUsage( error.what() );
    }
}

CommandFiles SampleCommand::GetFiles() const
{
    return { {}, { GetName( kImageFile ), GetName( kTruthFile ) } };
}

std::string SampleCommand::GetName( const char* inFile ) const
{
    return PathToUTF8( PathFromUTF8( itsFolder ) / inFile );
}

int SampleCommand::Run( Session& ioSession )
{
    if ( itsIsQuiet )
        ioSession.progress.Silence();
    WriteFiles( PathFromUTF8( itsFolder ) );
    if ( !itsIsQuiet )
        ioSession.out << GetName( kImageFile ) << ": " << itsSettings.planes << " planes of "
                      << itsSettings.objects << " objects\n"
                      << GetName( kTruthFile ) << ": ground truth\n";
    return kSuccess;
}

/// Both files are complete before either takes its place.
void SampleCommand::WriteFiles( const std::filesystem::path& inFolder ) const
{
    std::optional<NewFolder> folder;
    WriteOutput( itsFolder, [&] { folder.emplace( inFolder ); } );
    std::vector<CompleteFile> files;
    for ( const auto* name : { kImageFile, kTruthFile } )
        WriteOutput(
            GetName( name ),
            [&] {
                files.push_back( { GetName( name ), std::make_unique<WReplaceFile>( inFolder / name ) } );
            } );

    DrawPlanes( files[0], files[1] );
    for ( const auto& each : files )
        WriteOutput( each.name, [&] { each.file->Complete(); } );

    const auto hold = WPendingFiles::Hold();
    PutInPlace( std::move( files ) );
    folder->Keep();
}

/// Keeps no more than one plane, for a stack may be larger than the memory.
void SampleCommand::DrawPlanes( const CompleteFile& ioImage, const CompleteFile& ioTruth ) const
{
    XSyntheticStack stack( itsSettings );
    std::optional<XTIFFWriter> image;
    WriteOutput(
        ioImage.name,
        [&]
        {
            image.emplace(
                ioImage.file->GetFile(), XTIFFWriter::GetFormat( stack.GetFormat(), itsSettings.planes ) );
        } );
    std::uint64_t truthEnd = 0;
    const auto writeTruth = [&]( const std::string& inText )
    {
        WriteOutput(
            ioTruth.name,
            [&] { ioTruth.file->GetFile().WriteAt( truthEnd, inText.data(), inText.size() ); } );
        truthEnd += inText.size();
    };
    writeTruth( stack.GetTruthHeader() );
    XProgress progress( itsSettings.planes, XProgress::kProgressWork, kProgressDelayMS );
    progress.SetTitle( "Drawing planes" );
    for ( std::uint32_t plane = 0; plane < itsSettings.planes; ++plane )
    {
        const auto page = stack.DrawPlane();
        WriteOutput( ioImage.name, [&] { image->WritePage( page ); } );
        writeTruth( stack.GetTruth() );
        progress.Increment();
        progress.YieldAndCheckAbort();
    }
}
