#include "Options/SegmentationOptions.h"

#include "Core/Strings/XNumberText.h"
#include "Imaging/Filters/XDiscMorphology.h"
#include "Imaging/Filters/XGaussianFilter.h"
#include "Imaging/Filters/XMedianFilter.h"
#include "Imaging/Thresholds/XLocalThreshold.h"
#include "Options/CommandLine.h"
#include "Options/ReadingOptions.h"
#include "Support/InQuotes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

const char* const SegmentationOptions::kHelp =
    "Preprocessing\n"
    "  Changes the segmented channel before its threshold, always in this order;\n"
    "  intensities are measured on the original pixels. --flatten divides by the\n"
    "  Gaussian mean, against uneven illumination. --dark inverts, for dark objects\n"
    "  on a bright background: 255 or 65535 minus the value, for floats 1 minus it.\n"
    "  --median and --smooth remove noise, --subtract-background whatever is wider\n"
    "  than objects (a white top-hat). Radii are those of discs, in pixels.\n"
    "\n"
    "Thresholds\n"
    "  Computed for each page, from the values after preprocessing; the definitions\n"
    "  are those of scikit-image. otsu, li, triangle, yen and isodata find one\n"
    "  level. multiotsu:N divides the page into N classes (2 to 10) and takes the\n"
    "  brightest; multiotsu:N:K takes those above the K darkest. local:SIZE compares\n"
    "  each pixel with the Gaussian mean around it, sauvola:SIZE with mean and\n"
    "  deviation of the square around it; SIZE is its side in pixels, odd, 3 to 999.\n"
    "  --threshold-scale multiplies the threshold: above 1 objects become smaller.\n"
    "  A uniform page has no objects, and pixels whose value is infinite or no\n"
    "  number never belong to one.\n"
    "\n"
    "Clean-up\n"
    "  Changes the pixels above the threshold, always in this order: --open removes\n"
    "  specks and thin connections, --close joins parts and fills narrow gaps, both\n"
    "  with a disc of the radius; --fill-holes fills background that is enclosed.\n"
    "  Then --exclude-edges ignores objects at the border of the page, and\n"
    "  --min-pixels and --max-pixels those of other sizes, after splitting.\n"
    "\n"
    "Splitting\n"
    "  --split divides objects that touch, without a line between them. distance:H\n"
    "  divides them where they are narrow: into one part for each place whose\n"
    "  distance from the background is at least H pixels larger than that of any\n"
    "  passage to a wider place; 0.75 if H is omitted, larger values split less.\n"
    "  intensity:SIGMA divides them where they are dark: into one part for each\n"
    "  maximum after preprocessing and smoothing by a Gaussian of SIGMA pixels, 2 if\n"
    "  omitted.\n";

namespace
{
constexpr double kLeastSigma = 0.1;
constexpr double kMostDepth = 1000;
constexpr std::uint32_t kMostClasses = 10;

constexpr std::array<std::pair<std::string_view, XThresholdMethod>, 5> kPlainMethods{ {
    { "otsu", XThresholdMethod::kOtsu },
    { "li", XThresholdMethod::kLi },
    { "triangle", XThresholdMethod::kTriangle },
    { "yen", XThresholdMethod::kYen },
    { "isodata", XThresholdMethod::kIsodata },
} };

/// Removes `inPrefix` from the text, if it starts with it.
bool TakePrefix( std::string_view inPrefix, std::string_view& ioText )
{
    if ( !ioText.starts_with( inPrefix ) )
        return false;
    ioText.remove_prefix( inPrefix.size() );
    return true;
}

/// "N" or "N:K".
std::optional<XAutomaticThreshold> ParseMultiOtsu( std::string_view inText )
{
    XAutomaticThreshold threshold{ .method = XThresholdMethod::kMultiOtsu };
    const auto colon = std::min( inText.find( ':' ), inText.size() );
    const auto classes = XParseNumber<std::uint32_t>( inText.substr( 0, colon ) );
    if ( !classes || *classes < 2 || *classes > kMostClasses )
        return std::nullopt;
    threshold.classes = *classes;
    if ( colon == inText.size() )
        return threshold;
    const auto excluded = XParseNumber<std::uint32_t>( inText.substr( colon + 1 ) );
    if ( !excluded || *excluded < 1 || *excluded >= *classes )
        return std::nullopt;
    threshold.excludedClasses = *excluded;
    return threshold;
}

std::optional<XAutomaticThreshold> ParseLocal( XThresholdMethod inMethod, std::string_view inText )
{
    const auto size = XParseNumber<std::uint32_t>( inText );
    if ( !size || *size < 3 || *size > kXMostLocalSize || *size % 2 == 0 )
        return std::nullopt;
    return XAutomaticThreshold{ .method = inMethod, .size = *size };
}

std::optional<XAutomaticThreshold> ParseMethod( std::string_view inText )
{
    for ( const auto& [name, method] : kPlainMethods )
        if ( inText == name )
            return XAutomaticThreshold{ .method = method };
    if ( TakePrefix( "multiotsu:", inText ) )
        return ParseMultiOtsu( inText );
    if ( TakePrefix( "local:", inText ) )
        return ParseLocal( XThresholdMethod::kLocal, inText );
    if ( TakePrefix( "sauvola:", inText ) )
        return ParseLocal( XThresholdMethod::kSauvola, inText );
    return std::nullopt;
}

/// "distance", "distance:H", "intensity" or "intensity:SIGMA".
std::optional<XSplitSettings> ParseSplit( std::string_view inText )
{
    XSplitSettings split;
    const auto colon = std::min( inText.find( ':' ), inText.size() );
    const auto method = inText.substr( 0, colon );
    if ( method == "distance" )
        split.method = XSplitMethod::kDistance;
    else if ( method == "intensity" )
        split.method = XSplitMethod::kIntensity;
    else
        return std::nullopt;
    if ( colon == inText.size() )
        return split;
    const auto isDistance = split.method == XSplitMethod::kDistance;
    const auto number = XParseNumber<double>( inText.substr( colon + 1 ) );
    const auto least = isDistance ? 0 : kLeastSigma, most = isDistance ? kMostDepth : kXMostSigma;
    if ( !number || !( *number >= least && *number <= most ) )
        return std::nullopt;
    ( isDistance ? split.depth : split.sigma ) = *number;
    return split;
}

std::string CheckSplit( const std::string& inText )
{
    if ( ParseSplit( inText ) )
        return "";
    return "invalid split " + InQuotes( inText ) +
        " (expected distance, distance:H, H from 0 to 1000, intensity or intensity:SIGMA, SIGMA from 0.1 to 500)";
}

std::string CheckMethod( const std::string& inText )
{
    const auto number = XParseNumber<double>( inText );
    if ( ( number && std::isfinite( *number ) ) || ParseMethod( inText ) )
        return "";
    const auto start = "invalid threshold " + InQuotes( inText );
    if ( inText.starts_with( "multiotsu" ) )
        return start + " (expected multiotsu:N, N from 2 to 10, or multiotsu:N:K, K from 1 to N - 1)";
    if ( inText.starts_with( "local" ) || inText.starts_with( "sauvola" ) )
        return start + " (expected a size after the colon, odd, from 3 to 999, such as local:51)";
    return start +
        " (expected otsu, li, triangle, yen, isodata, multiotsu:N, local:SIZE, sauvola:SIZE or a number)";
}
} // namespace

void SegmentationOptions::Declare( const CommandOptions& inOptions )
{
    const auto objects = inOptions.Under( "Segmentation" );
    objects.Add( "--channel", itsChannel, "Channel to segment" )
        .Takes( "NAME|Cn" )
        .Check( CheckChannel )
        .ShowsDefault();
    objects.Add( "--threshold", itsThreshold, "Method (see Thresholds) or a value" )
        .Takes( "METHOD|VALUE" )
        .Check( CheckMethod )
        .ShowsDefault();
    objects.Add( "--threshold-scale", itsScale, "Factor for the threshold [1]" )
        .Takes( "F" )
        .IsBetween( 0.01, 100.0 );
    DeclareFilters( inOptions.Under( "Preprocessing" ) );
    DeclareCleaning( inOptions.Under( "Clean-up" ) );
    inOptions.Under( "Splitting" )
        .Add( "--split", itsSplit, "Divide touching objects (see Splitting)" )
        .Takes( "METHOD" )
        .Check( CheckSplit );
}

void SegmentationOptions::DeclareFilters( const CommandOptions& inOptions )
{
    inOptions.Add( "--flatten", itsFilters.flattenSigma, "Divide by the Gaussian mean" )
        .Takes( "SIGMA" )
        .IsBetween( kLeastSigma, kXMostSigma );
    inOptions.AddFlag( "--dark", itsFilters.isDark, "Find dark objects on a bright background" );
    inOptions.Add( "--median", itsFilters.medianRadius, "Take the median of a disc" )
        .Takes( "RADIUS" )
        .IsBetween( 1u, kXMostMedianRadius );
    inOptions.Add( "--smooth", itsFilters.smoothSigma, "Smooth by a Gaussian" )
        .Takes( "SIGMA" )
        .IsBetween( kLeastSigma, kXMostSigma );
    inOptions.Add( "--subtract-background", itsFilters.backgroundRadius, "Remove what is wider than a disc" )
        .Takes( "RADIUS" )
        .IsBetween( 1u, kXMostDiscRadius );
}

void SegmentationOptions::DeclareCleaning( const CommandOptions& inOptions )
{
    inOptions.Add( "--open", itsCleaning.openRadius, "Remove what a disc does not fit into" )
        .Takes( "RADIUS" )
        .IsBetween( 1u, kXMostDiscRadius );
    inOptions.Add( "--close", itsCleaning.closeRadius, "Fill gaps that a disc does not fit into" )
        .Takes( "RADIUS" )
        .IsBetween( 1u, kXMostDiscRadius );
    inOptions.AddFlag( "--fill-holes", itsCleaning.fillsHoles, "Fill holes of objects" );
}

XSegmentationSettings SegmentationOptions::GetSettings() const
{
    XSegmentationSettings settings;
    settings.channel = ParseChannel( itsChannel ).value_or( 0 );
    settings.filters = itsFilters;
    if ( const auto value = XParseNumber<double>( itsThreshold ) )
        settings.threshold = *value * itsScale;
    else
        settings.automatic = *ParseMethod( itsThreshold );
    settings.automatic.scale = itsScale;
    settings.cleaning = itsCleaning;
    if ( !itsSplit.empty() )
        settings.split = *ParseSplit( itsSplit );
    return settings;
}
