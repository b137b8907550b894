#include "Measuring/SharedFile.h"

#include "Core/Errors/XException.h"
#include "Files/WFile.h"
#include "Files/WFilePath.h"
#include "Images/WImageFile.h"
#include "Support/Checksum.h"
#include "Support/FilePaths.h"

#include <algorithm>
#include <vector>

namespace
{
constexpr std::uint64_t kSampleSize = 64 * 1024;

std::uint64_t ComputeChecksum( const WFile& inFile, std::uint64_t inSize )
{
    std::uint64_t checksum = kEmptyChecksum;
    const std::uint64_t count = std::min( inSize, kSampleSize );
    for ( const std::uint64_t position : { std::uint64_t{ 0 }, inSize - count } )
    {
        std::vector<std::uint8_t> bytes( count );
        bytes.resize( inFile.ReadAt( position, bytes.data(), count ) );
        checksum = AddToChecksum( checksum, bytes.data(), bytes.size() );
    }
    return checksum;
}

std::int64_t CountTime( std::filesystem::file_time_type inTime )
{
    return static_cast<std::int64_t>( inTime.time_since_epoch().count() );
}
} // namespace

SharedFile SharedFile::Describe( const std::filesystem::path& inPath )
{
    SharedFile description;
    const auto full = WFilePath::Normalise( inPath );
    description.path = PathToUTF8( full );
    const WFile file( full, WFile::kRead );
    description.size = file.GetSize();
    description.modificationTime = CountTime( std::filesystem::last_write_time( full ) );
    description.checksum = ComputeChecksum( file, description.size );
    return description;
}

std::optional<SharedFile> SharedFile::TryDescribe( const std::filesystem::path& inPath )
{
    if ( WFile::IsDevice( inPath ) )
        return std::nullopt;
    try
    {
        return Describe( inPath );
    }
    catch ( const XException& )
    {
        return std::nullopt;
    }
    catch ( const std::filesystem::filesystem_error& )
    {
        return std::nullopt;
    }
}

void SharedFile::Check() const
{
    const SharedFile present = Describe( PathFromUTF8( path ) );
    if ( present.size != size || present.checksum != checksum )
        throw WImageError( "the file differs from that of the client, or has changed" );
    if ( present.modificationTime != modificationTime )
        throw WImageError( "the file has another modification time than that of the client" );
}

bool SharedFile::LooksUnchanged() const
{
    const auto full = PathFromUTF8( path );
    std::error_code error;
    const auto presentSize = std::filesystem::file_size( full, error );
    if ( error || presentSize != size )
        return false;
    const auto time = std::filesystem::last_write_time( full, error );
    return !error && CountTime( time ) == modificationTime;
}
