#pragma once

#include "WPlatform.h"

#include <filesystem>
#include <string>

/// Patterns of file names: `*` stands for any characters, `?` for one.
/// Threads: any thread.
class KORVALE_API WWildcards
{
public:
    /// True if the path has `*` or `?`.
    static bool HasWildcards( const std::filesystem::path& inPath );

    /// True if the whole name matches the pattern. Windows ignores case, and there `*.*` means `*`. On Linux `?` stands
    /// for a character of UTF-8. Takes time in proportion to the product of both lengths at most.
    static bool Matches( const std::filesystem::path& inName, const std::filesystem::path& inPattern );

private:
    /// The characters as they are compared.
    static std::u32string GetComparable( const std::filesystem::path& inName );
};
