#pragma once

#include "Imaging/Thresholds/XAutomaticThreshold.h"
#include "Imaging/Thresholds/XPixelMask.h"
#include "WPlatform.h"

/// The largest side of the surroundings of a local threshold, in pixels.
constexpr std::uint32_t kXMostLocalSize = 999;

/// The mask of the pixels above a threshold of their own, which is derived from the square around them; the page is
/// mirrored at its border. The channel must not contain infinite samples or NaN. A uniform page has no pixel above.
///
/// kLocal: the mean weighted by a Gaussian of (size - 1) / 6 pixels, as `threshold_local` of scikit-image. kSauvola:
/// mean * (1 + 0.2 * (deviation / range - 1)), where `inHalfRange` is half of the range of the sample type of the image
/// (see XGetHalfRange).
///
/// Throws 1013 for another method or an invalid size; an abort throws 1001.
KORVALE_IMAGING_API XPixelMask XMarkLocally(
    const WImagePage& inPage, std::uint32_t inChannel, const XAutomaticThreshold& inSettings,
    double inHalfRange );

/// Half of the range of a sample type: 127.5, 32767.5; for floats 1, which suits samples from -1 to 1.
KORVALE_IMAGING_API double XGetHalfRange( WImageFormat::SampleType inType );
