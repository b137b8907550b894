#include "Imaging/Internal/XImagePlanes.h"

#include "Core/Strings/XNumberText.h"
#include "Imaging/XImageReader.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

// TIFF has pages but does not say what they are: time points, slices of a volume, or channels. Writers say it
// in the description of the first page, in one of three forms that are read here: lines of ImageJ, the XML of
// OME, and the array shape of numpy-based writers. The readers take what they need and ignore the rest,
// without rejecting anything: a description is written by many programs, and one that is not understood only
// means that nothing is known.
//
// The result is compared with the file (XCheckPlanes): pages that are not time points are refused unless the
// user says that they are, because measuring slices or channels as if they were times gives wrong results
// without a sign of it.

namespace
{
constexpr std::string_view kWhitespace = " \t\r\n";

std::string_view Trim( std::string_view inText )
{
    inText.remove_prefix( std::min( inText.find_first_not_of( kWhitespace ), inText.size() ) );
    return inText.substr( 0, inText.find_last_not_of( kWhitespace ) + 1 );
}

/// Parses a count of a description. Invalid counts become 1, and counts above 2^20 become 2^20, so that no
/// product of three overflows.
std::uint64_t ParseCount( std::string_view inText )
{
    constexpr std::uint64_t kMost = 1 << 20;
    const auto count = XParseNumber<std::uint64_t>( Trim( inText ) );
    return std::clamp<std::uint64_t>( count.value_or( 1 ), 1, kMost );
}

// ---- ImageJ: a line "key=value" for each property, the version first

XImagePlanes ParseImageJ( std::string_view inText )
{
    XImagePlanes planes;
    while ( !inText.empty() )
    {
        const auto end = std::min( inText.find_first_of( "\r\n" ), inText.size() );
        const auto line = inText.substr( 0, end );
        inText.remove_prefix( std::min( end + 1, inText.size() ) );
        const auto equals = line.find( '=' );
        if ( equals == line.npos )
            continue;
        const auto key = line.substr( 0, equals );
        const auto count = ParseCount( line.substr( equals + 1 ) );
        if ( key == "images" )
            planes.total = count;
        if ( key == "channels" )
            planes.channels = count;
        if ( key == "slices" )
            planes.slices = count;
        if ( key == "frames" )
            planes.times = count;
    }
    // Old writers leave "images" out.
    if ( planes.total == 0 )
        planes.total = planes.channels * planes.slices * planes.times;
    return planes;
}

// ---- OME-XML: an element Pixels for each image

/// The elements of an XML text, one after the other, comments and the like left out.
class XMLElements
{
public:
    explicit XMLElements( std::string_view inText ) : itsRest( inText ) {}

    /// Moves to the start of the next element; returns false if there is none.
    bool Next();

    /// Without the prefix of a namespace.
    std::string_view GetName() const { return itsName; }

    /// The value of an attribute as written; empty if there is none.
    std::string_view GetAttribute( std::string_view inName ) const;

private:
    std::string_view itsRest;
    std::string_view itsName;
    std::string_view itsAttributes;

    void SkipBehind( std::string_view inEnd );
    std::size_t FindTagEnd() const;
};

void XMLElements::SkipBehind( std::string_view inEnd )
{
    const auto found = itsRest.find( inEnd );
    itsRest.remove_prefix( found == itsRest.npos ? itsRest.size() : found + inEnd.size() );
}

/// The next > that is not in quotes.
std::size_t XMLElements::FindTagEnd() const
{
    char quote = 0;
    for ( std::size_t i = 0; i < itsRest.size(); ++i )
    {
        const auto character = itsRest[i];
        if ( quote == 0 && character == '>' )
            return i;
        if ( quote == 0 && ( character == '"' || character == '\'' ) )
            quote = character;
        else if ( character == quote )
            quote = 0;
    }
    return itsRest.size();
}

bool XMLElements::Next()
{
    for ( ;; )
    {
        SkipBehind( "<" );
        if ( itsRest.empty() )
            return false;
        if ( itsRest.starts_with( "!--" ) )
            SkipBehind( "-->" );
        else if ( itsRest.starts_with( "![CDATA[" ) )
            SkipBehind( "]]>" );
        else if ( itsRest[0] == '?' || itsRest[0] == '!' || itsRest[0] == '/' )
            SkipBehind( ">" );
        else
            break;
    }
    const auto end = FindTagEnd();
    const auto tag = itsRest.substr( 0, end );
    itsRest.remove_prefix( end );
    const auto nameEnd = std::min( tag.find_first_of( " \t\r\n/" ), tag.size() );
    itsName = tag.substr( 0, nameEnd );
    itsName.remove_prefix( itsName.find( ':' ) + 1 );
    itsAttributes = tag.substr( nameEnd );
    return true;
}

std::string_view XMLElements::GetAttribute( std::string_view inName ) const
{
    for ( auto rest = itsAttributes;; )
    {
        const auto equals = rest.find( '=' );
        if ( equals == rest.npos )
            return {};
        const auto name = Trim( rest.substr( 0, equals ) );
        const auto start = rest.find_first_of( "\"'", equals );
        const auto end = start == rest.npos ? rest.npos : rest.find( rest[start], start + 1 );
        if ( end == rest.npos )
            return {};
        if ( name == inName )
            return rest.substr( start + 1, end - start - 1 );
        rest.remove_prefix( end + 1 );
    }
}

XImagePlanes ParseOME( XMLElements& ioElements, std::uint64_t inSamplesPerPixel )
{
    XImagePlanes planes;
    planes.images = 0;
    while ( ioElements.Next() )
    {
        planes.areElsewhere |= ioElements.GetName() == "BinaryOnly";
        if ( ioElements.GetName() != "Pixels" )
            continue;
        const auto get = [&]( std::string_view inName )
        { return ParseCount( ioElements.GetAttribute( inName ) ); };
        auto channels = get( "SizeC" );
        // Samples within a pixel are channels that take no pages of their own.
        if ( inSamplesPerPixel > 1 && channels % inSamplesPerPixel == 0 )
            channels /= inSamplesPerPixel;
        const auto slices = get( "SizeZ" ), times = get( "SizeT" );
        planes.total += channels * slices * times;
        // The dimensions are those of the first image, the total that of all.
        if ( planes.images++ > 0 )
            continue;
        planes.channels = channels;
        planes.slices = slices;
        planes.times = times;
    }
    return planes;
}

// ---- The shape of an array: {"shape": [5, 2, 64, 64], "axes": "TCYX"}, or shape=(5, 64, 64) of older writers

using Shape = std::vector<std::uint64_t>;

/// The numbers of a list in brackets of either kind; empty if one of them is not a number.
Shape ParseShape( std::string_view inText )
{
    const auto start = inText.find_first_of( "[(" );
    auto list = inText.substr( std::min( start, inText.size() - 1 ) + 1 );
    list = list.substr( 0, list.find_first_of( "])" ) );
    constexpr std::size_t kMostDimensions = 64;
    Shape shape;
    while ( !Trim( list ).empty() && shape.size() < kMostDimensions )
    {
        const auto end = std::min( list.find( ',' ), list.size() );
        const auto number = XParseNumber<std::uint64_t>( Trim( list.substr( 0, end ) ) );
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
    const auto rest = Trim( inText.substr( found + inQuotedName.size() ) );
    return rest.starts_with( ':' ) ? Trim( rest.substr( 1 ) ) : std::string_view();
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

std::optional<XImagePlanes> ParseShaped( std::string_view inText, const WImageFile::Layout& inLayout )
{
    constexpr std::uint64_t kMost = 1 << 20;
    constexpr std::string_view kOldStart = "shape=";
    auto shape = ParseShape( inText.starts_with( kOldStart ) ? inText : FindMember( inText, "\"shape\"" ) );
    const auto all = shape.size();
    if ( !TakePage( inLayout, shape ) )
        return std::nullopt;
    auto axes = FindMember( inText, "\"axes\"" );
    axes = axes.substr( 0, axes.find( '"', 1 ) );
    if ( axes.size() != all + 1 )
        axes = {};

    XImagePlanes planes;
    planes.total = 1;
    planes.mayMoreFollow = true;
    for ( std::size_t i = 0; i < shape.size(); ++i )
    {
        const auto count = std::clamp<std::uint64_t>( shape[i], 1, kMost );
        const auto axis = axes.empty() ? '?' : axes[i + 1];
        // Both factors are limited, so the product fits in 64 bits.
        planes.total = std::min( planes.total, kMost ) * count;
        if ( axis == 'C' )
            planes.channels = count;
        else if ( axis == 'Z' )
            planes.slices = count;
        else
            planes.dimensions += count > 1 ? 1 : 0;
        if ( axis == 'T' )
            planes.times = count;
    }
    return planes;
}

/// Such as "2 channels, 5 slices and 3 time points".
std::string Describe( const XImagePlanes& inPlanes )
{
    std::vector<std::string> parts;
    const auto add = [&]( std::uint64_t inCount, const char* inWhat )
    {
        if ( inCount > 1 )
            parts.push_back( std::to_string( inCount ) + inWhat );
    };
    add( inPlanes.images, " images" );
    add( inPlanes.channels, " channels" );
    add( inPlanes.slices, " slices" );
    add( inPlanes.times, " time points" );
    if ( inPlanes.dimensions > 1 && inPlanes.channels == 1 && inPlanes.slices == 1 )
        return std::to_string( inPlanes.total ) + " planes in " + std::to_string( inPlanes.dimensions ) +
            " dimensions";
    if ( parts.empty() )
        return std::to_string( inPlanes.total ) + ( inPlanes.total == 1 ? " plane" : " planes" );
    auto text = parts.front();
    for ( std::size_t i = 1; i < parts.size(); ++i )
        text += ( i + 1 < parts.size() ? ", " : " and " ) + parts[i];
    return text;
}
} // namespace

XImagePlanes
XImagePlanes::Parse( const std::vector<std::string>& inDescriptions, const WImageFile::Layout& inLayout )
{
    for ( const std::string_view text : inDescriptions )
    {
        if ( text.starts_with( "ImageJ=" ) )
            return ParseImageJ( text );
        if ( text.starts_with( '{' ) || text.starts_with( "shape=" ) )
            if ( const auto planes = ParseShaped( text, inLayout ) )
                return *planes;
        XMLElements elements( text );
        if ( elements.Next() && elements.GetName() == "OME" )
            return ParseOME( elements, inLayout.samplesPerPixel );
    }
    return {};
}

void XCheckPlanes( const WImageFile& inFile, bool inAreTimes )
{
    const auto layout = inFile.GetLayout();
    const auto planes = XImagePlanes::Parse( inFile.GetDescriptions(), layout );
    const std::uint64_t pages = inFile.GetPageCount();
    const auto declares = "its description declares " + Describe( planes );
    const auto has = std::to_string( pages ) + ( pages == 1 ? " page" : " pages" );
    if ( pages == 1 && planes.total > 1 && planes.total <= layout.planesInFile )
        throw WImageError( declares + " in one page: only the first could be read" );
    if ( inAreTimes )
        return;
    if ( planes.areElsewhere )
        throw XNotTimePointsError( "another file describes its pages" );
    if ( planes.images > 1 || planes.channels > 1 || planes.slices > 1 || planes.dimensions > 1 )
        throw XNotTimePointsError( declares + ": only stacks of time points are supported" );
    const auto areFewer = planes.total != 0 && planes.total < pages;
    if ( planes.total > pages || ( areFewer && !planes.mayMoreFollow ) )
        throw XNotTimePointsError( declares + ", but it has " + has );
}
