#pragma once

#include "WPlatform.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

class WFile;

/// An image file cannot be read. The text is the reason, in UTF-8 and without the file's name.
class KORVALE_IMAGING_API WImageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The format of a two-dimensional image: its size and its samples.
struct KORVALE_IMAGING_API WImageFormat
{
    enum SampleType
    {
        kUInt8,
        kUInt16,
        kFloat32
    };

    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t channels = 0;
    SampleType type = kUInt8;
    double pixelWidth = 0;  ///< in micrometres; 0 if the file has no resolution
    double pixelHeight = 0; ///< in micrometres; 0 if the file has no resolution

    static std::uint32_t GetSampleSize( SampleType inType )
    {
        return inType == kUInt8 ? 1 : inType == kUInt16 ? 2 : 4;
    }
    std::uint32_t GetSampleSize() const { return GetSampleSize( type ); }
    std::uint64_t GetRowSize() const { return std::uint64_t{ width } * channels * GetSampleSize(); }
    std::uint64_t GetByteCount() const { return GetRowSize() * height; }
    std::uint64_t GetSampleCount() const { return std::uint64_t{ width } * channels * height; }
    bool HasResolution() const { return pixelWidth > 0 && pixelHeight > 0; }

    /// True if both have the same size, channels and sample type; resolutions are not compared.
    bool HasSameLayout( const WImageFormat& inOther ) const;
};

/// Calls `inWork` with a std::type_identity of the C++ type of the samples, and returns its result.
template<class TWork>
auto VisitSampleType( WImageFormat::SampleType inType, TWork inWork )
{
    switch ( inType )
    {
    case WImageFormat::kUInt8:
        return inWork( std::type_identity<std::uint8_t>() );
    case WImageFormat::kUInt16:
        return inWork( std::type_identity<std::uint16_t>() );
    default:
        return inWork( std::type_identity<float>() );
    }
}

/// A two-dimensional image with its samples: row by row from the top, the samples of a pixel adjacent, in the
/// byte order of the machine.
struct KORVALE_IMAGING_API WImagePage : WImageFormat
{
    /// The bytes of the samples. The deleter returns the buffer to its allocator.
    using Samples = std::unique_ptr<std::byte[], std::function<void( std::byte* )>>;

    /// Allocates this number of uninitialised bytes.
    using Allocator = std::function<Samples( std::uint64_t )>;

    Samples samples;

    /// The samples as numbers of their type; T must fit `type`.
    template<class T>
    const T* GetSamples() const
    {
        return reinterpret_cast<const T*>( samples.get() );
    }

    template<class T>
    T* GetSamples()
    {
        return reinterpret_cast<T*>( samples.get() );
    }

    static Samples AllocateFromHeap( std::uint64_t inBytes );

    /// Allocates the samples, uninitialised. Throws WImageError for an image without pixels, with more than
    /// 2^32 - 1 pixels, or of more than `inMostBytes` bytes, and the exceptions of the allocator.
    void Allocate( std::uint64_t inMostBytes, const Allocator& inAllocator = AllocateFromHeap );

    /// Inverts brightness. Integer samples only.
    void Invert();

    /// A rectangular part of a page.
    struct Block
    {
        const std::byte* samples;
        std::uint32_t left;
        std::uint32_t top;
        std::uint32_t width;
        std::uint32_t height;
    };

    /// Copies the part of a block that is inside the page. The block contains all channels, or only
    /// `inChannel`.
    void CopyBlock( const Block& inBlock, std::optional<std::uint32_t> inChannel );
};

/// A TIFF or PNG file of one or more pages. TIFF: whole and float samples as in WTIFFSamples, any number per
/// pixel, strips or tiles, uncompressed or compressed with LZW, deflate or PackBits; other compressions if
/// the system has a library for them. PNG, read by a library of the system: 8 and 16 bits; fewer bits are
/// scaled to 8, transparency is dropped.
///
/// Samples are brightness: grey images that store white as 0 are inverted, and palettes of at most 16 bits
/// are converted to red, green and blue. Other colour spaces (CMYK, Lab, ...) are rejected, and so are
/// palettes and white as 0 with several samples per pixel or samples that are not unsigned. Pages of reduced resolution
/// and transparency masks are not counted as pages.
///
/// Sizes stored in a file are compared with its length before memory is allocated. Failures throw WImageError
/// or WLastErrorException, also if the file is truncated while it is read. One thread at a time may use an
/// object.
class KORVALE_IMAGING_API WImageFile
{
public:
    /// Opens a file; its first bytes determine the format.
    static std::unique_ptr<WImageFile> Open( const std::filesystem::path& inPath );

    /// False if the file can be read and its first bytes are not those of an image. It may be damaged nevertheless.
    static bool MayBeImage( const std::filesystem::path& inPath );

    virtual ~WImageFile() = default;
    WImageFile( const WImageFile& ) = delete;
    WImageFile& operator=( const WImageFile& ) = delete;

    virtual std::uint32_t GetPageCount() const { return 1; }

    /// The number of pages that are ignored: those of reduced resolution and masks.
    virtual std::uint32_t GetSkippedCount() const { return 0; }

    /// The layout of a page as stored.
    struct Layout
    {
        std::uint64_t width = 0;
        std::uint64_t height = 0;
        std::uint64_t samplesPerPixel = 1;
        std::uint64_t planesInFile =
            1; ///< the number of such planes that fit between its samples and the end of the file
        std::uint64_t channels = 1;  ///< of the page when it is read: 3 for a palette
        std::string sampleType = {}; ///< such as "16-bit unsigned"; also of samples that cannot be read
        double pixelWidth = 0;       ///< of the resolution, in micrometres; 0 if there is none
        double pixelHeight = 0;
        double unitsPerPixelX = 0; ///< of a resolution without a unit, which a description may name
        double unitsPerPixelY = 0;
    };

    /// A compressed page counts as one plane.
    virtual Layout GetLayout( std::uint32_t inPage ) const = 0;
    Layout GetLayout() const { return GetLayout( 0 ); }

    /// The position of a page among all directories of a TIFF file, ignored ones included, counted from 0.
    virtual std::uint32_t GetDirectoryIndex( std::uint32_t inPage ) const { return inPage; }

    /// "TIFF", "BigTIFF" or "PNG".
    virtual std::string GetFormatName() const = 0;

    /// The descriptions in a TIFF file (each tag 270 of the first page); empty if there are none.
    virtual std::vector<std::string> GetDescriptions() const { return {}; }

    /// Progress callback: fraction of the page read, 0 to 1. May throw to cancel.
    using Progress = std::function<void( double )>;

    /// Reads page `inPage`, counted from 0, into memory from `inAllocator`. Fastest in ascending order.
    WImagePage ReadPage(
        std::uint32_t inPage, const Progress& inProgress = IgnoreProgress,
        const WImagePage::Allocator& inAllocator = WImagePage::AllocateFromHeap );

protected:
    WImageFile() = default;

    virtual WImagePage ReadPageSelf(
        std::uint32_t inPage, const Progress& inProgress, const WImagePage::Allocator& inAllocator ) = 0;

    /// Throws WImageError if a PNG file of that size cannot contain so many pixels, or if one row needs more
    /// memory than an image may. Call it before the system's decoder allocates memory.
    static void CheckPNGSize(
        std::uint64_t inFileSize, std::uint32_t inWidth, std::uint32_t inHeight,
        std::uint32_t inBitsPerPixel );

    /// The layout of a PNG file, from the chunks before its samples. A damaged file has an incomplete layout.
    static Layout ReadPNGLayout( const WFile& inFile );

private:
    static void IgnoreProgress( double ) {}
    static std::unique_ptr<WImageFile> OpenPNG( const std::filesystem::path& inPath );
};
