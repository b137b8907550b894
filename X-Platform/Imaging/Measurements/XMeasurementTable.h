#pragma once

#include "Imaging/Measurements/XMeasurementMemory.h"
#include "Imaging/Measurements/XPageMeasurement.h"
#include "Imaging/XImageReader.h"
#include "Pivot/Tables/XPivotTable.h"
#include "WPlatform.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The measurements of an image: its pages in order.
struct KORVALE_IMAGING_API XImageMeasurement
{
    std::string name; ///< the file's name, as UTF-8
    std::vector<XPageMeasurement> pages;
    std::string folder = {};                   ///< absolute path, as UTF-8, with slashes
    std::vector<XPagePosition> positions = {}; ///< of the pages; empty if page n is time point n

    /// Text columns of the image; without a value, its rows have none. All images have the same names in the same
    /// order.
    std::vector<std::pair<std::string, std::optional<std::string>>> groups = {};

    std::uint64_t GetObjectCount() const;
};

/// Makes a table with one row for each object of each page of each image, in that order; the child objects of
/// a page follow its objects and refer to them. If images in different folders have the same name, each row
/// also has a folder: the part of its path that is not common to all images. Rows have a series and a slice, counted
/// from 0, if any page is of another than the first one, and the time in seconds if it is known for several time points.
/// Groups are columns behind the folder. The table has columns for all
/// channels that occur, areas if any page has a resolution, and parents if child objects were requested; rows
/// without such a value are missing. The objects of each page are released once they are in the table, to
/// avoid holding them twice; with `ioMemory`, kept objects are brought back first, and the table is counted.
/// Throws 1012 and 1020 if objects cannot be brought back.
KORVALE_IMAGING_API XPivotTable XMakeMeasurementTable(
    std::vector<XImageMeasurement>& ioImages, const XMeasureSettings& inSettings,
    XMeasurementMemory* ioMemory = nullptr );
