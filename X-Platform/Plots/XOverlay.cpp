#include "Plots/XOverlay.h"

#include "Imaging/Objects/XContours.h"
#include "Imaging/Pages/XGreyscalePreview.h"
#include "Jobs/XChunks.h"
#include "Plots/XLabelPlacement.h"

#include <algorithm>

// Contours of all objects first and numbers last, so that no line crosses a number. Numbers are placed
// together (XPlaceLabels), because each of them must avoid the others; a number for which there is no place
// is left out. Coordinates of the page are those of pixel corners: the centre of pixel (x, y) is at (x + 0.5,
// y + 0.5).

namespace
{
// Lengths in pixels of the picture.
constexpr std::uint32_t kLeastSide = 800;
constexpr double kContourWidth = 1.5;
constexpr double kCasingWidth = 3.5;
constexpr double kLeastText = 11;
constexpr double kMostText = 28;

constexpr double kFigureHeight = 0.72; // the height of figures, of the font's size
constexpr WColour kCasing{ 0, 0, 0, 0.6 };
constexpr double kHaloWidth = 0.3; // the same
constexpr WColour kHalo{ 0, 0, 0, 0.85 };
constexpr std::uint64_t kObjectsAtOnce = 64;

/// A small picture is enlarged so that its longer side is long enough.
std::uint32_t GetEnlargement( const WGreyPicture& inPicture )
{
    return ( kLeastSide - 1 ) / std::max( inPicture.width, inPicture.height ) + 1;
}

class OverlayDrawing
{
public:
    OverlayDrawing( const WGreyPicture& inPicture, std::uint32_t inReduction )
        : itsFactor( GetEnlargement( inPicture ) ),
          itsScale( static_cast<double>( itsFactor ) / inReduction ), itsWidth( inPicture.width * itsFactor ),
          itsHeight( inPicture.height * itsFactor ),
          itsCanvas(
              WCanvas::MakePNG( itsFactor > 1 ? XEnlargePicture( inPicture, itsFactor ) : inPicture ) ),
          // Figures have equal widths in usual fonts, and widths are proportional to the size: one
          // measurement is enough.
          itsDigitWidth( itsCanvas->GetTextWidth( "0", 100 ) / 100 )
    {
    }

    /// Draws a dark line below each line, so that contours are visible on bright ground too.
    void DrawContours( const XOverlayObjects& inObjects )
    {
        const auto contours = XTraceContours( inObjects.objects );
        StrokeAll( contours, { kCasing, kCasingWidth } );
        StrokeAll( contours, { inObjects.colour, kContourWidth } );
    }

    void AddNumbers( const XOverlayObjects& inObjects )
    {
        auto number = inObjects.firstNumber;
        for ( const auto& shape : inObjects.objects.shapes )
            AddNumber( shape, std::to_string( number++ ), inObjects.colour );
    }

    void DrawNumbers()
    {
        const auto places = XPlaceLabels( itsNumbers, itsWidth, itsHeight );
        XForEachChunk(
            places.size(), kObjectsAtOnce,
            [&]( std::uint64_t inFirst, std::uint64_t inEnd )
            {
                for ( auto i = inFirst; i < inEnd; ++i )
                    if ( places[i] )
                        DrawNumber( itsTexts[i], *places[i] );
            } );
    }

    std::string Encode() { return itsCanvas->Encode(); }

private:
    struct Text
    {
        std::string digits;
        double size;
        WColour colour;
    };

    const std::uint32_t itsFactor;
    const double itsScale; // from pixels of the page to those of the picture
    const double itsWidth;
    const double itsHeight;
    const std::unique_ptr<WCanvas> itsCanvas;
    const double itsDigitWidth; // of the font's size
    std::vector<XObjectLabel> itsNumbers;
    std::vector<Text> itsTexts;

    void StrokeAll( const std::vector<std::vector<XContourLoop>>& inContours, const WStroke& inStroke )
    {
        XForEachChunk(
            inContours.size(), kObjectsAtOnce,
            [&]( std::uint64_t inFirst, std::uint64_t inEnd )
            {
                for ( auto i = inFirst; i < inEnd; ++i )
                    itsCanvas->Stroke( Scale( inContours[i] ), true, inStroke );
            } );
    }

    std::vector<WCanvas::Path> Scale( const std::vector<XContourLoop>& inLoops ) const
    {
        std::vector<WCanvas::Path> paths;
        for ( const auto& loop : inLoops )
        {
            auto& path = paths.emplace_back();
            for ( const auto& [x, y] : loop )
                path.push_back( { x * itsScale, y * itsScale } );
        }
        return paths;
    }

    /// As large as fits into the object, within limits.
    void AddNumber( const XObjectShape& inShape, const std::string& inDigits, const WColour& inColour )
    {
        constexpr double kShare = 0.7;
        const XLabelBox object{
            inShape.left * itsScale, inShape.top * itsScale, ( inShape.right + 1.0 ) * itsScale,
            ( inShape.bottom + 1.0 ) * itsScale };
        const WPoint centre{
            ( inShape.GetCentroidX() + 0.5 ) * itsScale, ( inShape.GetCentroidY() + 0.5 ) * itsScale };
        const auto unitWidth = itsDigitWidth * static_cast<double>( inDigits.size() );
        const auto fitting =
            kShare * std::min( object.GetWidth() / unitWidth, object.GetHeight() / kFigureHeight / 2 );
        const auto size = std::clamp( fitting, kLeastText, kMostText );
        itsNumbers.push_back(
            { object, centre, ( unitWidth + kHaloWidth ) * size, ( kFigureHeight + kHaloWidth ) * size } );
        itsTexts.push_back( { inDigits, size, inColour } );
    }

    void DrawNumber( const Text& inText, WPoint inCentre )
    {
        inCentre.y += kFigureHeight * inText.size / 2;
        itsCanvas->DrawText(
            inText.digits, inCentre,
            { inText.size, inText.colour, WTextStyle::kMiddle, 0, { kHalo, kHaloWidth * inText.size } } );
    }
};
} // namespace

std::string XDrawOverlay( const XOverlaySketch& inSketch )
{
    OverlayDrawing drawing( inSketch.picture, inSketch.reduction );
    for ( const auto& objects : inSketch.objects )
        drawing.DrawContours( objects );
    for ( const auto& objects : inSketch.objects )
        drawing.AddNumbers( objects );
    drawing.DrawNumbers();
    return drawing.Encode();
}
