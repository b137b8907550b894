#pragma once

#include "Drawing/AxisTicks.h"
#include "Drawing/WCanvas.h"
#include "WPlatform.h"

#include <string>
#include <vector>

struct PlotAxis
{
    AxisRange range;
    std::string title;
};

struct PlotLegendEntry
{
    std::string text;
    WColour colour;
};

/// Titles, axes and legend of a plot. Text is UTF-8; empty texts are left out.
struct PlotDescription
{
    std::string title;
    std::string note; ///< In small letters at the top right.
    PlotAxis x;
    PlotAxis y;
    std::string legendTitle;
    std::vector<PlotLegendEntry> legend;
};

/// The axes, titles and legend of a plot, laid out on a canvas whose unit is the point.
class KORVALE_IMAGING_API PlotFrame
{
public:
    /// Draws nothing yet. The canvas outlives the frame.
    PlotFrame( WCanvas& ioCanvas, double inWidth, double inHeight, PlotDescription inDescription );

    /// The position of a data point on the canvas.
    WPoint GetPlace( double inX, double inY ) const;

    /// Draws the frame. Call it after the data: the axes lie above.
    void Draw();

private:
    WCanvas& itsCanvas;
    const double itsWidth;
    const double itsHeight;
    const PlotDescription itsDescription;
    AxisTicks itsTicksX;
    AxisTicks itsTicksY;
    double itsLeft = 0;
    double itsTop = 0;
    double itsRight = 0;
    double itsBottom = 0;

    void LayOutRows();
    void LayOutColumns();
    double GetLegendWidth();
    AxisTicks FitTicksX();
    double GetWidth( const PowerText& inText, double inSize );

    void DrawPowerText( const PowerText& inText, WPoint inPlace, WTextStyle inStyle );
    void DrawFitting( const std::string& inText, WPoint inPlace, double inRoom, WTextStyle inStyle );
    void DrawAxisX();
    void DrawAxisY();
    void DrawTitles();
    void DrawLegend();
};
