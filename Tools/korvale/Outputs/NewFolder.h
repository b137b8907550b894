#pragma once

#include <filesystem>
#include <vector>

/// A folder to write to; creates it and its missing parents. Unless Keep is called, the created folders are
/// removed again if they are empty; until then they are registered in WPendingFiles.
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
    std::vector<std::filesystem::path> itsMade; // the outermost one first

    void Make( const std::filesystem::path& inFolder );
    void RemoveMade();
};
