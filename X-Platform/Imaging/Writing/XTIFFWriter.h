#pragma once

#include "Files/WFile.h"
#include "Images/WImageFile.h"
#include "WPlatform.h"

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

    /// kClassic, unless `inPages` pages of that format need kBig.
    static XFormat GetFormat( const WImageFormat& inPageFormat, std::uint32_t inPages );

    /// Keeps a reference to the file, which must be seekable. The file is valid after each page.
    explicit XTIFFWriter( WFile& ioFile, XFormat inFormat = kClassic );

    /// Appends a page. Throws WImageError if a classic file would exceed 4 GiB. An abort throws 1001.
    void WritePage( const WImagePage& inPage );

private:
    WFile& itsFile;
    const XFormat itsFormat;
    std::uint64_t itsEnd = 0;
    std::uint64_t itsLink = 0; // position at which the offset of the next directory is to be written

    void Append( const void* inBytes, std::uint64_t inCount );
};
