#include "Servers/XHTTPRequest.h"

#include "Servers/Internal/XHTTPText.h"

#include <algorithm>

std::map<std::string, std::string> XHTTPRequest::GetParameters() const
{
    const auto decode = []( std::string inText )
    {
        std::ranges::replace( inText, '+', ' ' );
        std::string decoded;
        return XHTTPText::DecodePercent( inText, decoded ) ? decoded : inText;
    };
    std::map<std::string, std::string> parameters;
    for ( const std::string& part : XHTTPText::Split( itsQuery, '&' ) )
    {
        const std::size_t equals = std::min( part.find( '=' ), part.size() );
        if ( !part.empty() )
            parameters[decode( part.substr( 0, equals ) )] =
                equals < part.size() ? decode( part.substr( equals + 1 ) ) : std::string();
    }
    return parameters;
}
