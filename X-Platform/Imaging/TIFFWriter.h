#pragma once

#include "Files/WFile.h"
#include "Images/WImageFile.h"
#include "WPlatform.h"

/// Writes pages, not compressed and in the byte order of the machine, to a TIFF file. One form on every system: what
/// the systems' own image libraries write differs from one to the next.
class KORVALE_IMAGING_API TIFFWriter
{
public:
    enum Format
    {
        kClassic, ///< Offsets of 32 bits: every program reads it.
        kBig      ///< Offsets of 64 bits, for files of 4 GiB and more.
    };

    /// The classic one, unless so many pages of that form do not fit.
    static Format GetFormat( const WImageFormat& inForm, std::uint32_t inPages );

    /// Keeps a reference to the file, which must have positions. The file is a valid one after each page.
    explicit TIFFWriter( WFile& ioFile, Format inFormat = kClassic );

    /// Throws WImageError when a classic file would outgrow the 4 GiB that its offsets reach.
    void WritePage( const WImagePage& inPage );

private:
    WFile& itsFile;
    const Format itsFormat;
    std::uint64_t itsEnd = 0;
    std::uint64_t itsLink = 0; ///< Where the offset of the next directory belongs.

    void Append( const void* inBytes, std::uint64_t inCount );
};
