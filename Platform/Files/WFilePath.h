#pragma once

#include "WPlatform.h"

#include <compare>
#include <cstdint>
#include <filesystem>
#include <system_error>

/// The file behind a path.
/// Threads: any thread.
class KORVALE_API WFilePath
{
public:
    /// Equal for all paths of one file.
    struct Key
    {
        std::uint64_t volume = 0;
        std::uint64_t number = 0; ///< of the file, or of the folder that it would be made in
        std::filesystem::path::string_type name = {}; ///< below that folder; empty for a file that exists

        auto operator<=>( const Key& ) const = default;
    };

    /// A file that exists has one key for all its names, symbolic and hard links included. A missing one has the key of
    /// the folder it would be made in and its name there, where names that differ in the case of letters only count as
    /// one: on some file systems they are. What cannot be looked at counts as missing.
    static Key GetKey( const std::filesystem::path& inPath );

    /// The absolute path of the file that is made or replaced by writing to the path: symbolic links are followed even if
    /// the last one leads to a missing file. Sets the error for links in a circle.
    static std::filesystem::path
    ResolveLinks( const std::filesystem::path& inPath, std::error_code& outError );

    /// The absolute path, without `.`, `..` and doubled separators, as the system reads it: on Windows the standard library
    /// turns paths on the network (`\\nas\data`) into others, and cannot look at those that begin with `\\?\`. Does not
    /// look at the disk.
    static std::filesystem::path Normalise( const std::filesystem::path& inPath );

    /// True for a file, folder or device; false too when it cannot be looked at.
    static bool Exists( const std::filesystem::path& inPath );

    /// True for a folder, and a link to one.
    static bool IsFolder( const std::filesystem::path& inPath );

    /// Removes a file, a link or an empty folder. False when it could not.
    static bool Remove( const std::filesystem::path& inPath ) noexcept;

private:
    /// The path without folders that are missing and left again by `..`: once they are made, both paths are one.
    static std::filesystem::path LeaveMissingFolders( const std::filesystem::path& inPath );
    /// False when nothing is there.
    static bool FindNumbers( const std::filesystem::path& inPath, Key& outKey );
    static std::filesystem::path::string_type FoldName( const std::filesystem::path& inName );
};
