#include "Options/OptionChecks.h"

#include "Core/Strings/XByteCount.h"
#include "Core/Strings/XNumberText.h"
#include "Support/InQuotes.h"

#include <cstdint>

std::string CheckFileName( const std::string& inText )
{
    return inText.empty() ? "empty file name" : "";
}

std::string CheckWholeNumber( const std::string& inText )
{
    return XParseNumber<std::uint64_t>( inText )
        ? ""
        : InQuotes( inText ) + " is not a whole number from 0 to 2^64 - 1";
}

std::string CheckByteCount( const std::string& inText )
{
    return XParseByteCount( inText ) ? ""
                                     : "invalid size " + InQuotes( inText ) + " (expected e.g. 512M, 1.5G)";
}
