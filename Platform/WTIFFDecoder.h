#pragma once

#include "WImageFile.h"

/// Unpacks the compressed pages of a TIFF file by what the system has for it.
class WTIFFDecoder
{
public:
    explicit WTIFFDecoder( const std::filesystem::path& inPath );
    ~WTIFFDecoder();
    WTIFFDecoder( const WTIFFDecoder& ) = delete;
    WTIFFDecoder& operator=( const WTIFFDecoder& ) = delete;

    /// Fills the samples of a page whose form is known and whose room is made. The page is named by its number and by
    /// the offset of its directory, as the one or the other suits the system. A strip or tile of more than `inMostBytes`
    /// is refused. Throws WImageError, and what the progress throws.
    void Decode(
        std::uint32_t inPage, std::uint64_t inDirectoryOffset, std::uint64_t inMostBytes,
        const WImageFile::Progress& inProgress, WImagePage& ioPage );

private:
    class Implementation;
    std::unique_ptr<Implementation> itsImplementation;
};
