#pragma once

#include "Core/Times/XTime.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The lexical elements of HTTP.
class XHTTPText
{
public:
    XHTTPText() = delete;

    /// Returns false if a '%' is not followed by two hexadecimal digits.
    static bool DecodePercent( std::string_view inText, std::string& outText );

    /// The parts between separators; an empty text has one empty part.
    static std::vector<std::string> Split( std::string_view inText, char inSeparator );

    static std::string_view Trim( std::string_view inText );

    /// Splits the target of a request into path and query. Returns false if it is neither a path nor an http
    /// URL, or if the path has a NUL, an encoded '/', or a part "." or "..".
    static bool ReadTarget( std::string_view inTarget, std::string& outPath, std::string& outQuery );

    /// Parses decimal digits; empty for anything else and for a number that does not fit.
    static std::optional<std::uint64_t> ReadNumber( std::string_view inText );

    /// Parses a date in the format of HTTP; empty for anything else.
    static std::optional<XTime> ReadDate( std::string_view inText );

    static std::string_view GetReason( int inStatus );
    static std::string_view GetContentType( const std::filesystem::path& inFile );
};
