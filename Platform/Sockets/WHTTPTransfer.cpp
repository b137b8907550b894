#include "Sockets/WHTTPTransfer.h"

#include <charconv>

void WHTTPTransfer::TakeLine( std::string_view inLine, Client& ioClient )
{
    constexpr std::string_view kVersion = "HTTP/";
    const auto trim = []( std::string_view inText )
    {
        const std::size_t begin = inText.find_first_not_of( " \t\r\n" );
        if ( begin == std::string_view::npos )
            return std::string_view();
        return inText.substr( begin, inText.find_last_not_of( " \t\r\n" ) - begin + 1 );
    };
    const std::string_view line = trim( inLine );
    if ( line.starts_with( kVersion ) )
    {
        int status = 0;
        const std::string_view number = trim( line.substr( std::min( line.find( ' ' ), line.size() ) ) );
        std::from_chars( number.data(), number.data() + number.size(), status );
        return ioClient.TakeStatus( status );
    }
    if ( const std::size_t colon = line.find( ':' ); colon != std::string_view::npos )
        ioClient.TakeField( trim( line.substr( 0, colon ) ), trim( line.substr( colon + 1 ) ) );
}
