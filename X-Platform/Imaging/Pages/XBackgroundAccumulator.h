#pragma once

#include "Images/WImageFile.h"
#include "Imaging/Pages/XPageMemory.h"
#include "WPlatform.h"

#include <cstdint>
#include <memory>

/// How the background of a stack is computed from its pages.
enum class XBackgroundKind
{
    kNone,
    kMean,
    kMinimum
};

/// Per-pixel sum or minimum over several pages.
///
/// Integer samples are summed exactly, and their mean is rounded to the nearest integer, halves up. Float
/// samples are summed in double precision, in the order in which they are added; samples that are not finite
/// are ignored, and if none is finite the background is 0.
/// Threads: several threads may add different samples of one page.
class KORVALE_IMAGING_API XBackgroundAccumulator
{
public:
    /// Creates an accumulator for at most `inMostPages` pages with the layout of `inFormat`. Throws 1012.
    static std::unique_ptr<XBackgroundAccumulator> Make(
        XBackgroundKind inKind, const WImageFormat& inFormat, std::uint32_t inMostPages,
        XPageMemory& ioMemory );

    virtual ~XBackgroundAccumulator() = default;
    XBackgroundAccumulator( const XBackgroundAccumulator& ) = delete;
    XBackgroundAccumulator& operator=( const XBackgroundAccumulator& ) = delete;

    /// Adds the samples of a page with the indices from `inFirst` up to, but not including, `inEnd`.
    virtual void Add( const WImagePage& inPage, std::uint64_t inFirst, std::uint64_t inEnd ) = 0;

    /// Sets the same range of samples of `outPage` to the background of the `inPages` pages added.
    virtual void GetBackground(
        std::uint32_t inPages, std::uint64_t inFirst, std::uint64_t inEnd, WImagePage& outPage ) const = 0;

protected:
    XBackgroundAccumulator() = default;
};
