#include "Commands/InfoCommand.h"

#include "Core/Strings/XNumberText.h"
#include "Imaging/XImageReader.h"
#include "Jobs/XProgress.h"
#include "Options/CommandLine.h"
#include "Support/FilePaths.h"
#include "Support/JSONText.h"
#include "Terminal/ProgressDisplay.h"
#include "Terminal/Session.h"

#include <algorithm>

namespace
{
/// What is printed of an image file.
struct ImageInfo
{
    std::string path; // as the user gave it
    std::string format;
    std::uint32_t skippedPages = 0;
    XImageStructure structure;
    std::vector<std::pair<std::string, std::optional<std::string>>> groups = {}; // of the path
};

ImageInfo ReadInfo( const std::string& inPath )
{
    const auto path = PathFromUTF8( inPath );
    const auto image = WImageFile::Open( path );
    ImageInfo info{
        inPath, image->GetFormatName(), image->GetSkippedCount(), XImageStructure::Read( *image, path ) };
    if ( info.structure.series[0].width == 0 || info.structure.series[0].height == 0 )
        throw WImageError( "it is damaged: its size is missing" );
    return info;
}

std::string FormatNumber( double inNumber )
{
    std::string text;
    XAppendNumber( text, inNumber );
    return text;
}

std::string GetChannelName( const XImageSeries& inSeries, std::uint32_t inChannel )
{
    const auto hasName =
        inChannel < inSeries.channelNames.size() && !inSeries.channelNames[inChannel].empty();
    return hasName ? inSeries.channelNames[inChannel] : "C" + std::to_string( inChannel + 1 );
}

/// A resolution that is not a microscope's is not used for areas.
bool IsUsed( const XImageSeries& inSeries )
{
    return inSeries.pixelSource != XImageSource::kResolution ||
        std::max( inSeries.pixelWidth, inSeries.pixelHeight ) <= XImageReader::kLargestPixel;
}

// ---- Text

/// In one line, whatever the file contains.
std::string MakeLine( std::string inText )
{
    std::ranges::replace_if(
        inText, []( char inCharacter ) { return static_cast<unsigned char>( inCharacter ) < 0x20; }, ' ' );
    return inText;
}

std::string InParentheses( XImageSource inSource )
{
    return std::string( " (" ) + XGetSourceName( inSource ) + ")";
}

std::string DescribeChannels( const XImageSeries& inSeries )
{
    auto text = std::to_string( inSeries.channels );
    constexpr std::uint32_t kMostNames = 100;
    for ( std::uint32_t i = 0; i < std::min( inSeries.channels, kMostNames ); ++i )
        text += ( i == 0 ? ": " : ", " ) + GetChannelName( inSeries, i );
    return inSeries.channels > kMostNames ? text + ", ..." : text;
}

std::string DescribeSlices( const XImageSeries& inSeries )
{
    auto text = std::to_string( inSeries.slices );
    if ( inSeries.sliceSpacing > 0 )
        text += ", " + FormatNumber( inSeries.sliceSpacing ) + " \u00B5m apart" +
            InParentheses( inSeries.sliceSource );
    return text;
}

std::string DescribeTimes( const XImageSeries& inSeries )
{
    auto text = std::to_string( inSeries.times );
    if ( inSeries.timeInterval > 0 )
        text +=
            ", every " + FormatNumber( inSeries.timeInterval ) + " s" + InParentheses( inSeries.timeSource );
    else if ( inSeries.timeSource != XImageSource::kNone )
        text += ", with times" + InParentheses( inSeries.timeSource );
    return text;
}

std::string DescribePixelSize( const XImageSeries& inSeries )
{
    if ( inSeries.pixelSource == XImageSource::kNone )
        return "not known";
    return FormatNumber( inSeries.pixelWidth ) + " x " + FormatNumber( inSeries.pixelHeight ) + " \u00B5m" +
        InParentheses( inSeries.pixelSource ) +
        ( IsUsed( inSeries ) ? "" : ", of a screen or print: ignored" );
}

void PrintText( const ImageInfo& inInfo, std::ostream& ioOut )
{
    const auto& structure = inInfo.structure;
    ioOut << inInfo.path << ": " << inInfo.format
          << ", structure from: " << XGetSourceName( structure.source ) << '\n';
    if ( structure.files.size() > 1 )
        ioOut << "  Files        " << structure.files.size() << '\n';
    if ( inInfo.skippedPages > 0 )
        ioOut << "  Left out     " << inInfo.skippedPages << " pages of reduced resolution or with a mask\n";
    for ( const auto& [name, text] : inInfo.groups )
        ioOut << "  Group        " << name << ": " << ( text ? MakeLine( *text ) : "not in the path" )
              << '\n';
    for ( std::size_t i = 0; i < structure.series.size(); ++i )
    {
        const auto& series = structure.series[i];
        ioOut << "  Series " << i << ( series.name.empty() ? "" : ": " + MakeLine( series.name ) ) << '\n'
              << "    Size         " << series.width << " x " << series.height << " pixels, "
              << series.sampleType << '\n'
              << "    Channels     " << MakeLine( DescribeChannels( series ) ) << '\n'
              << "    Slices       " << DescribeSlices( series ) << '\n'
              << "    Time points  " << DescribeTimes( series ) << '\n'
              << "    Pixel size   " << DescribePixelSize( series ) << '\n';
    }
}

// ---- JSON

std::string NumberOrNull( double inNumber )
{
    return inNumber > 0 ? FormatNumber( inNumber ) : "null";
}

std::string SourceOrNull( XImageSource inSource )
{
    return inSource == XImageSource::kNone ? "null" : QuoteJSON( XGetSourceName( inSource ) );
}

std::string DescribeInJSON( const XImageSeries& inSeries )
{
    std::string names;
    for ( std::uint32_t i = 0; i < inSeries.channels; ++i )
        names += ( i == 0 ? "" : ", " ) + QuoteJSON( GetChannelName( inSeries, i ) );
    return "{ \"name\": " + QuoteJSON( inSeries.name ) + ", \"width\": " + std::to_string( inSeries.width ) +
        ", \"height\": " + std::to_string( inSeries.height ) +
        ", \"type\": " + QuoteJSON( inSeries.sampleType ) + ",\n        \"channels\": [" + names +
        "], \"slices\": " + std::to_string( inSeries.slices ) +
        ", \"times\": " + std::to_string( inSeries.times ) +
        ",\n        \"pixel_width_um\": " + NumberOrNull( inSeries.pixelWidth ) +
        ", \"pixel_height_um\": " + NumberOrNull( inSeries.pixelHeight ) +
        ", \"pixel_size_source\": " + SourceOrNull( inSeries.pixelSource ) +
        ", \"pixel_size_used\": " + ( IsUsed( inSeries ) ? "true" : "false" ) +
        ",\n        \"slice_spacing_um\": " + NumberOrNull( inSeries.sliceSpacing ) +
        ", \"slice_spacing_source\": " + SourceOrNull( inSeries.sliceSource ) +
        ", \"interval_s\": " + NumberOrNull( inSeries.timeInterval ) +
        ", \"time_source\": " + SourceOrNull( inSeries.timeSource ) + " }";
}

std::string DescribeGroupsInJSON( const ImageInfo& inInfo )
{
    std::string text;
    for ( const auto& [name, group] : inInfo.groups )
        text += ( text.empty() ? ", \"groups\": { " : ", " ) + QuoteJSON( name ) + ": " +
            ( group ? QuoteJSON( *group ) : "null" );
    return text.empty() ? text : text + " }";
}

std::string DescribeInJSON( const ImageInfo& inInfo )
{
    auto text = "{ \"image\": " + QuoteJSON( inInfo.path ) + ", \"format\": " + QuoteJSON( inInfo.format ) +
        ", \"source\": " + SourceOrNull( inInfo.structure.source ) +
        ", \"files\": " + std::to_string( inInfo.structure.files.size() ) +
        ", \"skipped_pages\": " + std::to_string( inInfo.skippedPages ) + DescribeGroupsInJSON( inInfo ) +
        ",\n    \"series\": [";
    for ( std::size_t i = 0; i < inInfo.structure.series.size(); ++i )
        text += ( i == 0 ? "\n      " : ",\n      " ) + DescribeInJSON( inInfo.structure.series[i] );
    return text + "\n    ] }";
}
} // namespace

void InfoCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( "Prints the series of each image with their sizes, sample type, channels, pixel\n"
                     "size, slice spacing and times, and in parentheses where each value comes from:\n"
                     "OME-XML, ImageJ, the array shape of tifffile, or the resolution of the pages.\n"
                     "Samples are not read. Series, slices and time points count from 0.\n"
                     "\n" ) +
        ImageNames::kHelp +
        "\n"
        "Examples\n"
        "  korvale info cells.ome.tif\n"
        "  korvale info *.tif --json\n"
        "  korvale info plates -r --group '(?<Well>[A-H]\\d\\d)_'\n"
        "\n"
        "Exit status: 0, 1 if an image cannot be read, 2 for wrong usage, 130 when\n"
        "interrupted." );
    itsImages.Declare( inOptions, "Images to describe" );
    inOptions.AddFlag( "--json", itsIsJSON, "Print JSON, an array with an object for each image" );
}

/// Images that cannot be read are missing in the output.
int InfoCommand::Run( Session& ioSession )
{
    if ( ioSession.isOutTerminal )
        ioSession.progress.Silence();
    const auto areFoldersRead = itsImages.Report( ioSession );
    itsImages.CheckGroups( {}, ioSession );
    XProgress progress( itsImages.Get().size(), XProgress::kProgressWork, kProgressDelayMS );
    bool hasFailures = !areFoldersRead;
    std::string json;
    for ( const auto& path : itsImages.Get() )
    {
        const auto print = [&]
        {
            auto info = ReadInfo( path );
            info.groups = itsImages.GetGroups( path );
            if ( itsIsJSON )
                json += ( json.empty() ? "\n  " : ",\n  " ) + DescribeInJSON( info );
            else
                PrintText( info, ioSession.out );
        };
        hasFailures |= !Try( ioSession, path, print );
        progress.Increment();
        progress.YieldAndCheckAbort();
    }
    if ( itsIsJSON )
        ioSession.out << '[' << json << "\n]\n";
    return hasFailures ? kFailure : kSuccess;
}
