#pragma once

#include "PageMeasurement.h"
#include "Pivot/XPivotTable.h"

#include <string>
#include <vector>

/// What an image gives: its pages in order.
struct ImageMeasurement
{
    std::string name; ///< The file's name, as UTF-8.
    std::vector<PageMeasurement> pages;

    std::uint64_t GetObjectCount() const;
};

/// A table with a row for each object of each page of each image, in that order. It has the columns of all channels
/// that any of the pages has, and areas when any page has a resolution; rows of other pages lack those values.
XPivotTable MakeMeasurementTable( const std::vector<ImageMeasurement>& inImages );
