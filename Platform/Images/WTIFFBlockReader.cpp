#include "Images/WTIFFBlockReader.h"

#include <algorithm>

// A page is a grid of blocks: strips are blocks of the width of the page, tiles have a size of their own, and
// with separate planes there is one grid for each channel. Blocks are unpacked in groups of rows that fit
// into the cache, have their prediction undone while they are there, and go directly to the page if a row of
// the block is a row of the page, otherwise through a buffer from which the part within the page is copied, converted
// to the type of the page.

using Tags = WTIFFDirectory;

namespace
{
constexpr std::uint64_t kPlainPiece = 4 * 1024 * 1024; // Bytes read at a time.
constexpr std::uint64_t kPackedPiece =
    128 * 1024; // Bytes unpacked at a time: the predictor finds them in the cache.

std::uint64_t DivideUp( std::uint64_t inNumber, std::uint64_t inDivisor )
{
    return ( inNumber + inDivisor - 1 ) / inDivisor;
}

/// The number of bytes from each position to the end of the file.
std::vector<std::uint64_t> GetRests( const WFile& inFile, std::vector<std::uint64_t> inOffsets )
{
    for ( const auto size = inFile.GetSize(); auto& offset : inOffsets )
        offset = size - std::min( offset, size );
    return inOffsets;
}
} // namespace

WTIFFBlockReader::Grid::Grid( const WTIFFDirectory& inTags, const WImagePage& inPage )
    : isTiled( inTags.Has( Tags::kTileOffsets ) ), isSeparate( inTags.HasSeparatePlanes() ),
      channels( isSeparate ? 1 : inPage.channels ),
      width( isTiled ? inTags.GetExtent( Tags::kTileWidth, 0 ) : inPage.width ),
      height(
          isTiled ? inTags.GetExtent( Tags::kTileHeight, 0 )
                  : std::min( inTags.GetExtent( Tags::kRowsPerStrip, UINT32_MAX ), inPage.height ) )
{
    if ( width == 0 || height == 0 )
        throw WImageError( "its strips or tiles have no size" );
    across = DivideUp( inPage.width, width );
    blocksOfPlane = across * DivideUp( inPage.height, height );
    blocks = blocksOfPlane * ( isSeparate ? inPage.channels : 1 );
}

WTIFFBlockReader::WTIFFBlockReader(
    const WFile& inFile, const WTIFFHeader& inHeader, const WTIFFDirectory& inTags,
    const WTIFFSamples& inStored, WImagePage& outPage )
    : itsFile( inFile ), itsPage( outPage ), itsGrid( inTags, outPage ), itsStored( inStored ),
      itsRowSize( inStored.GetRowSize( itsGrid.width * itsGrid.channels ) ),
      itsIsPlain( WTIFFUnpacker::GetCompression( inTags ) == WTIFFUnpacker::kNone ),
      itsOffsets(
          inTags.GetNumbers( itsGrid.isTiled ? Tags::kTileOffsets : Tags::kStripOffsets, itsGrid.blocks ) ),
      itsSizes( inTags.GetNumbers( itsGrid.isTiled ? Tags::kTileSizes : Tags::kStripSizes, itsGrid.blocks ) ),
      itsUnpacker(
          WTIFFUnpacker::Make( WTIFFUnpacker::GetCompression( inTags ), inFile, inTags.IsLowestBitFirst() ) ),
      itsPredictor( inTags, inHeader.isSwapped, inStored, itsGrid.width, itsGrid.channels )
{
    if ( itsOffsets.size() < itsGrid.blocks || ( !itsSizes.empty() && itsSizes.size() < itsGrid.blocks ) )
        throw WImageError( "some of its strips or tiles are not listed" );
    // Old writers leave the sizes of strips out: each may reach to the end of the file.
    if ( itsSizes.empty() )
        itsSizes = GetRests( inFile, itsOffsets );
    JoinStrips();
    itsRowsAtOnce = std::clamp<std::uint64_t>(
        ( itsIsPlain ? kPlainPiece : kPackedPiece ) / itsRowSize, 1, itsGrid.height );
}

WTIFFBlockReader::~WTIFFBlockReader() = default;

/// Merges adjacent uncompressed strips: a call for each one would take longer than the reading.
void WTIFFBlockReader::JoinStrips()
{
    if ( !itsIsPlain || itsGrid.isTiled || itsGrid.isSeparate )
        return;
    const auto stripSize = itsGrid.height * itsRowSize;
    const auto size = itsPage.height * itsRowSize;
    for ( std::uint64_t block = 0; block < itsGrid.blocks; ++block )
        if ( itsOffsets[block] != itsOffsets.front() + block * stripSize ||
             itsSizes[block] < std::min( stripSize, size - block * stripSize ) )
            return;
    itsGrid.height = itsPage.height;
    itsGrid.blocksOfPlane = itsGrid.blocks = 1;
    itsSizes.assign( 1, size );
}

void WTIFFBlockReader::Read( const WImageFile::Progress& inProgress )
{
    for ( std::uint64_t block = 0; block < itsGrid.blocks; ++block )
    {
        const auto reportShare = [&]( double inShare )
        { inProgress( ( static_cast<double>( block ) + inShare ) / static_cast<double>( itsGrid.blocks ) ); };
        ReadBlock( block, reportShare );
    }
}

/// Of a block that reaches beyond the page, as the last tiles do and the last strip may, the rows in it are used.
void WTIFFBlockReader::ReadBlock( std::uint64_t inBlock, const WImageFile::Progress& inProgress )
{
    const auto inPlane = inBlock % itsGrid.blocksOfPlane;
    const auto left = inPlane % itsGrid.across * itsGrid.width;
    const auto top = inPlane / itsGrid.across * itsGrid.height;
    const auto rows = std::min( itsGrid.height, itsPage.height - top );
    const auto channel = static_cast<std::uint32_t>( inBlock / itsGrid.blocksOfPlane );
    const auto isDirect = itsStored.IsDirect() && itsRowSize == itsPage.GetRowSize();
    if ( !isDirect && !itsRows )
        itsRows = std::make_unique_for_overwrite<std::byte[]>( itsRowsAtOnce * itsRowSize );

    itsUnpacker->Start( itsOffsets[inBlock], itsSizes[inBlock] );
    for ( std::uint64_t row = 0; row < rows; row += itsRowsAtOnce )
    {
        inProgress( static_cast<double>( row ) / static_cast<double>( rows ) );
        const auto count = std::min( itsRowsAtOnce, rows - row );
        auto* const target = isDirect ? itsPage.samples.get() + ( top + row ) * itsRowSize : itsRows.get();
        itsUnpacker->Unpack( target, count * itsRowSize );
        itsPredictor.Undo( target, count );
        if ( !isDirect )
            itsStored.CopyBlock(
                { target, static_cast<std::uint32_t>( left ), static_cast<std::uint32_t>( top + row ),
                  static_cast<std::uint32_t>( itsGrid.width ), static_cast<std::uint32_t>( count ) },
                itsGrid.isSeparate ? std::optional( channel ) : std::nullopt, itsPage );
    }
    // Rows beyond the page belong to the block: only after them can the end be checked.
    itsUnpacker->Finish( ( itsGrid.height - rows ) * itsRowSize );
}
