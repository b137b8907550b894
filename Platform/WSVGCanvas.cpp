#include "WCanvas.h"

#include <charconv>
#include <cmath>
#include <iterator>

namespace
{
// Families that are alike wherever the file is shown.
constexpr auto kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<svg xmlns=\"http://www.w3.org/2000/svg\" font-family=\"Arial, Helvetica, 'Liberation Sans', "
    "sans-serif\"";

/// A number to a hundredth, without needless zeros.
std::string ToText( double inNumber )
{
    const auto rounded = std::round( inNumber * 100 ) / 100;
    char digits[64];
    const auto end = std::to_chars( digits, std::end( digits ), rounded == 0 ? 0 : rounded ).ptr;
    return std::string( digits, end );
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
        if ( !itsRuler )
            itsRuler = MakePNG( 1, 1, 72 );
        return itsRuler->GetTextWidth( inText, inSize );
    }

private:
    std::string itsText;
    std::unique_ptr<WCanvas> itsRuler;

    void AddElement( const std::string& inElement ) { itsText += '<' + inElement + "/>\n"; }
};
} // namespace

std::unique_ptr<WCanvas> WCanvas::MakeSVG( double inWidth, double inHeight )
{
    return std::make_unique<SVGCanvas>( inWidth, inHeight );
}
