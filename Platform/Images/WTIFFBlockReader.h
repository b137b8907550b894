#pragma once

#include "Images/WImageFile.h"
#include "Images/WTIFFDirectory.h"
#include "Images/WTIFFPredictor.h"
#include "Images/WTIFFSamples.h"
#include "Images/WTIFFUnpacker.h"
#include "WPlatform.h"

/// Reads the samples of one page of a TIFF file from its blocks (strips or tiles), plane after plane if the
/// planes are separate. Keeps references to its arguments.
class KORVALE_IMAGING_API WTIFFBlockReader
{
public:
    /// For a page whose format is set and whose samples are allocated, in a compression that WTIFFUnpacker
    /// supports; its type must be that of `inStored`. Throws WImageError if blocks are missing from the list.
    WTIFFBlockReader(
        const WFile& inFile, const WTIFFHeader& inHeader, const WTIFFDirectory& inTags,
        const WTIFFSamples& inStored, WImagePage& outPage );
    WTIFFBlockReader( const WTIFFBlockReader& ) = delete;
    WTIFFBlockReader& operator=( const WTIFFBlockReader& ) = delete;
    ~WTIFFBlockReader(); // in the library, because the unpacker is an incomplete type here

    /// Fills the samples of the page. Throws WImageError or WLastErrorException, and the exceptions
    /// of the progress callback.
    void Read( const WImageFile::Progress& inProgress );

private:
    struct Grid
    {
        bool isTiled;
        bool isSeparate;        // each block has one channel
        std::uint32_t channels; // in a block
        std::uint64_t width;    // of a block, in pixels
        std::uint64_t height;
        std::uint64_t across;
        std::uint64_t blocksOfPlane;
        std::uint64_t blocks;

        Grid( const WTIFFDirectory& inTags, const WImagePage& inPage );
    };

    const WFile& itsFile;
    WImagePage& itsPage;
    Grid itsGrid;
    const WTIFFSamples itsStored;
    const std::uint64_t itsRowSize; // of a block, in bytes
    const bool itsIsPlain;          // not compressed
    std::uint64_t itsRowsAtOnce;
    std::vector<std::uint64_t> itsOffsets; // of the blocks in the file
    std::vector<std::uint64_t> itsSizes;
    std::unique_ptr<WTIFFUnpacker> itsUnpacker;
    WTIFFPredictor itsPredictor;
    std::unique_ptr<std::byte[]> itsRows; // rows that are not unpacked directly into the page

    void JoinStrips();
    void ReadBlock( std::uint64_t inBlock, const WImageFile::Progress& inProgress );
};
