#include "Tables/NumpyArchive.h"

#include "Jobs/XChunks.h"
#include "Outputs/ZipWriter.h"
#include "Tables/NumpyArrays.h"

#include <algorithm>

namespace
{
/// Computes all items, block by block.
template<class TUse>
void ForEachBlock( const NumpyArray& inArray, TUse inUse )
{
    constexpr std::uint64_t kBlockBytes = 128 * 1024;
    std::string bytes;
    const auto makeBlock = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        bytes.clear();
        inArray.append( inFirst, inEnd, bytes );
        inUse( bytes );
    };
    XForEachChunk( inArray.count, std::max<std::uint64_t>( kBlockBytes / inArray.itemBytes, 1 ), makeBlock );
}

/// The archive wants the sum of all bytes before the first one, so they are made twice rather than kept.
void AddArray( const NumpyArray& inArray, ZipWriter& ioArchive )
{
    XProgress progress( 2 );
    const auto header = inArray.MakeHeader();
    auto crc = ZipWriter::AddToCRC( 0, header );
    ForEachBlock( inArray, [&]( const std::string& inBytes ) { crc = ZipWriter::AddToCRC( crc, inBytes ); } );
    progress.Increment();

    ioArchive.BeginEntry( inArray.name + ".npy", header.size() + inArray.itemBytes * inArray.count, crc );
    ioArchive.Append( header );
    ForEachBlock( inArray, [&]( const std::string& inBytes ) { ioArchive.Append( inBytes ); } );
}
} // namespace

void WriteNumpyArchive( const XPivotTable& inTable, WFile& ioFile )
{
    std::uint64_t position = 0;
    ZipWriter archive(
        [&]( std::string_view inBytes )
        {
            ioFile.WriteAt( position, inBytes.data(), inBytes.size() );
            position += inBytes.size();
        } );
    const auto arrays = MakeNumpyArrays( inTable );
    XProgress progress( arrays.size() );
    for ( const auto& array : arrays )
    {
        AddArray( array, archive );
        progress.Increment();
    }
    archive.Finish();
}
