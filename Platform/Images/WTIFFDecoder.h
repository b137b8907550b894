#pragma once

#include "Images/WImageFile.h"

/// Reads the pages of a TIFF file whose compression WTIFFUnpacker does not know, or unpacks less well, by what the system
/// has for it: on Windows nothing.
class WTIFFDecoder
{
public:
    /// True for compressions of WTIFFUnpacker that this unpacks in less time, and finds the same damage.
    static bool IsBetterAt( std::uint64_t inCompression );

    explicit WTIFFDecoder( const std::filesystem::path& inPath );
    ~WTIFFDecoder();
    WTIFFDecoder( const WTIFFDecoder& ) = delete;
    WTIFFDecoder& operator=( const WTIFFDecoder& ) = delete;

    /// Fills the samples of the page of that compression whose directory lies there, whose form is known and whose room
    /// is made. A strip or tile of more than `inMostBytes` is refused. Throws WImageError, and what the progress throws.
    void Decode(
        std::uint64_t inCompression, std::uint64_t inDirectoryOffset, std::uint64_t inMostBytes,
        const WImageFile::Progress& inProgress, WImagePage& ioPage );

private:
    class Implementation;
    std::unique_ptr<Implementation> itsImplementation;

    static std::string GetCompressionName( std::uint64_t inCompression );
};
