#pragma once

#include "WPlatform.h"

#include <filesystem>
#include <mutex>

/// The files and folders that this process has created and that must not remain unless they are completed. A
/// process that ends at once, without its destructors, removes them first.
/// Threads: any thread.
class KORVALE_API WPendingFiles
{
public:
    WPendingFiles() = delete;

    /// Lock to be held while a file is created or renamed into place, so that a sudden end of the process
    /// comes before or after that. Recursive.
    static std::unique_lock<std::recursive_mutex> Hold();

    /// Registers a path. Call it before creating the file, under the same lock, because it may throw for lack
    /// of memory.
    static void Add( const std::filesystem::path& inPath );

    /// Unregisters the path, under the same lock as the completion or the removal. Needs no memory.
    static void Forget( const std::filesystem::path& inPath ) noexcept;

    /// Removes all registered files, the newest first, and keeps the lock: the process is about to end.
    static void RemoveForEnd() noexcept;
};
