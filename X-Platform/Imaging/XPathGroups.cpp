#include "Imaging/XPathGroups.h"

#include "Files/WFilePath.h"

#include <stdexcept>

// Innermost folders come first, because the outer ones, such as that of the user, are not chosen to describe images.

XPathGroups::XPathGroups( const std::string& inExpression ) : itsExpression( inExpression )
{
    if ( GetNames().empty() )
        throw std::invalid_argument( "it names no group (expected for example (?<Well>[A-H]\\d\\d))" );
}

std::optional<WRegularExpression::Groups> XPathGroups::Find( const std::filesystem::path& inPath ) const
{
    const auto u8path = WFilePath::Normalise( inPath ).generic_u8string();
    const std::string path( u8path.begin(), u8path.end() );
    for ( auto end = path.size(); end > 0; )
    {
        const auto slash = path.rfind( '/', end - 1 );
        const auto start = slash == path.npos ? 0 : slash + 1;
        if ( auto groups = itsExpression.Search( std::string_view( path ).substr( start ) ) )
            return groups;
        end = slash == path.npos ? 0 : slash;
    }
    return itsExpression.Search( path );
}
