#include "Imaging/Writing/XSyntheticStack.h"

#include "Core/Strings/XNumberText.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

// Discs with soft edges on a grid of cells, one object per cell, so that objects never touch and the ground
// truth is exact. Every random number comes from one generator in a fixed order, by own formulas instead of
// the standard distributions, so that a seed gives the same bytes with every compiler.

namespace
{
constexpr double kBlur = 2;        // half the width of an object's edge, in pixels
constexpr double kLeastRadius = 3; // in pixels
constexpr double kMostRadius = 40;
constexpr double kCellMargin = 2;   // from an object's edge to the border of its cell, in pixels
constexpr double kBackground = 0.1; // of the brightest sample, as the next three
constexpr double kNoise = 0.02;     // standard deviation
constexpr double kLeastPeak = 0.5;
constexpr double kMostPeak = 0.85;
constexpr double kPixelSize = 0.25; // in micrometres

/// How much of an object's light there is at a distance outside its radius: 1 well inside, 0 well outside.
double GetEdge( double inOutside )
{
    const auto t = std::clamp( ( kBlur - inOutside ) / ( 2 * kBlur ), 0.0, 1.0 );
    return t * t * ( 3 - 2 * t );
}

/// The pixels within reach of a coordinate.
std::pair<std::uint32_t, std::uint32_t> GetReach( double inCentre, double inReach, std::uint32_t inEnd )
{
    const double end = inEnd;
    return {
        static_cast<std::uint32_t>( std::clamp( std::floor( inCentre - inReach ), 0.0, end ) ),
        static_cast<std::uint32_t>( std::clamp( std::ceil( inCentre + inReach ) + 1, 0.0, end ) ) };
}
} // namespace

XSyntheticStack::XSyntheticStack( const XSyntheticStackSettings& inSettings )
    : itsSettings( inSettings ), itsRandom( inSettings.seed )
{
    if ( itsSettings.objects > 0 )
        PlaceDiscs();
}

/// From 0 to 1, the latter left out. The distributions of the standard library differ from one to the next.
double XSyntheticStack::DrawUniform()
{
    // The 53 bits that a double holds.
    return static_cast<double>( itsRandom() >> 11 ) * 0x1p-53;
}

/// Close to a normal distribution of deviation 1: the sum of four numbers of 16 bits.
double XSyntheticStack::DrawNoise()
{
    constexpr double kMean = 4 * 32767.5, kDeviation = 2 * 18918.9;
    const auto bits = itsRandom();
    const auto sum = ( bits & 0xFFFF ) + ( bits >> 16 & 0xFFFF ) + ( bits >> 32 & 0xFFFF ) + ( bits >> 48 );
    return ( static_cast<double>( sum ) - kMean ) / kDeviation;
}

/// As many different numbers below that count as there are objects, in random order.
std::vector<std::uint32_t> XSyntheticStack::DrawCells( std::uint32_t inCount )
{
    std::vector<std::uint32_t> cells( inCount );
    std::iota( cells.begin(), cells.end(), 0u );
    for ( std::uint32_t i = 0; i < itsSettings.objects; ++i )
        // The beginning of a shuffle (R. Fisher and F. Yates): only as many cells as there are objects are
        // drawn.
        std::swap( cells[i], cells[i + static_cast<std::uint32_t>( DrawUniform() * ( inCount - i ) )] );
    cells.resize( itsSettings.objects );
    return cells;
}

void XSyntheticStack::PlaceDiscs()
{
    const double width = itsSettings.width, height = itsSettings.height;
    const auto columns =
        static_cast<std::uint32_t>( std::ceil( std::sqrt( itsSettings.objects * width / height ) ) );
    const auto rows = ( itsSettings.objects + columns - 1 ) / columns;
    itsCellWidth = width / columns;
    itsCellHeight = height / rows;

    const auto room = std::min( itsCellWidth, itsCellHeight ) / 2 - kBlur - kCellMargin;
    if ( room < kLeastRadius )
        throw WImageError(
            std::to_string( itsSettings.objects ) + " objects do not fit into planes of " +
            std::to_string( itsSettings.width ) + " x " + std::to_string( itsSettings.height ) + " pixels" );
    const auto mostRadius = std::min( kMostRadius, kLeastRadius + ( room - kLeastRadius ) * 0.8 );

    for ( const auto cell : DrawCells( columns * rows ) )
    {
        XDisc disc;
        disc.cellX = ( cell % columns + 0.5 ) * itsCellWidth - 0.5;
        disc.cellY = ( cell / columns + 0.5 ) * itsCellHeight - 0.5;
        disc.radius = kLeastRadius + ( mostRadius - kLeastRadius ) * DrawUniform();
        disc.x = disc.cellX;
        disc.y = disc.cellY;
        for ( std::uint32_t channel = 0; channel < itsSettings.channels; ++channel )
            disc.peaks.push_back( kLeastPeak + ( kMostPeak - kLeastPeak ) * DrawUniform() );
        itsDiscs.push_back( std::move( disc ) );
    }
}

/// Starts anywhere in the object's cell, then moves by up to two pixels a plane.
void XSyntheticStack::Wander( XDisc& ioDisc )
{
    const auto slackX = itsCellWidth / 2 - ioDisc.radius - kBlur - kCellMargin;
    const auto slackY = itsCellHeight / 2 - ioDisc.radius - kBlur - kCellMargin;
    const auto stepX = itsPlane == 0 ? slackX : 2, stepY = itsPlane == 0 ? slackY : 2;
    ioDisc.x += stepX * ( 2 * DrawUniform() - 1 );
    ioDisc.y += stepY * ( 2 * DrawUniform() - 1 );
    ioDisc.x = std::clamp( ioDisc.x, ioDisc.cellX - slackX, ioDisc.cellX + slackX );
    ioDisc.y = std::clamp( ioDisc.y, ioDisc.cellY - slackY, ioDisc.cellY + slackY );
}

void XSyntheticStack::Paint( const XDisc& inDisc, std::vector<float>& ioLight ) const
{
    const auto [left, right] = GetReach( inDisc.x, inDisc.radius + kBlur, itsSettings.width );
    const auto [top, bottom] = GetReach( inDisc.y, inDisc.radius + kBlur, itsSettings.height );
    for ( auto y = top; y < bottom; ++y )
        for ( auto x = left; x < right; ++x )
        {
            const auto dx = x - inDisc.x, dy = y - inDisc.y;
            const auto edge = GetEdge( std::sqrt( dx * dx + dy * dy ) - inDisc.radius );
            auto* light =
                ioLight.data() + ( std::size_t{ y } * itsSettings.width + x ) * itsSettings.channels;
            for ( std::uint32_t channel = 0; channel < itsSettings.channels; ++channel )
                light[channel] += static_cast<float>( edge * ( inDisc.peaks[channel] - kBackground ) );
        }
}

template<class T>
void XSyntheticStack::Expose( const std::vector<float>& inLight, WImagePage& outPage )
{
    constexpr double kBrightest = std::numeric_limits<T>::max();
    auto* samples = outPage.GetSamples<T>();
    const auto expose = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto i = inFirst; i < inEnd; ++i )
        {
            const auto light = ( double{ inLight[i] } + kNoise * DrawNoise() ) * kBrightest;
            samples[i] = static_cast<T>( std::clamp( light, 0.0, kBrightest ) + 0.5 );
        }
    };
    XForEachChunk( inLight.size(), kPixelsAtOnce, expose );
}

WImageFormat XSyntheticStack::GetFormat() const
{
    WImageFormat format;
    format.width = itsSettings.width;
    format.height = itsSettings.height;
    format.channels = itsSettings.channels;
    format.type = itsSettings.bits == 8 ? WImageFormat::kUInt8 : WImageFormat::kUInt16;
    format.pixelWidth = format.pixelHeight = kPixelSize;
    return format;
}

WImagePage XSyntheticStack::DrawPlane()
{
    WImagePage page{ GetFormat(), {} };
    page.Allocate( std::numeric_limits<std::uint64_t>::max() );

    std::vector<float> light(
        std::size_t{ page.width } * page.height * page.channels, static_cast<float>( kBackground ) );
    XProgress progress( 2, XProgress::kProgressSteps );
    constexpr std::uint64_t kDiscsAtOnce = 16;
    const auto paint = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto i = inFirst; i < inEnd; ++i )
        {
            Wander( itsDiscs[i] );
            Paint( itsDiscs[i], light );
        }
    };
    XForEachChunk( itsDiscs.size(), kDiscsAtOnce, paint );
    progress.Increment();
    if ( page.type == WImagePage::kUInt8 )
        Expose<std::uint8_t>( light, page );
    else
        Expose<std::uint16_t>( light, page );
    ++itsPlane;
    return page;
}

std::string XSyntheticStack::GetTruthHeader() const
{
    std::string text = "Plane,Object,Centre X,Centre Y,Radius";
    for ( std::uint32_t channel = 1; channel <= itsSettings.channels; ++channel )
        text += ",Peak (C" + std::to_string( channel ) + ")";
    return text + "\n";
}

std::string XSyntheticStack::GetTruth() const
{
    const auto brightest = itsSettings.bits == 8 ? 255.0 : 65535.0;
    std::string text;
    for ( std::size_t i = 0; i < itsDiscs.size(); ++i )
    {
        const auto& disc = itsDiscs[i];
        text += std::to_string( itsPlane - 1 ) + "," + std::to_string( i + 1 );
        for ( const auto number : { disc.x, disc.y, disc.radius } )
            XAppendNumber( text += ',', number );
        for ( const auto peak : disc.peaks )
            XAppendNumber( text += ',', peak * brightest );
        text += '\n';
    }
    return text;
}
