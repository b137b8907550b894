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

/// An image file that cannot be read: what is wrong with it, as UTF-8 and without the file's name.
class KORVALE_IMAGING_API WImageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The form of a two-dimensional image: its size, and what its samples are.
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
    double pixelWidth = 0;  ///< In micrometres; 0 when the file carries no resolution.
    double pixelHeight = 0; ///< In micrometres; 0 when the file carries no resolution.

    static std::uint32_t GetSampleSize( SampleType inType )
    {
        return inType == kUInt8 ? 1 : inType == kUInt16 ? 2 : 4;
    }
    std::uint32_t GetSampleSize() const { return GetSampleSize( type ); }
    std::uint64_t GetRowSize() const { return std::uint64_t{ width } * channels * GetSampleSize(); }
    std::uint64_t GetByteCount() const { return GetRowSize() * height; }
    std::uint64_t GetSampleCount() const { return std::uint64_t{ width } * channels * height; }
    bool HasResolution() const { return pixelWidth > 0 && pixelHeight > 0; }

    /// True when both have as many samples of the same type, row by row, whatever their resolution.
    bool HasSameLayout( const WImageFormat& inOther ) const;
};

/// Calls `inWork` with a std::type_identity of the C++ type of such samples; returns what it returns.
template<class Work>
auto VisitSampleType( WImageFormat::SampleType inType, Work inWork )
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

/// One two-dimensional image with its samples as they are stored: row by row from the top, the samples of a pixel side
/// by side, in the byte order of the machine.
struct KORVALE_IMAGING_API WImagePage : WImageFormat
{
    /// The bytes of the samples. The deleter returns the buffer to its allocator.
    using Samples = std::unique_ptr<std::byte[], std::function<void( std::byte* )>>;

    /// Gives so many bytes, whose values may be anything.
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

    /// Makes room for the samples, whose values are then undefined. Throws WImageError for an image without pixels,
    /// with more than 2^32 - 1 of them, or of more than `inMostBytes` bytes, and what the allocator throws.
    void Allocate( std::uint64_t inMostBytes, const Allocator& inAllocator = AllocateFromHeap );

    /// Exchanges black and white. Samples of whole numbers only.
    void Invert();

    /// Pixels of a part of a page.
    struct Block
    {
        const std::byte* samples;
        std::uint32_t left;
        std::uint32_t top;
        std::uint32_t width;
        std::uint32_t height;
    };

    /// Copies the part of a block that lies inside the page. The block holds all channels, or that one alone.
    void CopyBlock( const Block& inBlock, std::optional<std::uint32_t> inChannel );
};

/// A TIFF or PNG file of one or more pages. TIFF: 8- and 16-bit unsigned and 32-bit float samples, any number of them in
/// a pixel, strips or tiles, not compressed or by LZW, deflate or PackBits; other compressions where the system has a
/// library for them. PNG, by what the system has: 8 and 16 bits; fewer bits are scaled to 8,
/// transparency is dropped.
///
/// Samples are brightness: where a grey image stores white as 0 it is inverted, and palettes of 8 bits (PNG: any) become
/// red, green and blue. Other ways to store colours (CMYK, Lab, ...) are refused, and so are palettes and a white of 0
/// with more samples or other types. Pages of reduced resolution and transparency masks are no pages here.
///
/// The sizes that a file claims are compared with the bytes that it has before memory is asked for. Failures throw
/// WImageError or WLastErrorException, also when the file is cut off while it is read. One thread at a time may use an
/// object.
class KORVALE_IMAGING_API WImageFile
{
public:
    /// Tells the kind of file by its first bytes.
    static std::unique_ptr<WImageFile> Open( const std::filesystem::path& inPath );

    virtual ~WImageFile() = default;
    WImageFile( const WImageFile& ) = delete;
    WImageFile& operator=( const WImageFile& ) = delete;

    virtual std::uint32_t GetPageCount() const { return 1; }

    /// Pages of reduced resolution and masks, which are left out.
    virtual std::uint32_t GetSkippedCount() const { return 0; }

    /// The first page as the file stores it.
    struct Layout
    {
        std::uint64_t width = 0;
        std::uint64_t height = 0;
        std::uint64_t samplesPerPixel = 1;
        std::uint64_t planesInFile =
            1; ///< For how many of its size there is room from its samples to the file's end.
    };

    /// Of TIFF files only, where a page that is compressed is one plane.
    virtual Layout GetLayout() const { return {}; }

    /// What the programs that wrote a TIFF file say of it (each tag 270 of the first page); none when they say nothing.
    virtual std::vector<std::string> GetDescriptions() const { return {}; }

    /// Progress callback: fraction of the page read, 0 to 1. May throw to cancel.
    using Progress = std::function<void( double )>;

    /// Reads the page of that number, counted from 0, into memory of that allocator. Fastest in ascending order.
    WImagePage ReadPage(
        std::uint32_t inPage, const Progress& inProgress = IgnoreProgress,
        const WImagePage::Allocator& inAllocator = WImagePage::AllocateFromHeap );

protected:
    WImageFile() = default;

    virtual WImagePage ReadPageSelf(
        std::uint32_t inPage, const Progress& inProgress, const WImagePage::Allocator& inAllocator ) = 0;

    /// Throws WImageError when a PNG file of that size cannot hold so many pixels, or when one row of them takes more
    /// memory than an image should. To be called before the system's decoder reserves any.
    static void CheckPNGSize(
        std::uint64_t inFileSize, std::uint32_t inWidth, std::uint32_t inHeight,
        std::uint32_t inBitsPerPixel );

private:
    static void IgnoreProgress( double ) {}
    static std::unique_ptr<WImageFile> OpenPNG( const std::filesystem::path& inPath );
};
