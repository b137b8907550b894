#pragma once

#include "Images/WImageFile.h"
#include "Images/WTIFFDecoder.h"
#include "Images/WTIFFDirectory.h"
#include "Images/WTIFFSamples.h"

#include <optional>

/// A TIFF file of either byte order, classic or with 64-bit offsets. Pages are read by WTIFFBlockReader if it
/// supports them, otherwise by WTIFFDecoder.
class WTIFFFile : public WImageFile
{
public:
    explicit WTIFFFile( const std::filesystem::path& inPath );

    std::uint32_t GetPageCount() const override { return static_cast<std::uint32_t>( itsPages.size() ); }
    std::uint32_t GetSkippedCount() const override { return itsSkippedCount; }
    using WImageFile::GetLayout;
    Layout GetLayout( std::uint32_t inPage ) const override;
    std::uint32_t GetDirectoryIndex( std::uint32_t inPage ) const override;
    std::string GetFormatName() const override { return itsHeader.isBig ? "BigTIFF" : "TIFF"; }
    std::vector<std::string> GetDescriptions() const override;

protected:
    WImagePage ReadPageSelf(
        std::uint32_t inPage, const Progress& inProgress, const WImagePage::Allocator& inAllocator ) override;

private:
    std::filesystem::path itsPath;
    WFile itsFile;
    WTIFFHeader itsHeader;
    std::vector<std::uint64_t> itsPages;   // positions of their directories
    std::vector<std::uint32_t> itsIndices; // of the pages among all directories; empty if none is ignored
    std::uint32_t itsSkippedCount = 0;
    std::optional<WTIFFDirectory> itsFirstPage; // kept, because its layout and descriptions are asked for
    std::optional<WTIFFDecoder> itsDecoder;

    WTIFFDirectory GetDirectory( std::uint32_t inPage ) const;
    std::uint64_t GetMostBytes( const WTIFFDirectory& inTags, std::uint64_t inGrowth = 1 ) const;
    WImagePage ReadPalette(
        std::uint64_t inOffset, const WTIFFDirectory& inTags, const Progress& inProgress,
        const WImagePage::Allocator& inAllocator );
    void ReadStored(
        std::uint64_t inOffset, const WTIFFDirectory& inTags, const WTIFFSamples& inStored,
        const Progress& inProgress, WImagePage& outPage );
};
