#include "Imaging/Internal/XImageDescription.h"

#include "Core/Strings/XNumberText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

// TIFF has pages but does not say what they are. Writers say it in the description of the first page, in one of three
// forms: lines of ImageJ, OME-XML (XOMEDescription.cpp), and the array shape of numpy-based writers. The lines and the
// shape are read leniently, because they are written by many programs: what is not understood is not declared.

namespace
{
constexpr std::uint64_t kMostPlanes = 1 << 20; // of a dimension, so that no product of three overflows

/// Invalid counts become 1.
std::uint64_t ParseCount( std::string_view inText )
{
    const auto count = XParseNumber<std::uint64_t>( XTrim( inText ) );
    return std::clamp<std::uint64_t>( count.value_or( 1 ), 1, kMostPlanes );
}

/// 0 for anything but a positive number.
double ParsePositive( std::string_view inText )
{
    const auto number = XParseNumber<double>( XTrim( inText ) );
    return number && std::isfinite( *number ) && *number > 0 ? *number : 0;
}

using Unit = std::pair<std::string_view, double>;

template<std::size_t kCount>
std::optional<double> FindUnit( const std::array<Unit, kCount>& inUnits, std::string_view inName )
{
    const auto found = std::ranges::find( inUnits, inName, &Unit::first );
    return found == inUnits.end() ? std::nullopt : std::optional( found->second );
}

// ---- ImageJ: a line "key=value" for each property, the version first

/// The lines as keys and values; of a repeated key the first counts.
class Lines
{
public:
    explicit Lines( std::string_view inText );
    std::string_view Get( std::string_view inKey ) const;
    std::uint64_t GetCount( std::string_view inKey ) const { return ParseCount( Get( inKey ) ); }

private:
    std::vector<std::pair<std::string_view, std::string_view>> itsLines;
};

Lines::Lines( std::string_view inText )
{
    while ( !inText.empty() )
    {
        const auto end = std::min( inText.find_first_of( "\r\n" ), inText.size() );
        const auto line = inText.substr( 0, end );
        inText.remove_prefix( std::min( end + 1, inText.size() ) );
        const auto equals = line.find( '=' );
        // Its own lines come first; a writer may append megabytes of others.
        constexpr std::size_t kMostLines = 1000;
        if ( equals != line.npos && itsLines.size() < kMostLines )
            itsLines.emplace_back( line.substr( 0, equals ), line.substr( equals + 1 ) );
    }
}

std::string_view Lines::Get( std::string_view inKey ) const
{
    for ( const auto& [key, value] : itsLines )
        if ( key == inKey )
            return value;
    return {};
}

/// Only a resolution without a unit is in the unit of the description.
void SetCalibration( const Lines& inLines, const WImageFile::Layout& inLayout, XDeclaredSeries& outSeries )
{
    const auto unit = inLines.Get( "unit" );
    const auto getUnit = [&]( std::string_view inKey )
    {
        const auto own = inLines.Get( inKey );
        return XGetMicrometres( XTrim( own.empty() ? unit : own ) ).value_or( 0 );
    };
    const auto x = XGetMicrometres( XTrim( unit ) ).value_or( 0 ), y = getUnit( "yunit" );
    if ( inLayout.unitsPerPixelX > 0 && x > 0 && y > 0 )
    {
        outSeries.pixelWidth = inLayout.unitsPerPixelX * x;
        outSeries.pixelHeight = inLayout.unitsPerPixelY * y;
    }
    outSeries.sliceSpacing = ParsePositive( inLines.Get( "spacing" ) ) * getUnit( "zunit" );
    const auto timeUnit = XTrim( inLines.Get( "tunit" ) );
    outSeries.timeInterval = ParsePositive( inLines.Get( "finterval" ) ) *
        ( timeUnit.empty() ? 1 : XGetSeconds( timeUnit ).value_or( 0 ) );
}

// ---- The shape of an array

using Shape = std::vector<std::uint64_t>;

/// The numbers of a list in brackets of either kind; empty if one of them is not a number.
Shape ParseList( std::string_view inText )
{
    const auto start = inText.find_first_of( "[(" );
    if ( start == inText.npos )
        return {};
    auto list = inText.substr( start + 1 );
    list = list.substr( 0, list.find_first_of( "])" ) );
    constexpr std::size_t kMostDimensions = 64;
    Shape shape;
    while ( !XTrim( list ).empty() && shape.size() < kMostDimensions )
    {
        const auto end = std::min( list.find( ',' ), list.size() );
        const auto number = XParseNumber<std::uint64_t>( XTrim( list.substr( 0, end ) ) );
        if ( !number )
            return {};
        shape.push_back( *number );
        list.remove_prefix( std::min( end + 1, list.size() ) );
    }
    return shape;
}

/// The text after a name of the outermost object; empty if that name does not occur.
std::string_view FindMember( std::string_view inText, std::string_view inQuotedName )
{
    const auto found = inText.find( inQuotedName );
    if ( found == inText.npos )
        return {};
    const auto rest = XTrim( inText.substr( found + inQuotedName.size() ) );
    return rest.starts_with( ':' ) ? XTrim( rest.substr( 1 ) ) : std::string_view();
}

/// Removes the dimensions of one page from the end; returns false if they are not those of the page.
bool TakePage( const WImageFile::Layout& inLayout, Shape& ioShape )
{
    const auto takeEnd = [&]( const Shape& inEnd )
    {
        if ( ioShape.size() < inEnd.size() || !std::equal( inEnd.rbegin(), inEnd.rend(), ioShape.rbegin() ) )
            return false;
        ioShape.resize( ioShape.size() - inEnd.size() );
        return true;
    };
    const auto samples = inLayout.samplesPerPixel;
    return takeEnd( { inLayout.height, inLayout.width, samples } ) ||
        takeEnd( { samples, inLayout.height, inLayout.width } ) ||
        ( samples == 1 && takeEnd( { inLayout.height, inLayout.width } ) );
}

/// Sets the dimension of an axis; returns false if the letter has no meaning here or occurs again.
bool SetDimension( char inAxis, std::uint64_t inCount, XDeclaredSeries& ioSeries )
{
    auto* const dimension = inAxis == 'C' ? &ioSeries.channels
        : inAxis == 'Z'                   ? &ioSeries.slices
        : inAxis == 'T'                   ? &ioSeries.times
                                          : nullptr;
    if ( !dimension || ioSeries.order.find( inAxis ) != std::string::npos )
        return false;
    *dimension = inCount;
    ioSeries.order.insert( ioSeries.order.begin(), inAxis );
    return true;
}
} // namespace

std::string_view XTrim( std::string_view inText )
{
    constexpr std::string_view kWhitespace = " \t\r\n";
    inText.remove_prefix( std::min( inText.find_first_not_of( kWhitespace ), inText.size() ) );
    return inText.substr( 0, inText.find_last_not_of( kWhitespace ) + 1 );
}

std::optional<double> XGetMicrometres( std::string_view inUnit )
{
    // The sign of micro has two characters in Unicode, one in Latin-1, and ImageJ escapes it.
    static constexpr std::array<Unit, 28> kUnits{
        { { "\u00B5m", 1 },    { "\u03BCm", 1 },      { "\xB5m", 1 },     { "\\u00B5m", 1 },
          { "um", 1 },         { "micron", 1 },       { "microns", 1 },   { "micrometer", 1 },
          { "micrometre", 1 }, { "\\u03BCm", 1 },     { "nm", 1e-3 },     { "nanometer", 1e-3 },
          { "pm", 1e-6 },      { "fm", 1e-9 },        { "\u00C5", 1e-4 }, { "\u212B", 1e-4 },
          { "mm", 1e3 },       { "millimeter", 1e3 }, { "cm", 1e4 },      { "dm", 1e5 },
          { "m", 1e6 },        { "km", 1e9 },         { "in", 25400 },    { "inch", 25400 },
          { "ft", 304800 },    { "thou", 25.4 },      { "mil", 25.4 },    { "pt", 25400.0 / 72 } } };
    return FindUnit( kUnits, inUnit );
}

std::optional<double> XGetSeconds( std::string_view inUnit )
{
    static constexpr std::array<Unit, 18> kUnits{
        { { "s", 1 },
          { "sec", 1 },
          { "second", 1 },
          { "seconds", 1 },
          { "ms", 1e-3 },
          { "msec", 1e-3 },
          { "\u00B5s", 1e-6 },
          { "\u03BCs", 1e-6 },
          { "\xB5s", 1e-6 },
          { "us", 1e-6 },
          { "ns", 1e-9 },
          { "min", 60 },
          { "minute", 60 },
          { "minutes", 60 },
          { "h", 3600 },
          { "hour", 3600 },
          { "hours", 3600 },
          { "d", 86400 } } };
    return FindUnit( kUnits, inUnit );
}

/// A stack that declares its number of images alone is one of time points.
XImageDescription XParseImageJ( std::string_view inText, const WImageFile::Layout& inLayout )
{
    const Lines lines( inText );
    XDeclaredSeries series;
    series.channels = lines.GetCount( "channels" );
    series.slices = lines.GetCount( "slices" );
    series.times = lines.GetCount( "frames" );
    SetCalibration( lines, inLayout, series );

    XImageDescription description;
    description.source = XImageSource::kImageJ;
    description.total = series.channels * series.slices * series.times;
    // Old writers leave "images" out.
    if ( !lines.Get( "images" ).empty() )
    {
        const auto images = lines.GetCount( "images" );
        if ( description.total == 1 )
            series.times = images;
        description.total = images;
    }
    description.series.push_back( std::move( series ) );
    return description;
}

std::optional<XImageDescription> XParseShape( std::string_view inText, const WImageFile::Layout& inLayout )
{
    auto shape = ParseList( inText.starts_with( "shape=" ) ? inText : FindMember( inText, "\"shape\"" ) );
    const auto all = shape.size();
    if ( !TakePage( inLayout, shape ) )
        return std::nullopt;
    auto axes = FindMember( inText, "\"axes\"" );
    axes = axes.substr( 0, axes.find( '"', 1 ) );
    if ( axes.size() != all + 1 )
        axes = {};

    XImageDescription description;
    description.source = XImageSource::kShape;
    description.total = 1;
    description.mayMoreFollow = true;
    XDeclaredSeries series;
    series.order.clear();
    for ( std::size_t i = 0; i < shape.size(); ++i )
    {
        const auto count = std::clamp<std::uint64_t>( shape[i], 1, kMostPlanes );
        const auto axis = axes.empty() ? '?' : axes[i + 1];
        // Both factors are limited, so the product fits in 64 bits.
        description.total =
            std::min( description.total, kMostPlanes * kMostPlanes ) * std::min( count, kMostPlanes );
        const auto isNamed = SetDimension( axis, count, series );
        if ( count == 1 )
            continue;
        ++description.dimensions;
        if ( isNamed )
            continue;
        // As the only dimension it is that of time.
        ++description.unnamed;
        SetDimension( 'T', count, series );
    }
    for ( const char axis : { 'C', 'Z', 'T' } )
        if ( series.order.find( axis ) == std::string::npos )
            series.order += axis;
    description.series.push_back( std::move( series ) );
    return description;
}

XImageDescription
XImageDescription::Parse( const std::vector<std::string>& inDescriptions, const WImageFile::Layout& inLayout )
{
    for ( const std::string_view text : inDescriptions )
    {
        if ( text.starts_with( "ImageJ=" ) )
            return XParseImageJ( text, inLayout );
        if ( text.starts_with( '{' ) || text.starts_with( "shape=" ) )
            if ( auto description = XParseShape( text, inLayout ) )
                return std::move( *description );
        if ( auto description = XParseOME( text ) )
            return std::move( *description );
    }
    return {};
}
