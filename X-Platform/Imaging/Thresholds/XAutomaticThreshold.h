#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

/// How a threshold is derived from the samples of a page. The definitions are those of scikit-image 0.19, as are the
/// histograms: integers have one level for each value from the smallest to the largest sample, floats 256 equal bins
/// between the smallest and the largest finite sample.
enum class XThresholdMethod
{
    kOtsu,     ///< largest variance between two classes (N. Otsu, 1979)
    kLi,       ///< least cross entropy, by iteration from the mean (C. Li and P. Tam, 1998)
    kTriangle, ///< farthest below the line from the peak to the end of the longer tail (G. Zack, 1977)
    kYen,      ///< largest entropic correlation (J. Yen, F. Chang and S. Chang, 1995)
    kIsodata, ///< midway between the means of the classes (T. Ridler and S. Calvard, 1978); the lowest such level
    kMultiOtsu, ///< largest variance between several classes (P. Liao, T. Chen and P. Chung, 2001)
    kLocal,     ///< a Gaussian mean of the surroundings of each pixel
    kSauvola    ///< mean and deviation in a square around each pixel (J. Sauvola and M. Pietikainen, 2000)
};

/// An automatic threshold. Pages whose samples are all equal have no pixel above it.
struct KORVALE_IMAGING_API XAutomaticThreshold
{
    XThresholdMethod method = XThresholdMethod::kOtsu;
    /// Multi-Otsu: the number of classes, at least 2. A page with fewer levels has as many classes as levels.
    std::uint32_t classes = 3;
    /// Multi-Otsu: the class, counted from 1, that the threshold excludes together with all darker ones; 0: all classes
    /// but the brightest.
    std::uint32_t excludedClasses = 0;
    /// Local and Sauvola: the side of the surroundings in pixels, an odd number from 3 to kXMostLocalSize.
    std::uint32_t size = 15;
    double scale = 1; ///< factor for the threshold

    /// True if each pixel has a threshold of its own.
    bool IsLocal() const
    {
        return method == XThresholdMethod::kLocal || method == XThresholdMethod::kSauvola;
    }
};

/// The threshold of one channel by a method that is not local, times its scale. If all finite samples are equal, it is
/// their value; without finite samples it is infinity. Throws 1013 for a local method or less than two classes; an abort
/// throws 1001.
KORVALE_IMAGING_API double XGetAutomaticThreshold(
    const WImagePage& inPage, std::uint32_t inChannel, const XAutomaticThreshold& inSettings );
