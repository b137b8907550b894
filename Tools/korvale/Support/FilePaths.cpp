#include "Support/FilePaths.h"

std::filesystem::path PathFromUTF8( const std::string& inText )
{
    return std::filesystem::path( std::u8string( inText.begin(), inText.end() ) );
}

std::string PathToUTF8( const std::filesystem::path& inPath )
{
    const auto text = inPath.u8string();
    return std::string( text.begin(), text.end() );
}
