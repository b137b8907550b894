#pragma once

#include <filesystem>
#include <vector>

/// A folder to write to, made with those above it where they are missing. Those that were made are removed again, if they
/// are empty, unless they are kept; until then they are among the WPendingFiles.
class NewFolder
{
public:
    /// Throws filesystem_error.
    explicit NewFolder( const std::filesystem::path& inPath );
    NewFolder( const NewFolder& ) = delete;
    NewFolder& operator=( const NewFolder& ) = delete;
    ~NewFolder();

    void Keep();

private:
    std::vector<std::filesystem::path> itsMade; ///< From the outermost on.

    void Make( const std::filesystem::path& inFolder );
    void RemoveMade();
};
