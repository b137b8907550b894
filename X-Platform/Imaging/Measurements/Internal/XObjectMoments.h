#pragma once

#include "Imaging/Objects/XLabelledObjects.h"

#include <span>

/// The second central moments of an object's pixels, which are points.
class XObjectMoments
{
public:
    XObjectMoments( std::span<const XPixelRun> inRuns, const XObjectShape& inShape );

    /// Along the major and the minor axis of the ellipse with these moments.
    double GetMajorVariance() const { return itsMean + itsRadius; }
    double GetMinorVariance() const;
    double GetEccentricity() const;
    /// From the vertical axis to the major one, pi/4 if they are equal.
    double GetOrientation() const;

private:
    double itsXX = 0;
    double itsYY = 0;
    double itsXY = 0;
    double itsMean = 0;   // of both variances
    double itsRadius = 0; // how far they are from it
};
