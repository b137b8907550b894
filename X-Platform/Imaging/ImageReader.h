#pragma once

#include "Images/WImageFile.h"
#include "Threads/XMutex.h"
#include "WPlatform.h"

#include <filesystem>
#include <memory>
#include <vector>

/// An image whose pages are not the time points of one image. ImageReadSettings::arePagesTimes accepts them as such.
class KORVALE_IMAGING_API NotTimePointsError : public WImageError
{
public:
    using WImageError::WImageError;
};

/// What is known of images beside their files.
struct ImageReadSettings
{
    bool arePagesTimes = false; ///< Whatever their description declares.
    double pixelWidth = 0;      ///< In micrometres; 0: what the file says.
    double pixelHeight = 0;
};

/// Reads the pages of one image file on several threads: each has a reader of its own while it reads, because one can be
/// used by one thread at a time only. The file is closed when each page has been read once; reading again opens it anew.
class KORVALE_IMAGING_API ImageReader
{
public:
    /// Pixels larger than this, in micrometres, are those of a screen or of paper: what is smaller was taken by a lens or
    /// a scanner.
    static constexpr double kLargestPixel = 20;

    /// Opens the file; throws what WImageFile throws, and NotTimePointsError.
    explicit ImageReader( const std::filesystem::path& inPath, const ImageReadSettings& inSettings = {} );

    std::uint32_t GetPageCount() const { return itsPageCount; }

    /// Pages of the file that are none of these: see WImageFile.
    std::uint32_t GetSkippedCount() const { return itsSkippedCount; }

    /// The largest pixel, in micrometres, of the pages read so far whose resolution has not been believed; 0: none. Any
    /// thread.
    double GetIgnoredPixelSize();

    /// Reads the page of that number, with a progress of the thread. Its pixels have the size that the settings give, or
    /// that of the file where it is not above kLargestPixel, or none. Any thread.
    WImagePage
    ReadPage( std::uint32_t inPage, const WImagePage::Allocator& inAllocator = WImagePage::AllocateFromHeap );

private:
    using Reader = std::unique_ptr<WImageFile>;

    const std::filesystem::path itsPath;
    const ImageReadSettings itsSettings;
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
