#pragma once

#include "Images/WImageFile.h"
#include "Images/WTIFFSamples.h"

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

    /// A page in the file.
    struct Source
    {
        std::uint64_t compression;
        std::uint64_t directoryOffset;
        std::uint64_t mostBytes; ///< of a tile
        WTIFFSamples stored;
    };

    /// Fills the samples of a page whose format is set, with the type of the stored samples, and whose samples are
    /// allocated. Throws WImageError, and the exceptions of the progress callback.
    void Decode( const Source& inSource, const WImageFile::Progress& inProgress, WImagePage& ioPage );

private:
    class Implementation;
    std::unique_ptr<Implementation> itsImplementation;

    static std::string GetCompressionName( std::uint64_t inCompression );
};
