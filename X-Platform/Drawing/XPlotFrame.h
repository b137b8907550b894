#pragma once

#include "Drawing/WCanvas.h"
#include "Drawing/XAxisTicks.h"
#include "WPlatform.h"

#include <string>
#include <vector>

struct XPlotAxis
{
    XAxisRange range;
    std::string title;
};

struct XPlotLegendEntry
{
    std::string text;
    WColour colour;
};

/// Titles, axes and legend of a plot. Text is UTF-8; empty texts are omitted.
struct XPlotDescription
{
    std::string title;
    std::string note; ///< in small letters at the top right
    XPlotAxis x;
    XPlotAxis y;
    std::string legendTitle;
    std::vector<XPlotLegendEntry> legend;
};

/// The axes, titles and legend of a plot, laid out on a canvas whose unit is the point.
class KORVALE_IMAGING_API XPlotFrame
{
public:
    /// Draws nothing yet. The canvas must outlive the frame.
    XPlotFrame( WCanvas& ioCanvas, double inWidth, double inHeight, XPlotDescription inDescription );

    /// The position of a data point on the canvas.
    WPoint GetPlace( double inX, double inY ) const;

    /// Draws the frame. Call it after drawing the data, so that the axes are on top.
    void Draw();

private:
    WCanvas& itsCanvas;
    const double itsWidth;
    const double itsHeight;
    const XPlotDescription itsDescription;
    XAxisTicks itsTicksX;
    XAxisTicks itsTicksY;
    double itsLeft = 0;
    double itsTop = 0;
    double itsRight = 0;
    double itsBottom = 0;

    void LayOutRows();
    void LayOutColumns();
    double GetLegendWidth();
    XAxisTicks FitTicksX();
    double GetWidth( const XPowerText& inText, double inSize );

    void DrawPowerText( const XPowerText& inText, WPoint inPlace, WTextStyle inStyle );
    void DrawFitting( const std::string& inText, WPoint inPlace, double inRoom, WTextStyle inStyle );
    void DrawAxisX();
    void DrawAxisY();
    void DrawTitles();
    void DrawLegend();
};
