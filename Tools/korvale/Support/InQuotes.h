#pragma once

#include <string>

/// Encloses a name or a value in quotes, for messages.
inline std::string InQuotes( const std::string& inText )
{
    return '"' + inText + '"';
}
