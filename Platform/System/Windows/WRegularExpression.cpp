#include "System/WRegularExpression.h"

#include <stdexcept>

class WRegularExpression::Implementation
{
};

WRegularExpression::WRegularExpression( const std::string& )
{
    throw std::invalid_argument( "regular expressions are not supported on Windows" );
}

WRegularExpression::~WRegularExpression() = default;

std::optional<WRegularExpression::Groups> WRegularExpression::Search( std::string_view ) const
{
    return std::nullopt;
}
