#pragma once

#include "Files/WFile.h"
#include "Images/WImageFile.h"
#include "WPlatform.h"

#include <cstdint>
#include <functional>
#include <span>

/// Writes pages to a TIFF file, uncompressed and in the byte order of the machine. Equal pages result in
/// equal bytes.
class KORVALE_IMAGING_API XTIFFWriter
{
public:
    enum XFormat
    {
        kClassic, ///< 32-bit offsets, which every program can read
        kBig      ///< 64-bit offsets (BigTIFF), for files of 4 GiB and more
    };

    /// The sample type of labels, which are whole numbers.
    enum XLabelType
    {
        k16Bits,
        k32Bits
    };

    /// Fills the labels of a row, which are 0 before.
    using XGetLabels = std::function<void( std::uint32_t inRow, std::span<std::uint32_t> outLabels )>;

    /// kClassic, unless `inPages` pages of that format need kBig.
    static XFormat GetFormat( const WImageFormat& inPageFormat, std::uint32_t inPages );

    /// Keeps a reference to the file, which must be seekable. The file is valid after each page.
    explicit XTIFFWriter( WFile& ioFile, XFormat inFormat = kClassic );

    /// Appends a page. Throws WImageError if a classic file would exceed 4 GiB. An abort throws 1001.
    void WritePage( const WImagePage& inPage );

    /// Appends a page of labels, row by row, with the size and the pixel size of `inPage`. Labels must fit into their
    /// type. Throws WImageError if a classic file would exceed 4 GiB. An abort throws 1001.
    void WriteLabels( const WImageFormat& inPage, XLabelType inType, const XGetLabels& inGetLabels );

    /// The format of a page of labels; its sample type only has the size of the labels.
    static WImageFormat GetLabelFormat( const WImageFormat& inPage, XLabelType inType );

private:
    WFile& itsFile;
    const XFormat itsFormat;
    std::uint64_t itsEnd = 0;
    std::uint64_t itsLink = 0; // position at which the offset of the next directory is to be written

    void WritePage(
        const WImageFormat& inPage, std::uint16_t inSampleFormat,
        const std::function<void()>& inAppendSamples );
    void Append( const void* inBytes, std::uint64_t inCount );
};
