#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// An image whose description is not understood or contradicts its pages: they cannot be assigned to channels, slices
/// and time points. XImageReadSettings::arePagesTimes reads each page as a time point nevertheless.
class KORVALE_IMAGING_API XNotTimePointsError : public WImageError
{
public:
    using WImageError::WImageError;
};

/// Where a property of an image comes from.
enum class XImageSource
{
    kNone,       ///< the property is not known
    kGiven,      ///< the settings of the reader
    kOME,        ///< OME-XML
    kImageJ,     ///< the description of ImageJ
    kShape,      ///< the array shape that numpy-based writers store
    kResolution, ///< the resolution of the pages
    kPages       ///< the pages of the file
};

/// Such as "OME"; empty for kNone.
KORVALE_IMAGING_API const char* XGetSourceName( XImageSource inSource );

/// The position of a stored page.
struct XPagePlace
{
    std::uint32_t file = 0; ///< index into XImageStructure::files
    std::uint32_t page = 0; ///< see WImageFile
};

/// The position of a plane: one channel of a slice at a time point.
struct XPlanePlace : XPagePlace
{
    std::uint32_t sample = 0; ///< index within the pixels of the page
};

/// One image of a file, such as a stage position: channels, slices and time points of the same size.
struct KORVALE_IMAGING_API XImageSeries
{
    std::string name = {}; ///< UTF-8; empty if it has none
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint32_t channels = 1;
    std::uint32_t slices = 1;
    std::uint32_t times = 1;
    std::uint32_t channelsPerPage = 1; ///< channels that are samples of one pixel in the file
    std::string sampleType = {};       ///< such as "16-bit unsigned"; that of the first page

    std::vector<std::string> channelNames = {}; ///< UTF-8, one for each channel; empty if there are none
    double pixelWidth = 0;                      ///< in micrometres; 0 if not known
    double pixelHeight = 0;
    XImageSource pixelSource = XImageSource::kNone;
    double sliceSpacing = 0; ///< in micrometres; 0 if not known
    XImageSource sliceSource = XImageSource::kNone;
    double timeInterval = 0; ///< in seconds; 0 if not known
    XImageSource timeSource = XImageSource::kNone;
    /// In seconds, for each slice of each time point the time of its first channel, NaN if not known; empty if no time
    /// is known except by the interval.
    std::vector<double> planeTimes = {};

    /// The pages of the file: for each time point and slice those of its channels, in order.
    std::vector<XPagePlace> pages = {};

    std::uint32_t GetPagesPerPlane() const { return channels / channelsPerPage; }

    /// The arguments must be in range.
    XPlanePlace GetPlane( std::uint32_t inChannel, std::uint32_t inSlice, std::uint32_t inTime ) const;

    /// The pages of all channels of a slice; GetPagesPerPlane of them.
    const XPagePlace* GetPages( std::uint32_t inSlice, std::uint32_t inTime ) const;

    /// The index of the first channel of that name.
    std::optional<std::uint32_t> FindChannel( std::string_view inName ) const;

    /// The time of a slice in seconds; NaN if it is not known.
    double GetTime( std::uint32_t inSlice, std::uint32_t inTime ) const;
};

/// The structure of an image file: which of its pages are which channels, slices and time points of which images.
/// It is read from the description of the file: OME-XML, the lines of ImageJ, or the array shape of numpy-based
/// writers; without one, each page is a time point. It is data, independent of the file it was read from.
struct KORVALE_IMAGING_API XImageStructure
{
    XImageSource source = XImageSource::kPages; ///< of the series and their sizes
    std::vector<XImageSeries> series;           ///< at least one
    std::vector<std::filesystem::path>
        files; ///< the image file, followed by other files that have pages of it

    /// Reads the structure of an open file. Throws XNotTimePointsError if the description cannot be interpreted or
    /// contradicts the pages: both numbers are in the text.
    static XImageStructure Read( const WImageFile& inFile, const std::filesystem::path& inPath );

    /// Each page is a time point, whatever the description declares. Throws WImageError if the file has room for all
    /// declared planes after its only page.
    static XImageStructure ReadPages( const WImageFile& inFile, const std::filesystem::path& inPath );
};
