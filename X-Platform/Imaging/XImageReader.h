#pragma once

#include "Images/WImageFile.h"
#include "Threads/XMutex.h"
#include "WPlatform.h"

#include <filesystem>
#include <memory>
#include <vector>

/// An image whose pages are not the time points of one image. XImageReadSettings::arePagesTimes accepts them as such.
class KORVALE_IMAGING_API XNotTimePointsError : public WImageError
{
public:
    using WImageError::WImageError;
};

/// Settings that override the contents of an image file.
struct XImageReadSettings
{
    bool arePagesTimes = false; ///< each page is a time point, whatever the description declares
    double pixelWidth = 0;      ///< in micrometres; 0: that of the file
    double pixelHeight = 0;     ///< in micrometres; 0: that of the file
};

/// Reads the pages of one image file. The file is closed when each page has been read once; reading again
/// reopens it.
/// Threads: any, several at a time; each reads with its own WImageFile.
class KORVALE_IMAGING_API XImageReader
{
public:
    /// Larger pixels, in micrometres, come from a screen or print resolution, not from a microscope.
    static constexpr double kLargestPixel = 20;

    /// Opens the file. Throws XNotTimePointsError and the errors of WImageFile.
    explicit XImageReader( const std::filesystem::path& inPath, const XImageReadSettings& inSettings = {} );

    std::uint32_t GetPageCount() const { return itsPageCount; }

    /// The number of pages that are ignored; see WImageFile.
    std::uint32_t GetSkippedCount() const { return itsSkippedCount; }

    /// The largest pixel size, in micrometres, ignored so far because it is above kLargestPixel; 0 if none.
    double GetIgnoredPixelSize();

    /// Reads page `inPage`, counted from 0, with an XProgress of the thread; an abort throws 1001. The pixel
    /// size is that of the settings, otherwise that of the file unless it is above kLargestPixel. Throws the
    /// errors of WImageFile.
    WImagePage
    ReadPage( std::uint32_t inPage, const WImagePage::Allocator& inAllocator = WImagePage::AllocateFromHeap );

private:
    using XReader = std::unique_ptr<WImageFile>;

    const std::filesystem::path itsPath;
    const XImageReadSettings itsSettings;
    std::uint32_t itsPageCount = 0;
    std::uint32_t itsSkippedCount = 0;
    XMutex itsMutex;
    std::vector<XReader> itsIdleReaders; // guarded by the mutex
    std::uint32_t itsBegunCount = 0;     // pages that are being or have been read; guarded by the mutex
    double itsIgnoredPixelSize = 0;      // guarded by the mutex

    XReader Take();
    void GiveBack( XReader inReader );
    void CloseUnneeded();
    void SetPixelSize( WImageFormat& ioFormat );
};
