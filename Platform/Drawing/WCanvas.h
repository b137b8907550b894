#pragma once

#include "WPlatform.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct WPoint
{
    double x = 0;
    double y = 0;

    bool operator==( const WPoint& ) const = default;
};

struct WColour
{
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    double alpha = 1; ///< 0 is invisible, 1 is opaque

    WColour WithAlpha( double inAlpha ) const { return { red, green, blue, inAlpha }; }
    bool operator==( const WColour& ) const = default;
};

struct WStroke
{
    WColour colour;
    double width = 0; ///< 0 for no line
};

struct WTextStyle
{
    enum Anchor
    {
        kStart,
        kMiddle,
        kEnd
    };

    double size = 10; ///< of the font: the distance between lines
    WColour colour;
    Anchor anchor = kStart; ///< the part of the text placed at the given point
    double angle = 0;       ///< in degrees, counter-clockwise around that point
    WStroke halo;           ///< around the letters
};

/// An image of 8-bit grey levels, row by row from the top.
struct WGreyPicture
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> levels;
};

/// A drawing surface. Coordinates start at the top left corner; their unit depends on the canvas. Later
/// drawing covers earlier drawing. Text is UTF-8; control characters and malformed UTF-8 are removed or
/// replaced.
///
/// The same calls result in the same bytes. Each canvas is used by one thread at a time. Failures of the
/// system throw std::runtime_error. If only the system's drawing or its font search runs out of memory, after
/// memory was checked beforehand, the process may end.
class KORVALE_IMAGING_API WCanvas
{
public:
    using Path = std::vector<WPoint>;

    /// A white canvas for a PNG file. The unit is the point (1/72 inch); the file has `inDotsPerInch` dots
    /// per inch.
    static std::unique_ptr<WCanvas> MakePNG( double inWidth, double inHeight, double inDotsPerInch );

    /// A canvas with a picture on it, for a PNG file. The unit is the picture's pixel.
    static std::unique_ptr<WCanvas> MakePNG( const WGreyPicture& inPicture );

    /// A white canvas for an SVG file. The unit is the point; text is stored as text.
    static std::unique_ptr<WCanvas> MakeSVG( double inWidth, double inHeight );

    virtual ~WCanvas() = default;
    WCanvas( const WCanvas& ) = delete;
    WCanvas& operator=( const WCanvas& ) = delete;

    virtual void Fill( const Path& inPolygon, const WColour& inColour ) = 0;
    virtual void FillDisc( WPoint inCentre, double inRadius, const WColour& inColour ) = 0;

    /// Draws several paths as one shape, so that overlapping lines do not show through each other. Closed
    /// paths return to their first point.
    virtual void Stroke( const std::vector<Path>& inPaths, bool inAreClosed, const WStroke& inStroke ) = 0;

    /// `inPlace` is on the baseline.
    void DrawText( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle );

    /// The width of a text in a font of size `inSize`. For SVG files it is that of Helvetica, the same on
    /// every machine; viewers may use another font.
    double GetTextWidth( const std::string& inText, double inSize );

    /// The bytes of the file.
    virtual std::string Encode() = 0;

    void FillRectangle( WPoint inCorner, WPoint inOtherCorner, const WColour& inColour );

protected:
    WCanvas() = default;

    // `inText` is not empty and is valid UTF-8 without control characters.
    virtual void DrawTextSelf( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle ) = 0;
    virtual double GetTextWidthSelf( const std::string& inText, double inSize ) = 0;

    /// The distance by which the start of a text is left of its place.
    static double GetShift( double inTextWidth, WTextStyle::Anchor inAnchor );

    /// Converts the levels of a row to words with red, green and blue in the low 24 bits.
    static void ConvertRow( const WGreyPicture& inPicture, std::size_t inRow, std::uint32_t* outPixels );

    /// A length in points as the nearest whole number of dots.
    static int ToDots( double inLength, double inDotsPerInch );
};
