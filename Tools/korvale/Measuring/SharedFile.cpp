#include "Measuring/SharedFile.h"

#include "Files/WFile.h"
#include "Files/WFilePath.h"
#include "Images/WImageFile.h"
#include "Support/FilePaths.h"

#include <algorithm>
#include <vector>

namespace
{
constexpr std::uint64_t kSampleSize = 64 * 1024;

/// FNV-1a.
std::uint64_t AddToChecksum( std::uint64_t inChecksum, const std::vector<std::uint8_t>& inBytes )
{
    constexpr std::uint64_t kPrime = 0x100000001B3;
    for ( const std::uint8_t byte : inBytes )
        inChecksum = ( inChecksum ^ byte ) * kPrime;
    return inChecksum;
}

std::uint64_t ComputeChecksum( const WFile& inFile, std::uint64_t inSize )
{
    std::uint64_t checksum = 0xCBF29CE484222325;
    const std::uint64_t count = std::min( inSize, kSampleSize );
    for ( const std::uint64_t position : { std::uint64_t{ 0 }, inSize - count } )
    {
        std::vector<std::uint8_t> bytes( count );
        bytes.resize( inFile.ReadAt( position, bytes.data(), count ) );
        checksum = AddToChecksum( checksum, bytes );
    }
    return checksum;
}
} // namespace

SharedFile SharedFile::Describe( const std::filesystem::path& inPath )
{
    SharedFile description;
    const auto full = WFilePath::Normalise( inPath );
    description.path = PathToUTF8( full );
    const WFile file( full, WFile::kRead );
    description.size = file.GetSize();
    description.modificationTime =
        static_cast<std::int64_t>( std::filesystem::last_write_time( full ).time_since_epoch().count() );
    description.checksum = ComputeChecksum( file, description.size );
    return description;
}

void SharedFile::Check() const
{
    const SharedFile present = Describe( PathFromUTF8( path ) );
    if ( present.size != size || present.checksum != checksum )
        throw WImageError( "the file differs from that of the client, or has changed" );
    if ( present.modificationTime != modificationTime )
        throw WImageError( "the file has another modification time than that of the client" );
}
