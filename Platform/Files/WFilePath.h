#pragma once

#include "WPlatform.h"

#include <compare>
#include <cstdint>
#include <filesystem>
#include <system_error>

/// Operations on paths and the files that they name.
/// Threads: any thread.
class KORVALE_API WFilePath
{
public:
    /// Identifies a file; equal for all its paths.
    struct Key
    {
        std::uint64_t volume = 0;
        std::uint64_t number = 0; ///< of the file, or of the folder in which it would be created
        std::filesystem::path::string_type name = {}; ///< name in that folder; empty if the file exists

        auto operator<=>( const Key& ) const = default;
    };

    /// An existing file has one key for all its names, including symbolic and hard links. A missing file has
    /// the key of the folder in which it would be created, and its name there, ignoring case, because some
    /// file systems do. Files that cannot be inspected count as missing.
    static Key GetKey( const std::filesystem::path& inPath );

    /// The absolute path of the file that writing to the path creates or replaces: follows symbolic links,
    /// even if the last one leads to a missing file. Sets `outError` for cyclic links.
    static std::filesystem::path
    ResolveLinks( const std::filesystem::path& inPath, std::error_code& outError );

    /// The absolute path, without `.`, `..` and double separators, in the system's interpretation: on Windows
    /// the standard library changes network paths (`\\nas\data`) and cannot inspect paths that begin with
    /// `\\?\`. Does not access the disk.
    static std::filesystem::path Normalise( const std::filesystem::path& inPath );

    /// True for a file, folder or device; false also if it cannot be inspected.
    static bool Exists( const std::filesystem::path& inPath );

    /// True for a folder and for a link to one.
    static bool IsFolder( const std::filesystem::path& inPath );

    /// Removes a file, a link or an empty folder. Returns whether it did.
    static bool Remove( const std::filesystem::path& inPath ) noexcept;

private:
    /// The path without pairs of a missing folder and `..`: once such folders exist, both paths are equal.
    static std::filesystem::path LeaveMissingFolders( const std::filesystem::path& inPath );
    /// Returns false if the path does not exist.
    static bool FindNumbers( const std::filesystem::path& inPath, Key& outKey );
    static std::filesystem::path::string_type FoldName( const std::filesystem::path& inName );
};
