#pragma once

#include "Images/WImageFile.h"

/// Reads pages in compressions that WTIFFUnpacker does not support or handles more slowly, with a library of
/// the system; on Windows there is none.
class WTIFFDecoder
{
public:
    /// True for compressions of WTIFFUnpacker that this decoder unpacks faster while detecting the same
    /// damage.
    static bool IsBetterAt( std::uint64_t inCompression );

    explicit WTIFFDecoder( const std::filesystem::path& inPath );
    ~WTIFFDecoder();
    WTIFFDecoder( const WTIFFDecoder& ) = delete;
    WTIFFDecoder& operator=( const WTIFFDecoder& ) = delete;

    /// Fills the samples of the page in `inCompression` whose directory is at `inDirectoryOffset`, whose
    /// format is set and whose samples are allocated. Rejects strips and tiles of more than `inMostBytes`.
    /// Throws WImageError, and the exceptions of the progress callback.
    void Decode(
        std::uint64_t inCompression, std::uint64_t inDirectoryOffset, std::uint64_t inMostBytes,
        const WImageFile::Progress& inProgress, WImagePage& ioPage );

private:
    class Implementation;
    std::unique_ptr<Implementation> itsImplementation;

    static std::string GetCompressionName( std::uint64_t inCompression );
};
