#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

/// A file that several machines, or several runs, read under the same path, and what distinguishes it from another one
/// there: size, time of modification, and a checksum of its first and last 64 KiB.
struct SharedFile
{
    std::string path; ///< absolute, UTF-8
    std::uint64_t size = 0;
    std::int64_t modificationTime = 0;
    std::uint64_t checksum = 0;

    /// Throws the errors of WFile.
    static SharedFile Describe( const std::filesystem::path& inPath );

    /// Returns no value for a device and for a file that cannot be read.
    static std::optional<SharedFile> TryDescribe( const std::filesystem::path& inPath );

    /// Throws WImageError unless this machine has the same file there.
    void Check() const;

    /// Compares only the size and the time of modification.
    bool LooksUnchanged() const;

    auto operator<=>( const SharedFile& ) const = default;
};
