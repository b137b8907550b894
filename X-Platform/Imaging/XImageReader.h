#pragma once

#include "Images/WImageFile.h"
#include "Imaging/XImageStructure.h"
#include "Threads/XMutex.h"
#include "WPlatform.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

/// How the slices of a time point become pages.
enum class XSliceMode
{
    kEach,    ///< each slice is a page
    kMaximum, ///< one page of the largest values; NaN if there is one
    kMean,    ///< one page of the means, as 32-bit float unless there is only one slice
    kSum      ///< one page of the sums, as 32-bit float unless there is only one slice
};

/// The part of an image to read; numbers count from 0.
struct XImageSelection
{
    std::optional<std::uint32_t> series = {}; ///< without a value, all
    std::uint32_t firstTime = 0;
    std::uint32_t lastTime = UINT32_MAX; ///< times beyond the end are ignored
    XSliceMode sliceMode = XSliceMode::kEach;
    std::optional<std::uint32_t> slice = {}; ///< only this one, with kEach

    bool operator==( const XImageSelection& ) const = default;
};

/// Settings that override the contents of an image file.
struct XImageReadSettings
{
    bool arePagesTimes = false; ///< each page is a time point, whatever the description declares
    double pixelWidth = 0;      ///< in micrometres; 0: that of the file
    double pixelHeight = 0;     ///< in micrometres; 0: that of the file
    XImageSelection selection = {};

    bool operator==( const XImageReadSettings& ) const = default;
};

/// The position of a page of XImageReader in its image.
struct XPagePosition
{
    std::uint32_t number = 0; ///< among the pages of all series, times and slices, whatever is selected
    std::uint32_t series = 0;
    std::uint32_t time = 0;
    std::uint32_t slice = 0; ///< 0 for all slices together
    double seconds = 0;      ///< NaN if the time is not known
};

/// Reads the pages of one image. A page has all channels of one slice, or of all slices together, at one time point of
/// one series; the pages are in the order of series, times and slices. Pages of the file that have a part of the
/// channels are put together. The files are closed when each page has been read once; reading again reopens them.
/// Threads: any, several at a time; each reads with its own WImageFile.
class KORVALE_IMAGING_API XImageReader
{
public:
    /// Larger pixels, in micrometres, in the resolution of a file come from a screen or from paper, not from a
    /// microscope.
    static constexpr double kLargestPixel = 20;

    /// Opens the file. Throws XNotTimePointsError and the errors of WImageFile, and WImageError if nothing is
    /// selected.
    explicit XImageReader( const std::filesystem::path& inPath, const XImageReadSettings& inSettings = {} );

    std::uint32_t GetPageCount() const { return static_cast<std::uint32_t>( itsPages.size() ); }

    const XPagePosition& GetPosition( std::uint32_t inPage ) const { return itsPages.at( inPage ); }

    const XImageStructure& GetStructure() const { return itsStructure; }

    /// The number of pages that are ignored; see WImageFile.
    std::uint32_t GetSkippedCount() const { return itsSkippedCount; }

    /// The largest pixel size, in micrometres, ignored so far because it is above kLargestPixel; 0 if none.
    double GetIgnoredPixelSize();

    /// Reads page `inPage`, counted from 0, with an XProgress of the thread; an abort throws 1001. Calls the allocator
    /// once, also for memory that is needed only while the page is put together. The pixel size is that of the
    /// settings, otherwise that of the description, otherwise the resolution of the file unless it is above
    /// kLargestPixel. Throws the errors of WImageFile.
    WImagePage
    ReadPage( std::uint32_t inPage, const WImagePage::Allocator& inAllocator = WImagePage::AllocateFromHeap );

private:
    struct XReader
    {
        std::uint32_t file = 0; // of the structure
        std::unique_ptr<WImageFile> image;
    };

    const std::filesystem::path itsPath;
    const XImageReadSettings itsSettings;
    XImageStructure itsStructure;
    std::vector<XPagePosition> itsPages;
    std::uint32_t itsFilePageCount = 0; // of the first file
    std::uint32_t itsSkippedCount = 0;
    XMutex itsMutex;
    std::vector<XReader> itsIdleReaders; // guarded by the mutex
    std::uint32_t itsEndedCount = 0;     // pages that have been read or have failed; guarded by the mutex
    double itsIgnoredPixelSize = 0;      // guarded by the mutex

    void SelectPages();
    void SelectSeries( std::uint32_t inSeries, std::uint32_t inFirstNumber );
    WImagePage ReadPlanes(
        const XPagePosition& inPosition, const WImageFile::Progress& inProgress,
        const WImagePage::Allocator& inAllocator );
    WImagePage ReadStored(
        const XPagePlace& inPlace, const XImageSeries& inSeries, const WImageFile::Progress& inProgress,
        const WImagePage::Allocator& inAllocator );
    XReader Take( std::uint32_t inFile );
    void GiveBack( XReader inReader );
    void EndPage();
    void CloseUnneeded();
    void SetPixelSize( const XImageSeries& inSeries, WImageFormat& ioFormat );
};
