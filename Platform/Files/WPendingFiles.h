#pragma once

#include "WPlatform.h"

#include <filesystem>
#include <mutex>

/// The files and folders that this process has made and that must not outlive it unless they are finished. A
/// process that ends at once, without its destructors, removes them first.
/// Threads: any thread.
class KORVALE_API WPendingFiles
{
public:
    WPendingFiles() = delete;

    /// Held while a file is made or put into its place: an end at once comes before that or after it. Recursive.
    static std::unique_lock<std::recursive_mutex> Hold();

    /// To be called in one hold with the making and before it, since it throws where there is no memory.
    static void Add( const std::filesystem::path& inPath );

    /// Called with the same path, in one hold with the finishing or the removal. Takes no memory.
    static void Forget( const std::filesystem::path& inPath ) noexcept;

    /// Removes them all, the last one first, and holds from then on: the process is about to end.
    static void RemoveForEnd() noexcept;
};
