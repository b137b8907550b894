#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

#include <string>
#include <vector>

/// The planes that the description of an image declares.
struct KORVALE_IMAGING_API XImagePlanes
{
    std::uint64_t images =
        1; ///< Series, such as the positions of a stage; the other counts are those of the first one.
    std::uint64_t channels = 1;
    std::uint64_t slices = 1;
    std::uint64_t times = 1;
    std::uint64_t total = 0; ///< All planes; 0: not declared.
    std::uint64_t dimensions =
        0;                      ///< Of more than one plane, that are neither channels nor slices nor images.
    bool areElsewhere = false;  ///< Another file declares them.
    bool mayMoreFollow = false; ///< Pages behind them are declared where they begin.

    /// Of the first description that is OME-XML, ImageJ's or the shape of an array (tifffile's JSON), for pages of that
    /// layout. Samples of one pixel are not planes: a colour image is one plane. A shape of other pages and other
    /// descriptions declare nothing.
    static XImagePlanes
    Parse( const std::vector<std::string>& inDescriptions, const WImageFile::Layout& inLayout );
};

/// Throws XNotTimePointsError for a file whose pages are not the time points of one image: one that declares several
/// channels, slices or images, or other planes than it has pages. `inAreTimes` accepts the pages as time points all the
/// same, except where the file has room for all planes behind its only page: WImageError.
KORVALE_IMAGING_API void XCheckPlanes( const WImageFile& inFile, bool inAreTimes );
