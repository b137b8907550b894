#pragma once

#include "WFile.h"
#include "WImageFile.h"

/// Writes pages, not compressed and in the byte order of the machine, to a TIFF file. One form on every system: what
/// the systems' own image libraries write differs from one to the next.
class TIFFWriter
{
public:
    /// Keeps a reference to the file, which must have positions. The file is a valid one after each page.
    explicit TIFFWriter( WFile& ioFile );

    /// Throws WImageError when the file would outgrow the 4 GiB that its offsets reach.
    void WritePage( const WImagePage& inPage );

private:
    WFile& itsFile;
    std::uint64_t itsEnd = 0;
    std::uint64_t itsLink = 4; ///< Where the offset of the next directory belongs.

    void Append( const void* inBytes, std::uint64_t inCount );
};
