#pragma once

#include "WImageFile.h"

#include <string_view>

/// The planes that the description of an image declares.
struct ImagePlanes
{
    std::uint64_t images =
        1; ///< Series, such as the positions of a stage; the other counts are those of the first one.
    std::uint64_t channels = 1;
    std::uint64_t slices = 1;
    std::uint64_t times = 1;
    std::uint64_t total = 0;    ///< All planes; 0: not declared.
    bool areElsewhere = false;  ///< Another file declares them.
    bool areContiguous = false; ///< Planes without a directory of their own lie behind the first one.

    /// Of an OME-XML or ImageJ description of an image with so many samples in a pixel. Samples of one pixel are not
    /// planes: a colour image is one plane. Other descriptions declare nothing.
    static ImagePlanes Parse( std::string_view inDescription, std::uint64_t inSamplesPerPixel );
};

/// Throws WImageError for a file whose pages are not the time points of one image: one that declares several channels,
/// slices or images, or other planes than it has pages. `inAreTimes` accepts the pages as time points all the same,
/// except where they are not all of the planes that the file holds.
void CheckPlanes( const WImageFile& inFile, bool inAreTimes );
