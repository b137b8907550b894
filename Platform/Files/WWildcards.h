#pragma once

#include <filesystem>
#include <vector>

/// Patterns of file names on the command line, on systems whose shell does not expand them.
class WWildcards
{
public:
    /// The files that a path matches. On Windows, if the last part of the path contains `*` (any characters)
    /// or `?` (one character), these are the files of its folder with matching names, ignoring case, in the
    /// order of their names; hidden files and folders are omitted, and there may be none. `*.*` means `*`.
    /// Any other path, and every path on Linux, where the shell expands patterns, is returned unchanged.
    static std::vector<std::filesystem::path> Expand( const std::filesystem::path& inPath );
};
