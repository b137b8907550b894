#pragma once

#include <filesystem>
#include <vector>

/// Patterns of file names on the command line, where the system's shell leaves them to the program.
class WWildcards
{
public:
    /// The files that a path stands for. On Windows, where the last part of the path has `*` (any characters) or `?`
    /// (one), those are the files of its folder whose names match, without regard to case, in the order of their
    /// names; hidden files and folders are left out, and none may be left. `*.*` is `*`. Any other path, and every
    /// path on Linux, whose shells have expanded patterns before, stands for itself.
    static std::vector<std::filesystem::path> Expand( const std::filesystem::path& inPath );
};
