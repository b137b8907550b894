#include "Drawing/XPlotFrame.h"

#include "Core/Strings/XUTF8Text.h"

#include <algorithm>
#include <cmath>

// The layout is fixed before anything is drawn, from the outside inwards: rows first, because the number of
// ticks on y depends on the height only; then columns, because the labels on y determine the left edge; and
// the ticks on x last, as many as fit between the edges with their labels. Text is measured by the canvas, so
// the layout is right for its fonts. Lengths are points.

namespace
{
// Lengths in points.
constexpr double kEdge = 7;
constexpr double kLabelGap = 4;
constexpr double kTick = 3.5;
constexpr double kMinorTick = 2;
constexpr double kLabelSize = 8;
constexpr double kAxisTitleSize = 9;
constexpr double kTitleSize = 10;
constexpr double kEndRoom = 12; // beyond the end of an axis, for half a label
constexpr double kLeastAxis = 15;
constexpr double kSwatch = 7;
constexpr double kLegendLine = 11;

constexpr double kCapital = 0.72; // the height of capitals, of the font's size
constexpr double kRaisedSize = 0.7;
constexpr double kRaise = 0.4;

constexpr double kUpwards = 90; // the angle

constexpr WColour kInk{ 0, 0, 0 };
constexpr WStroke kLine{ kInk, 0.8 };

const std::string kTimes10 = "\xC3\x97"
                             "10";

WTextStyle MakeStyle( double inSize, WTextStyle::Anchor inAnchor, double inAngle = 0 )
{
    return { inSize, kInk, inAnchor, inAngle, {} };
}

XPowerText GetFactor( const XAxisTicks& inTicks )
{
    return {
        kTimes10,
        inTicks.exponent < 0 ? "\xE2\x88\x92" + std::to_string( -inTicks.exponent )
                             : std::to_string( inTicks.exponent ) };
}
} // namespace

XPlotFrame::XPlotFrame( WCanvas& ioCanvas, double inWidth, double inHeight, XPlotDescription inDescription )
    : itsCanvas( ioCanvas ), itsWidth( inWidth ), itsHeight( inHeight ),
      itsDescription( std::move( inDescription ) )
{
    LayOutRows();
    LayOutColumns();
}

void XPlotFrame::LayOutRows()
{
    constexpr double kLinesPerTick = 3.5;
    itsTop = kEdge + kLabelSize + kLabelGap + ( itsDescription.title.empty() ? 0 : kTitleSize + kLabelGap );
    itsBottom = itsHeight - kEdge - kAxisTitleSize - kLabelGap - kLabelSize - kLabelGap - kTick;
    // A label for every 3.5 lines at most.
    const auto most = ( itsBottom - itsTop ) / ( kLinesPerTick * kLabelSize );
    itsTicksY = XMakeTicks( itsDescription.y.range, static_cast<std::uint32_t>( std::max( most, 2.0 ) ) );
}

void XPlotFrame::LayOutColumns()
{
    double labels = 0;
    for ( const auto& tick : itsTicksY.ticks )
        labels = std::max( labels, GetWidth( tick.label, kLabelSize ) );
    itsLeft = kEdge + kAxisTitleSize + 1.5 * kLabelGap + labels + kLabelGap / 2 + kTick;
    itsRight = std::max( itsWidth - kEdge - std::max( kEndRoom, GetLegendWidth() ), itsLeft + kLeastAxis );
    itsTicksX = FitTicksX();
}

/// The room at the right that the legend takes, at most a third of the sheet.
double XPlotFrame::GetLegendWidth()
{
    if ( itsDescription.legend.empty() )
        return 0;
    // The title begins at the swatches, the entries behind them.
    auto text = itsCanvas.GetTextWidth( itsDescription.legendTitle, kLabelSize ) - kSwatch - kLabelGap;
    for ( const auto& entry : itsDescription.legend )
        text = std::max( text, itsCanvas.GetTextWidth( entry.text, kLabelSize ) );
    return std::min( text + kSwatch + kLabelGap, itsWidth / 3 ) + 3 * kLabelGap;
}

/// As many ticks as there is room for with all their labels.
XAxisTicks XPlotFrame::FitTicksX()
{
    constexpr std::uint32_t kMost = 12, kFewest = 2;
    const auto fits = [&]( const XAxisTicks& inTicks )
    {
        auto end = -kEndRoom - kLabelSize;
        for ( const auto& [number, label] : inTicks.ticks )
        {
            const auto place = GetPlace( number, itsDescription.y.range.low ).x;
            const auto half = GetWidth( label, kLabelSize ) / 2;
            if ( place - half < end + kLabelSize )
                return false;
            end = place + half;
        }
        return true;
    };
    // Tried one after the other: the width of the labels depends on the step between the ticks.
    for ( auto most = kMost; most > kFewest; --most )
        if ( auto ticks = XMakeTicks( itsDescription.x.range, most ); fits( ticks ) )
            return ticks;
    return XMakeTicks( itsDescription.x.range, kFewest );
}

WPoint XPlotFrame::GetPlace( double inX, double inY ) const
{
    return {
        std::lerp( itsLeft, itsRight, itsDescription.x.range.GetShare( inX ) ),
        std::lerp( itsBottom, itsTop, itsDescription.y.range.GetShare( inY ) ) };
}

double XPlotFrame::GetWidth( const XPowerText& inText, double inSize )
{
    return itsCanvas.GetTextWidth( inText.text, inSize ) +
        ( inText.exponent.empty() ? 0 : itsCanvas.GetTextWidth( inText.exponent, inSize * kRaisedSize ) );
}

void XPlotFrame::Draw()
{
    DrawAxisX();
    DrawAxisY();
    DrawTitles();
    DrawLegend();
}

void XPlotFrame::DrawPowerText( const XPowerText& inText, WPoint inPlace, WTextStyle inStyle )
{
    const auto width = GetWidth( inText, inStyle.size );
    const auto share = inStyle.anchor == WTextStyle::kStart ? 0
        : inStyle.anchor == WTextStyle::kMiddle             ? 0.5
                                                            : 1;
    inPlace.x -= width * share;
    inStyle.anchor = WTextStyle::kStart;
    itsCanvas.DrawText( inText.text, inPlace, inStyle );
    if ( inText.exponent.empty() )
        return;
    // The canvas draws plain text only, so the exponent is a second, raised text behind the first.
    inPlace.x += itsCanvas.GetTextWidth( inText.text, inStyle.size );
    inPlace.y -= kRaise * inStyle.size;
    inStyle.size *= kRaisedSize;
    itsCanvas.DrawText( inText.exponent, inPlace, inStyle );
}

/// In smaller letters when there is not enough room.
void XPlotFrame::DrawFitting( const std::string& inText, WPoint inPlace, double inRoom, WTextStyle inStyle )
{
    const auto width = itsCanvas.GetTextWidth( inText, inStyle.size );
    if ( width > inRoom )
        inStyle.size *= inRoom / width;
    itsCanvas.DrawText( inText, inPlace, inStyle );
}

void XPlotFrame::DrawAxisX()
{
    const auto low = itsDescription.y.range.low;
    std::vector<WCanvas::Path> lines{ { { itsLeft, itsBottom }, { itsRight, itsBottom } } };
    const auto addTick = [&]( double inNumber, double inLength )
    {
        const auto x = GetPlace( inNumber, low ).x;
        lines.push_back( { { x, itsBottom }, { x, itsBottom + inLength } } );
    };
    for ( const auto& [number, label] : itsTicksX.ticks )
    {
        addTick( number, kTick );
        const WPoint place{
            GetPlace( number, low ).x, itsBottom + kTick + kLabelGap / 2 + kLabelSize * kCapital + 1 };
        DrawPowerText( label, place, MakeStyle( kLabelSize, WTextStyle::kMiddle ) );
    }
    for ( const auto number : itsTicksX.minorTicks )
        addTick( number, kMinorTick );
    itsCanvas.Stroke( lines, false, kLine );
    if ( itsTicksX.exponent != 0 )
        DrawPowerText(
            GetFactor( itsTicksX ), { itsRight, itsHeight - kEdge },
            MakeStyle( kLabelSize, WTextStyle::kEnd ) );
}

void XPlotFrame::DrawAxisY()
{
    const auto low = itsDescription.x.range.low;
    std::vector<WCanvas::Path> lines{ { { itsLeft, itsTop }, { itsLeft, itsBottom } } };
    const auto addTick = [&]( double inNumber, double inLength )
    {
        const auto y = GetPlace( low, inNumber ).y;
        lines.push_back( { { itsLeft - inLength, y }, { itsLeft, y } } );
    };
    for ( const auto& [number, label] : itsTicksY.ticks )
    {
        addTick( number, kTick );
        const WPoint place{
            itsLeft - kTick - kLabelGap / 2, GetPlace( low, number ).y + kLabelSize * kCapital / 2 };
        DrawPowerText( label, place, MakeStyle( kLabelSize, WTextStyle::kEnd ) );
    }
    for ( const auto number : itsTicksY.minorTicks )
        addTick( number, kMinorTick );
    itsCanvas.Stroke( lines, false, kLine );
    if ( itsTicksY.exponent != 0 )
        DrawPowerText(
            GetFactor( itsTicksY ), { itsLeft, itsTop - kLabelGap },
            MakeStyle( kLabelSize, WTextStyle::kStart ) );
}

void XPlotFrame::DrawTitles()
{
    const auto centre = ( itsLeft + itsRight ) / 2;
    const auto middle = ( itsTop + itsBottom ) / 2;
    // The factor is at the right end of the same line.
    const auto factor =
        itsTicksX.exponent != 0 ? GetWidth( GetFactor( itsTicksX ), kLabelSize ) + kLabelGap : 0;
    DrawFitting(
        itsDescription.x.title, { centre, itsHeight - kEdge },
        std::max( itsRight - itsLeft - 2 * factor, kLeastAxis ),
        MakeStyle( kAxisTitleSize, WTextStyle::kMiddle ) );
    DrawFitting(
        itsDescription.y.title, { kEdge + kAxisTitleSize * kCapital, middle }, itsBottom - itsTop,
        MakeStyle( kAxisTitleSize, WTextStyle::kMiddle, kUpwards ) );
    if ( !itsDescription.title.empty() )
        DrawFitting(
            itsDescription.title, { centre, kEdge + kTitleSize * kCapital }, itsRight - itsLeft,
            MakeStyle( kTitleSize, WTextStyle::kMiddle ) );
    if ( !itsDescription.note.empty() )
        itsCanvas.DrawText(
            itsDescription.note, { itsRight, itsTop - kLabelGap },
            MakeStyle( kLabelSize, WTextStyle::kEnd ) );
}

void XPlotFrame::DrawLegend()
{
    if ( itsDescription.legend.empty() )
        return;
    const auto left = itsRight + 3 * kLabelGap;
    const auto room = itsWidth - kEdge - left;
    const auto style = MakeStyle( kLabelSize, WTextStyle::kStart );
    const auto measure = [&]( const std::string& inText )
    { return itsCanvas.GetTextWidth( inText, kLabelSize ); };
    auto line = itsTop + kLabelSize * kCapital;
    itsCanvas.DrawText( XElideText( itsDescription.legendTitle, room, measure ), { left, line }, style );
    const auto step = std::min(
        kLegendLine, ( itsHeight - kEdge - line ) / static_cast<double>( itsDescription.legend.size() ) );
    for ( const auto& [text, colour] : itsDescription.legend )
    {
        line += step;
        itsCanvas.FillRectangle(
            { left, line - kLabelSize * kCapital / 2 - kSwatch / 2 },
            { left + kSwatch, line - kLabelSize * kCapital / 2 + kSwatch / 2 }, colour );
        const auto start = left + kSwatch + kLabelGap;
        itsCanvas.DrawText( XElideText( text, itsWidth - kEdge - start, measure ), { start, line }, style );
    }
}
