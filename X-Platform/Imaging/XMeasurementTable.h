#pragma once

#include "Imaging/XMeasurementMemory.h"
#include "Imaging/XPageMeasurement.h"
#include "Pivot/Tables/XPivotTable.h"
#include "WPlatform.h"

#include <string>
#include <vector>

/// The measurements of an image: its pages in order.
struct KORVALE_IMAGING_API XImageMeasurement
{
    std::string name; ///< The file's name, as UTF-8.
    std::vector<XPageMeasurement> pages;
    std::string folder = {}; ///< Absolute path, as UTF-8, with slashes.

    std::uint64_t GetObjectCount() const;
};

/// A table with a row for each object of each page of each image, in that order; the child objects of a page follow its
/// objects and refer to them. Where images in different folders have one name, each row has a folder too: the
/// part of its path that is not the same for all images. The table has the columns of all channels that any of the
/// pages has, areas when any page has a resolution, and parents when objects inside objects were asked for; rows of
/// others lack those values. Each page's objects are released when they are in the table, so that they are not in memory
/// twice; those that are kept in the memory, where there is one, are brought back for it, and it counts the table too.
/// Throws 1012 and 1020 where objects cannot be brought back.
KORVALE_IMAGING_API XPivotTable XMakeMeasurementTable(
    std::vector<XImageMeasurement>& ioImages, const XMeasureSettings& inSettings,
    XMeasurementMemory* ioMemory = nullptr );
