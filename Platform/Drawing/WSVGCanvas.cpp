#include "Drawing/WCanvas.h"
#include "System/WCodePage.h"

#include <cmath>
#include <cstdint>
#include <iterator>

// Writes elements as they are drawn. The result must be the same bytes on every system, so text is measured
// with built-in widths of the characters instead of the fonts of the system, and numbers are rounded in
// integers (ToText).

namespace
{
// Families that are alike wherever the file is shown.
constexpr auto kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<svg xmlns=\"http://www.w3.org/2000/svg\" font-family=\"Arial, Helvetica, 'Liberation Sans', "
    "sans-serif\"";

/// A number to a hundredth, halves away from 0, without needless zeros. Counted in millionths first: numbers that differ
/// only in the last bits, as those of different mathematical libraries do, have the same text even where they lie beside
/// half a hundredth.
std::string ToText( double inNumber )
{
    constexpr std::int64_t kHundredth = 10000;
    const std::int64_t millionths = std::llround( std::abs( inNumber ) * 100 * kHundredth );
    const std::int64_t hundredths = ( millionths + kHundredth / 2 ) / kHundredth;
    auto text = ( inNumber < 0 && hundredths > 0 ? "-" : "" ) + std::to_string( hundredths / 100 );
    if ( const auto rest = hundredths % 100; rest != 0 )
    {
        text += { '.', static_cast<char>( '0' + rest / 10 ) };
        if ( rest % 10 != 0 )
            text += static_cast<char>( '0' + rest % 10 );
    }
    return text;
}

// How far the characters of Helvetica and its likes run, in thousandths of the size.
constexpr std::uint16_t kWidthsFromSpace[] = {
    278, 278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333,  278, 278, 556, 556, 556,
    556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556, 1015, 667, 667, 722, 722, 667,
    611, 778, 722, 278, 500, 667, 556, 833, 722, 778, 667, 778, 722, 667,  611, 722, 667, 944, 667,
    667, 611, 278, 278, 278, 469, 556, 333, 556, 556, 500, 556, 556, 278,  556, 556, 222, 222, 500,
    222, 833, 556, 556, 556, 556, 333, 500, 278, 556, 500, 722, 500, 500,  500, 334, 260, 334, 584 };
constexpr std::uint16_t kWidthsFromNoBreakSpace[] = {
    278, 333, 556, 556, 556, 556, 260, 556, 333, 737, 370, 556, 584, 333, 737, 333, 400, 584, 333,  333,
    333, 556, 537, 278, 333, 333, 365, 556, 834, 834, 834, 611, 667, 667, 667, 667, 667, 667, 1000, 722,
    667, 667, 667, 667, 278, 278, 278, 278, 722, 722, 778, 778, 778, 778, 778, 584, 778, 722, 722,  722,
    722, 667, 667, 611, 556, 556, 556, 556, 556, 556, 889, 500, 556, 556, 556, 556, 278, 278, 278,  278,
    556, 556, 556, 556, 556, 556, 556, 584, 611, 556, 556, 556, 556, 500, 556, 500 };
static_assert( std::size( kWidthsFromSpace ) == 0x7F - 0x20 && std::size( kWidthsFromNoBreakSpace ) == 0x60 );

/// Of other characters an estimate.
std::uint32_t GetThousandths( char32_t inCharacter )
{
    constexpr char32_t kMinus = 0x2212, kFirstIdeographs = 0x2E80;
    if ( inCharacter >= 0x20 && inCharacter < 0x7F )
        return kWidthsFromSpace[inCharacter - 0x20];
    if ( inCharacter >= 0xA0 && inCharacter <= 0xFF )
        return kWidthsFromNoBreakSpace[inCharacter - 0xA0];
    return inCharacter == kMinus ? 584 : inCharacter < kFirstIdeographs ? 600 : 1000;
}

std::string ToText( WPoint inPoint )
{
    return ToText( inPoint.x ) + ' ' + ToText( inPoint.y );
}

std::string Attribute( const std::string& inName, const std::string& inValue )
{
    return ' ' + inName + "=\"" + inValue + '"';
}

std::string Attribute( const std::string& inName, double inValue )
{
    return Attribute( inName, ToText( inValue ) );
}

/// As the attribute of that name, fill or stroke, with its opacity.
std::string Paint( const std::string& inName, const WColour& inColour )
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string code = "#";
    for ( const auto part : { inColour.red, inColour.green, inColour.blue } )
    {
        code += kDigits[part >> 4];
        code += kDigits[part & 15];
    }
    return Attribute( inName, code ) +
        ( inColour.alpha < 1 ? Attribute( inName + "-opacity", inColour.alpha ) : "" );
}

std::string Paint( const WStroke& inStroke )
{
    return Paint( "stroke", inStroke.colour ) + Attribute( "stroke-width", inStroke.width );
}

std::string ToCommands( const WCanvas::Path& inPath, bool inIsClosed )
{
    std::string commands;
    for ( const auto& point : inPath )
        commands += ( commands.empty() ? 'M' : 'L' ) + ToText( point );
    return inIsClosed ? commands + 'Z' : commands;
}

std::string Escape( const std::string& inText )
{
    std::string escaped;
    for ( const auto character : inText )
        switch ( character )
        {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>': // Which may not follow two brackets.
            escaped += "&gt;";
            break;
        default:
            escaped += character;
        }
    return escaped;
}

class SVGCanvas : public WCanvas
{
public:
    SVGCanvas( double inWidth, double inHeight )
    {
        itsText = kHead + Attribute( "width", ToText( inWidth ) + "pt" ) +
            Attribute( "height", ToText( inHeight ) + "pt" ) +
            Attribute( "viewBox", "0 0 " + ToText( WPoint{ inWidth, inHeight } ) ) + ">\n";
        FillRectangle( {}, { inWidth, inHeight }, { 255, 255, 255 } );
    }

    void Fill( const Path& inPolygon, const WColour& inColour ) override
    {
        AddElement( "path" + Attribute( "d", ToCommands( inPolygon, true ) ) + Paint( "fill", inColour ) );
    }

    void FillDisc( WPoint inCentre, double inRadius, const WColour& inColour ) override
    {
        AddElement(
            "circle" + Attribute( "cx", inCentre.x ) + Attribute( "cy", inCentre.y ) +
            Attribute( "r", inRadius ) + Paint( "fill", inColour ) );
    }

    void Stroke( const std::vector<Path>& inPaths, bool inAreClosed, const WStroke& inStroke ) override
    {
        std::string commands;
        for ( const auto& path : inPaths )
            commands += ToCommands( path, inAreClosed );
        AddElement( "path" + Attribute( "d", commands ) + Attribute( "fill", "none" ) + Paint( inStroke ) );
    }

    std::string Encode() override { return itsText + "</svg>\n"; }

protected:
    void DrawTextSelf( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle ) override
    {
        static constexpr const char* kAnchors[] = { "start", "middle", "end" };
        itsText += "<text" + Attribute( "x", inPlace.x ) + Attribute( "y", inPlace.y ) +
            Attribute( "font-size", inStyle.size ) + Attribute( "text-anchor", kAnchors[inStyle.anchor] ) +
            Paint( "fill", inStyle.colour );
        if ( inStyle.angle != 0 )
            itsText += Attribute(
                "transform", "rotate(" + ToText( -inStyle.angle ) + ' ' + ToText( inPlace ) + ')' );
        if ( inStyle.halo.width > 0 )
            itsText += Paint( inStyle.halo ) + " stroke-linejoin=\"round\" paint-order=\"stroke\"";
        itsText += '>' + Escape( inText ) + "</text>\n";
    }

    double GetTextWidthSelf( const std::string& inText, double inSize ) override
    {
        std::uint32_t thousandths = 0;
        for ( const auto character : WCodePage::UTF8ToWide( inText ) )
            thousandths += GetThousandths( static_cast<char32_t>( character ) );
        return thousandths * inSize / 1000;
    }

private:
    std::string itsText;

    void AddElement( const std::string& inElement ) { itsText += '<' + inElement + "/>\n"; }
};
} // namespace

std::unique_ptr<WCanvas> WCanvas::MakeSVG( double inWidth, double inHeight )
{
    return std::make_unique<SVGCanvas>( inWidth, inHeight );
}
