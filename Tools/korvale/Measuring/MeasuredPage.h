#pragma once

#include "Imaging/Measurements/XPageMeasurement.h"
#include "Plots/XOverlaySketch.h"

#include <optional>

/// The measurements of a page and, if requested, the sketch of its overlay.
struct MeasuredPage
{
    XPageMeasurement measurement;
    std::optional<XOverlaySketch> sketch;
};

/// Finds and measures the objects of a page; `inGiven` as in XFindPageObjects.
MeasuredPage MeasurePageSamples(
    const WImagePage& inPage, const XMeasureSettings& inSettings, bool inNeedsOverlay,
    const XGivenObjects* inGiven = nullptr );
