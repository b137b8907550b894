#pragma once

#include "Core/Times/XTime.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The small grammars of HTTP.
class XHTTPText
{
public:
    XHTTPText() = delete;

    /// False where a '%' is not followed by two hexadecimal digits.
    static bool DecodePercent( std::string_view inText, std::string& outText );

    /// The parts between separators; one part of an empty text.
    static std::vector<std::string> Split( std::string_view inText, char inSeparator );

    static std::string_view Trim( std::string_view inText );

    /// The target of a request as a path and a query. False for one that is neither a path nor a URL of http, or whose
    /// path has a NUL, an encoded '/', or a part "." or "..".
    static bool ReadTarget( std::string_view inTarget, std::string& outPath, std::string& outQuery );

    /// Decimal digits alone; nothing for others, and for a number that does not fit.
    static std::optional<std::uint64_t> ReadNumber( std::string_view inText );

    /// A date in the form in which HTTP writes it; nothing for others.
    static std::optional<XTime> ReadDate( std::string_view inText );

    static std::string_view GetReason( int inStatus );
    static std::string_view GetContentType( const std::filesystem::path& inFile );
};
