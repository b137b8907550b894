#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Parses a size as users write it: "512M", "1.5G", "4096". The suffixes K, M, G and T, in either case, are
/// powers of 1024. Empty for any other text, for 0 and for fractions of a byte.
KORVALE_API std::optional<std::uint64_t> XParseByteCount( std::string_view inText );

/// Formats a size as "512 MiB", with one decimal if the number is not whole.
KORVALE_API std::string XFormatByteCount( std::uint64_t inBytes );
