#pragma once

#include "WImageFile.h"
#include "WTIFFDecoder.h"
#include "WTIFFDirectory.h"

#include <optional>

/// A TIFF file of either byte order, classic or with 64-bit offsets. Pages that are not compressed are read here, the
/// others by WTIFFDecoder.
class WTIFFFile : public WImageFile
{
public:
    explicit WTIFFFile( const std::filesystem::path& inPath );

    std::uint32_t GetPageCount() const override { return static_cast<std::uint32_t>( itsPages.size() ); }
    std::uint32_t GetSkippedCount() const override { return itsSkippedCount; }
    Layout GetLayout() const override;
    std::vector<std::string> GetDescriptions() const override;

protected:
    WImagePage ReadPageSelf(
        std::uint32_t inPage, const Progress& inProgress, const WImagePage::Allocator& inAllocator ) override;

private:
    struct Grid;

    struct Page
    {
        std::uint64_t offset; ///< Of its directory.
        std::uint32_t number; ///< Among all directories, those that are left out included.
    };

    std::filesystem::path itsPath;
    WFile itsFile;
    WTIFFHeader itsHeader;
    std::vector<Page> itsPages;
    std::uint32_t itsSkippedCount = 0;
    std::optional<WTIFFDecoder> itsDecoder;

    std::uint64_t GetMostBytes( const WTIFFDirectory& inTags ) const;
    WImagePage ReadPalette(
        const Page& inPage, const WTIFFDirectory& inTags, const Progress& inProgress,
        const WImagePage::Allocator& inAllocator );
    void ReadStored(
        const Page& inPage, const WTIFFDirectory& inTags, const Progress& inProgress, WImagePage& outPage );
    void ReadPlain( const WTIFFDirectory& inTags, const Progress& inProgress, WImagePage& outPage ) const;
    void ReadBlock(
        const Grid& inGrid, std::uint64_t inBlock, const Progress& inProgress, WImagePage& outPage ) const;
    void ReadExactly(
        std::uint64_t inPosition, std::byte* outBytes, std::uint64_t inCount,
        const Progress& inProgress ) const;
};
