#pragma once

#include "Images/WImageFile.h"
#include "Imaging/Objects/XLabelledObjects.h"
#include "Imaging/Thresholds/XPixelMask.h"
#include "WPlatform.h"

#include <cstdint>
#include <optional>

/// What the pages of an image of given objects contain.
enum class XGivenKind : std::uint8_t
{
    kLabels, ///< an object has the pixels of one sample other than 0, connected or not
    kMask    ///< pixels above 0 belong to objects, which are the connected components
};

/// The objects of a page that another program has found.
struct KORVALE_IMAGING_API XGivenObjects
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    XLabelledObjects labels{};        ///< kLabels
    std::optional<XPixelMask> mask{}; ///< kMask

    /// Throws WImageError if the page has another size.
    void RequireSizeOf( const WImageFormat& inPage ) const;
};

/// Takes the objects from a page. Throws WImageError if it has several channels or, as labels, floats that are not whole
/// numbers from 0 to 2^24 - 1, above which floats are not exact; an abort throws 1001.
KORVALE_IMAGING_API XGivenObjects XTakeGivenObjects( const WImagePage& inPage, XGivenKind inKind );
