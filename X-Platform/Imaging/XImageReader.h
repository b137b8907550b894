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

/// What overrides the contents of an image file.
struct XImageReadSettings
{
    bool arePagesTimes = false; ///< Each page is a time point, whatever the description declares.
    double pixelWidth = 0;      ///< In micrometres; 0: that of the file.
    double pixelHeight = 0;     ///< In micrometres; 0: that of the file.
};

/// Reads the pages of one image file. The file is closed when each page has been read once; reading again reopens it.
/// Threads: any, several at a time; each reads through a WImageFile of its own.
class KORVALE_IMAGING_API XImageReader
{
public:
    /// Larger pixels, in micrometres, come from a screen or print resolution, not from a microscope.
    static constexpr double kLargestPixel = 20;

    /// Opens the file; throws what WImageFile throws, and XNotTimePointsError.
    explicit XImageReader( const std::filesystem::path& inPath, const XImageReadSettings& inSettings = {} );

    std::uint32_t GetPageCount() const { return itsPageCount; }

    /// Pages of the file that are left out: see WImageFile.
    std::uint32_t GetSkippedCount() const { return itsSkippedCount; }

    /// The largest pixel size, in micrometres, that was ignored so far because it is above kLargestPixel; 0: none.
    double GetIgnoredPixelSize();

    /// Reads page `inPage`, counted from 0, with an XProgress of the thread; an abort throws 1001. The pixel size is that of
    /// the settings, or that of the file unless it is above kLargestPixel, or none. Throws what WImageFile throws.
    WImagePage
    ReadPage( std::uint32_t inPage, const WImagePage::Allocator& inAllocator = WImagePage::AllocateFromHeap );

private:
    using Reader = std::unique_ptr<WImageFile>;

    const std::filesystem::path itsPath;
    const XImageReadSettings itsSettings;
    std::uint32_t itsPageCount = 0;
    std::uint32_t itsSkippedCount = 0;
    XMutex itsMutex;
    std::vector<Reader> itsIdleReaders; ///< Guarded by the mutex.
    std::uint32_t itsBegunCount = 0;    ///< Pages that are or have been read. Guarded by the mutex.
    double itsIgnoredPixelSize = 0;     ///< Guarded by the mutex.

    Reader Take();
    void GiveBack( Reader inReader );
    void CloseUnneeded();
    void SetPixelSize( WImageFormat& ioForm );
};
