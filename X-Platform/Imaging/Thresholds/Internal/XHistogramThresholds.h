#pragma once

#include "Imaging/Thresholds/Internal/XSampleHistogram.h"

/// Otsu's threshold. If there is only one level, it is that one; without any it is infinity.
double XGetOtsuThreshold( const XSampleHistogram& inHistogram );

/// The highest levels of all classes but the brightest, in ascending order: those that maximise the variance between
/// `inClasses` classes, the lowest ones on ties. With fewer levels than classes every level is a class. There must be
/// two levels and two classes or more.
std::vector<std::uint64_t>
XFindMultiOtsuLevels( const XSampleHistogram& inHistogram, std::uint32_t inClasses );
