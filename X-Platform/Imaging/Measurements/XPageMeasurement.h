#pragma once

#include "Images/WImageFile.h"
#include "Imaging/Measurements/XShapeMeasurement.h"
#include "Imaging/Objects/XChildObjects.h"
#include "Imaging/Objects/XConnectedComponents.h"
#include "Imaging/Objects/XGivenObjects.h"
#include "Imaging/Objects/XSegmentation.h"
#include "WPlatform.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

class XMemoryHandle;

/// What is measured beside the columns that every table has.
struct XMeasuredValues
{
    bool shape = false; ///< XShapeMeasurement
};

/// How the objects of a page are found and measured.
struct XMeasureSettings
{
    XSegmentationSettings objects;
    std::uint64_t leastPixels = 1;                                            ///< smaller objects are ignored
    std::uint64_t mostPixels = ( std::numeric_limits<std::uint64_t>::max )(); ///< larger objects are ignored
    bool excludesEdges = false; ///< objects at the border of the page are ignored
    XConnectivity connectivity = XConnectivity::kEdgesAndCorners;
    std::optional<XObjectSettings> children; ///< how child objects are found; without a value, none are
    XMeasuredValues values{};
};

/// The objects of a page and their child objects.
struct XPageObjects
{
    double threshold = 0;        ///< NaN if each pixel has a threshold of its own
    std::uint64_t nonFinite = 0; ///< samples of the segmented channel that are infinite or NaN
    XLabelledObjects outer;
    XChildObjects children;
};

/// Statistics of the samples of one object in one channel.
struct XChannelStatistics
{
    double min = 0;
    double max = 0;
    double mean = 0;
    double standardDeviation = 0; ///< of the population, not of a sample
    double sum = 0;
};

/// The measurements of one page: much smaller than its pixels, and independent of all other pages.
struct KORVALE_IMAGING_API XPageMeasurement
{
    std::uint32_t channels = 0;
    double pixelWidth = 0; ///< in micrometres; 0 without a resolution
    double pixelHeight = 0;
    double threshold = 0;                       ///< NaN if each pixel has a threshold of its own
    std::uint64_t nonFinite = 0;                ///< samples of the segmented channel that are infinite or NaN
    std::vector<XObjectShape> shapes;           ///< of the objects, followed by the child objects
    std::vector<XChannelStatistics> statistics; ///< for each object the channels in order
    std::vector<XShapeMeasurement> forms;       ///< as many as shapes if they are measured, otherwise none
    std::vector<std::uint32_t> parents;         ///< for each child object the index of its parent
    std::size_t releasedOuter = 0;              ///< number of released objects
    std::size_t releasedChildren = 0;
    bool hasForms = false; ///< the objects, released or not, have forms
    /// Storage of the released objects in XMeasurementMemory; otherwise null.
    std::shared_ptr<XMemoryHandle> kept;
    std::size_t keptOffset = 0;

    bool HasResolution() const { return pixelWidth > 0 && pixelHeight > 0; }
    std::size_t GetOuterCount() const { return releasedOuter + shapes.size() - parents.size(); }
    std::size_t GetObjectCount() const { return releasedOuter + releasedChildren + shapes.size(); }
    /// Releases the objects, which are now in a table, but keeps their numbers.
    void Release();
    std::uint32_t GetParent( std::size_t inChild ) const { return parents[inChild - GetOuterCount()]; }
};

/// Finds the objects of a page. This and the following functions depend only on their arguments, so pages may
/// be processed by any threads in any order. Objects that are given, and not null, replace those that would be found, or
/// the pixels above the threshold; they are selected like those. Throws WImageError if the page does not have a
/// requested channel, or another size than the given objects.
KORVALE_IMAGING_API XPageObjects XFindPageObjects(
    const WImagePage& inPage, const XMeasureSettings& inSettings, const XGivenObjects* inGiven = nullptr );

/// Measures the objects found on the page.
KORVALE_IMAGING_API XPageMeasurement XMeasureObjects(
    const WImagePage& inPage, const XPageObjects& inObjects, const XMeasuredValues& inValues = {} );

/// Finds the objects and measures them.
KORVALE_IMAGING_API XPageMeasurement
XMeasurePage( const WImagePage& inPage, const XMeasureSettings& inSettings );
