#include "Program/OptionChecks.h"

#include "Core/Strings/XByteCount.h"

#include <charconv>
#include <cstdint>
#include <system_error>

std::string CheckFileName( const std::string& inText )
{
    return inText.empty() ? "the file has no name" : "";
}

std::string CheckWholeNumber( const std::string& inText )
{
    std::uint64_t number = 0;
    const auto* const end = inText.data() + inText.size();
    const auto [rest, error] = std::from_chars( inText.data(), end, number );
    return error == std::errc() && rest == end
        ? ""
        : "\"" + inText + "\" is not a whole number from 0 to 2^64 - 1";
}

std::string CheckByteCount( const std::string& inText )
{
    return ParseByteCount( inText ) ? "" : "invalid size \"" + inText + "\" (expected e.g. 512M, 1.5G)";
}
