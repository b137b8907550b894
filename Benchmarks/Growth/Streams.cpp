#include "Growth/Operation.h"

#include "Core/Streams/XFileStream.h"

#include <random>
#include <vector>

namespace
{

constexpr USize64 kFileSize = 16 * 1024 * 1024;

std::filesystem::path MakeFile()
{
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "growth-streams";
    const std::vector<std::uint8_t> bytes( kFileSize, 1 );
    XFileStream( path, WFile::kCreate ).WriteBuffer8( bytes.data(), bytes.size() );
    return path;
}

Seconds TimeReads( std::size_t inCount, const std::function<void( XStream& )>& inRead )
{
    const std::filesystem::path path = MakeFile();
    Seconds time;
    {
        XFileStream stream( path );
        time = Time(
            [&]
            {
                for ( std::size_t i = 0; i < inCount; ++i )
                    inRead( stream );
            } );
    }
    std::filesystem::remove( path );
    return time;
}

Seconds ReadAnywhere( std::size_t inCount )
{
    std::mt19937 random( 1 );
    return TimeReads(
        inCount,
        [&]( XStream& ioStream )
        {
            ioStream.SeekTo( static_cast<SSize64>( random() % ( kFileSize - 8 ) ) );
            ioStream.Read64();
        } );
}

Seconds ReadInOrder( std::size_t inCount )
{
    return TimeReads( inCount, []( XStream& ioStream ) { ioStream.Read64(); } );
}

} // namespace

void AddStreamOperations( Operations& ioOperations )
{
    ioOperations.push_back( { "streams: 8 bytes at random places, by reads", 500, ReadAnywhere } );
    ioOperations.push_back( { "streams: 8 bytes in order, by reads", 30000, ReadInOrder } );
}
