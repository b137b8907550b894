#include "Options/ReadingOptions.h"

#include "Core/Strings/XNumberText.h"
#include "Options/CommandLine.h"
#include "Support/InQuotes.h"

#include <algorithm>
#include <tuple>
#include <utility>

const char* const ReadingOptions::kHelp =
    "Channels, slices and times\n"
    "  Read from the description of a TIFF file: OME-XML, ImageJ's, or the array\n"
    "  shape of tifffile. All channels of a slice at a time point are one page; its\n"
    "  channels are C1, C2, ..., or the names in the file. Without a description\n"
    "  each page is a time point. Series, time points and slices count from 0; the\n"
    "  table has columns for them where there are several, and the time in seconds\n"
    "  where the file has it. --z max, mean and sum combine the slices; mean and sum\n"
    "  of several slices are 32-bit floats. korvale info prints the structure. A file\n"
    "  that contradicts its description is rejected; --planes-as-times ignores the\n"
    "  description.\n";

namespace
{
std::optional<std::uint32_t> ParseIndex( std::string_view inText )
{
    return XParseNumber<std::uint32_t>( inText );
}

/// The width and the height of a pixel, from "X" or "X,Y".
std::optional<std::pair<double, double>> ParsePixelSize( const std::string& inText )
{
    constexpr double kLeast = 1e-6, kMost = 1e6;
    const auto parse = []( std::string_view inPart )
    {
        const auto size = XParseNumber<double>( inPart );
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
        : "invalid pixel size " + InQuotes( inText ) + " (expected X or X,Y in micrometres, such as 0.65)";
}

/// The first and the last time point, from "A", "A-B" or "A-".
std::optional<std::pair<std::uint32_t, std::uint32_t>> ParseTimes( std::string_view inText )
{
    const auto dash = std::min( inText.find( '-' ), inText.size() );
    const auto first = ParseIndex( inText.substr( 0, dash ) );
    auto last = first;
    if ( dash + 1 == inText.size() )
        last = UINT32_MAX;
    else if ( dash < inText.size() )
        last = ParseIndex( inText.substr( dash + 1 ) );
    return first && last && *first <= *last ? std::optional( std::pair( *first, *last ) ) : std::nullopt;
}

std::string CheckTimes( const std::string& inText )
{
    return ParseTimes( inText )
        ? ""
        : "invalid time points " + InQuotes( inText ) + " (expected A, A-B or A-, counted from 0)";
}

std::string CheckSeries( const std::string& inText )
{
    return ParseIndex( inText ) ? ""
                                : "invalid series " + InQuotes( inText ) + " (expected a number from 0 on)";
}

std::optional<XSliceMode> ParseSliceMode( std::string_view inText )
{
    static constexpr std::pair<std::string_view, XSliceMode> kModes[] = {
        { "each", XSliceMode::kEach },
        { "max", XSliceMode::kMaximum },
        { "mean", XSliceMode::kMean },
        { "sum", XSliceMode::kSum } };
    for ( const auto& [name, mode] : kModes )
        if ( inText == name )
            return mode;
    return std::nullopt;
}

std::string CheckSlices( const std::string& inText )
{
    return ParseSliceMode( inText ) || ParseIndex( inText )
        ? ""
        : "invalid slices " + InQuotes( inText ) + " (expected each, max, mean, sum or a number from 0 on)";
}

/// "C" and a number.
bool HasNumberForm( std::string_view inText )
{
    return inText.size() > 1 && ( inText[0] == 'C' || inText[0] == 'c' ) &&
        inText.find_first_not_of( "0123456789", 1 ) == inText.npos;
}
} // namespace

std::optional<std::uint32_t> ParseChannel( std::string_view inText )
{
    if ( !HasNumberForm( inText ) )
        return std::nullopt;
    const auto number = XParseNumber<std::uint32_t>( inText.substr( 1 ) );
    return number && *number > 0 ? std::optional( *number - 1 ) : std::nullopt;
}

std::string CheckChannel( const std::string& inText )
{
    const auto isValid = HasNumberForm( inText ) ? ParseChannel( inText ).has_value() : !inText.empty();
    return isValid ? "" : "invalid channel " + InQuotes( inText ) + " (expected C1, C2, ... or a name)";
}

void ReadingOptions::Declare( const CommandOptions& inOptions )
{
    inOptions.Add( "--pixel-size", itsPixelSize, "Pixel size in um [that of the image]" )
        .Takes( "X[,Y]" )
        .Check( CheckPixelSize );
    inOptions.Add( "--series", itsSeries, "Series to measure [all]" ).Takes( "N" ).Check( CheckSeries );
    inOptions.Add( "--times", itsTimes, "Time points to measure [all]" ).Takes( "A[-B]" ).Check( CheckTimes );
    inOptions.Add( "--z", itsSlices, "Slices: each, max, mean, sum or a number" )
        .Takes( "SLICES" )
        .Check( CheckSlices )
        .ShowsDefault();
    inOptions.AddFlag( "--planes-as-times", itsArePlanesTimes, "Measure each page as a time point" );
}

XImageReadSettings ReadingOptions::GetSettings() const
{
    XImageReadSettings settings;
    settings.arePagesTimes = itsArePlanesTimes;
    if ( const auto size = ParsePixelSize( itsPixelSize ) )
        std::tie( settings.pixelWidth, settings.pixelHeight ) = *size;
    settings.selection.series = ParseIndex( itsSeries );
    if ( const auto times = ParseTimes( itsTimes ) )
        std::tie( settings.selection.firstTime, settings.selection.lastTime ) = *times;
    if ( const auto mode = ParseSliceMode( itsSlices ) )
        settings.selection.sliceMode = *mode;
    else
        settings.selection.slice = ParseIndex( itsSlices );
    return settings;
}
