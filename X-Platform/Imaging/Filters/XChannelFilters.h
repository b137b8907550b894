#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

/// The preprocessing of a channel before its threshold: the steps in the order of the fields; 0 leaves one out.
struct KORVALE_IMAGING_API XChannelFilters
{
    double flattenSigma = 0;            ///< XFlattenChannel
    bool isDark = false;                ///< XInvertChannel
    std::uint32_t medianRadius = 0;     ///< XFilterMedian
    double smoothSigma = 0;             ///< XSmoothChannel
    std::uint32_t backgroundRadius = 0; ///< XTopHatChannel

    bool IsEmpty() const;
};

/// The channel after all steps: a page of one channel, of floats after flattening or smoothing and otherwise of the type
/// of the samples. Infinite samples and NaN count as the darkest finite sample, or the brightest one for dark objects.
/// Throws the errors of the steps.
KORVALE_IMAGING_API WImagePage
XFilterChannel( const WImagePage& inPage, std::uint32_t inChannel, const XChannelFilters& inFilters );

/// Makes dark objects bright: the largest value of the sample type minus each integer, and 1 minus each float. A page of
/// one channel of the same sample type. An abort throws 1001.
KORVALE_IMAGING_API WImagePage XInvertChannel( const WImagePage& inPage, std::uint32_t inChannel );

/// The number of samples of a channel that are infinite or NaN.
KORVALE_IMAGING_API std::uint64_t XCountNonFinite( const WImagePage& inPage, std::uint32_t inChannel );
