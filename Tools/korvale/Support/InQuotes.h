#pragma once

#include <string>

/// A name or a value as messages show it.
inline std::string InQuotes( const std::string& inText )
{
    return '"' + inText + '"';
}
