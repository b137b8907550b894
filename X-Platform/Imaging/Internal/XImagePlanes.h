#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

#include <string>
#include <vector>

/// The planes that the description of an image declares.
struct KORVALE_IMAGING_API XImagePlanes
{
    std::uint64_t images =
        1; ///< series, such as stage positions; the other counts are those of the first series
    std::uint64_t channels = 1;
    std::uint64_t slices = 1;
    std::uint64_t times = 1;
    std::uint64_t total = 0;      ///< all planes; 0 if not declared
    std::uint64_t dimensions = 0; ///< with more than one plane, except channels, slices and images
    bool areElsewhere = false;    ///< declared in another file
    bool mayMoreFollow = false;   ///< later pages have declarations of their own

    /// Parses the first description that is OME-XML, ImageJ's or the shape of an array (tifffile's JSON), for
    /// pages of the given layout. Samples of one pixel are not planes: a colour image is one plane. Other
    /// descriptions, and the shape of different pages, declare nothing.
    static XImagePlanes
    Parse( const std::vector<std::string>& inDescriptions, const WImageFile::Layout& inLayout );
};

/// Throws XNotTimePointsError if the pages of the file are not the time points of one image: if it declares
/// several channels, slices or images, or another number of planes than pages. With `inAreTimes` the pages
/// are accepted as time points, unless the file has room for all planes after its only page: WImageError.
KORVALE_IMAGING_API void XCheckPlanes( const WImageFile& inFile, bool inAreTimes );
