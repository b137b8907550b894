#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <optional>
#include <string>

/// The string resources of the library's module: message texts keyed by error number.
class KORVALE_API WStringTable
{
public:
    /// The text of a resource (ANSI); empty if the table does not contain it.
    static std::optional<std::string> Load( std::uint32_t inResourceID );
};
