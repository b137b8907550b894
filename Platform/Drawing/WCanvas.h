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
    double alpha = 1; ///< 0 is invisible, 1 hides what is below.

    WColour WithAlpha( double inAlpha ) const { return { red, green, blue, inAlpha }; }
    bool operator==( const WColour& ) const = default;
};

struct WStroke
{
    WColour colour;
    double width = 0; ///< 0: no line.
};

struct WTextStyle
{
    enum Anchor
    {
        kStart,
        kMiddle,
        kEnd
    };

    double size = 10; ///< Of the font, from line to line.
    WColour colour;
    Anchor anchor = kStart; ///< The point of the text that is put to the place given.
    double angle = 0;       ///< In degrees, counter-clockwise around that point.
    WStroke halo;           ///< Around the letters.
};

/// Grey levels of 8 bits, row by row from the top.
struct WGreyPicture
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> levels;
};

/// A sheet to draw on, in a unit of its own from the left top corner to the right and downwards. What is drawn later
/// lies above. Text is UTF-8; control characters and what is no UTF-8 are left out or replaced.
///
/// The same calls give the same bytes. One thread at a time may use a canvas, several threads several of them. Failures
/// of the system throw std::runtime_error. A lack of memory that only the system's drawing or its search for fonts meets,
/// although room was looked for before, may end the process.
class KORVALE_IMAGING_API WCanvas
{
public:
    using Path = std::vector<WPoint>;

    /// A white sheet whose unit is the point, a 72nd of an inch, for a PNG file of that many dots per inch.
    static std::unique_ptr<WCanvas> MakePNG( double inWidth, double inHeight, double inDotsPerInch );

    /// A sheet with that picture on it, whose unit is the picture's pixel, for a PNG file.
    static std::unique_ptr<WCanvas> MakePNG( const WGreyPicture& inPicture );

    /// A white sheet whose unit is the point, for an SVG file. Its text stays text.
    static std::unique_ptr<WCanvas> MakeSVG( double inWidth, double inHeight );

    virtual ~WCanvas() = default;
    WCanvas( const WCanvas& ) = delete;
    WCanvas& operator=( const WCanvas& ) = delete;

    virtual void Fill( const Path& inPolygon, const WColour& inColour ) = 0;
    virtual void FillDisc( WPoint inCentre, double inRadius, const WColour& inColour ) = 0;

    /// Draws the lines of several paths at once, so that they do not shine through each other. Closed paths return to
    /// their first point.
    virtual void Stroke( const std::vector<Path>& inPaths, bool inAreClosed, const WStroke& inStroke ) = 0;

    /// `inPlace` is on the line that the letters stand on.
    void DrawText( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle );

    /// How far a text of that size runs. In an SVG file this is that of
    /// Helvetica, the same on every machine: who shows it may have other fonts.
    double GetTextWidth( const std::string& inText, double inSize );

    /// The bytes of the file.
    virtual std::string Encode() = 0;

    void FillRectangle( WPoint inCorner, WPoint inOtherCorner, const WColour& inColour );

protected:
    WCanvas() = default;

    // With text that is valid UTF-8 and without control characters; what is drawn is not empty.
    virtual void DrawTextSelf( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle ) = 0;
    virtual double GetTextWidthSelf( const std::string& inText, double inSize ) = 0;

    /// How far to the left of its place a text of that width begins.
    static double GetShift( double inTextWidth, WTextStyle::Anchor inAnchor );

    /// Makes words of a row's levels: red, green and blue in the lowest 24 bits.
    static void ConvertRow( const WGreyPicture& inPicture, std::size_t inRow, std::uint32_t* outPixels );

    /// The nearest whole number of dots for a length in points.
    static int ToDots( double inLength, double inDotsPerInch );
};
