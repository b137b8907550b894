#include "Files/WPendingFiles.h"

#include "Files/WFilePath.h"

#include <cstddef>
#include <new>
#include <vector>

namespace
{

struct Entry
{
    std::filesystem::path given;
    std::filesystem::path absolute; // whatever the current folder is by then
};

struct Registry
{
    std::recursive_mutex mutex;
    std::vector<Entry> entries; // in the order in which they were made
};

/// Outlasts static objects that write files, and takes no memory, for the end may come for want of it.
Registry& GetRegistry()
{
    alignas( Registry ) static std::byte room[sizeof( Registry )];
    static auto* const registry = new ( room ) Registry;
    return *registry;
}

} // namespace

std::unique_lock<std::recursive_mutex> WPendingFiles::Hold()
{
    return std::unique_lock( GetRegistry().mutex );
}

void WPendingFiles::Add( const std::filesystem::path& inPath )
{
    const auto hold = Hold();
    GetRegistry().entries.push_back( { inPath, WFilePath::Normalise( inPath ) } );
}

void WPendingFiles::Forget( const std::filesystem::path& inPath ) noexcept
{
    const auto hold = Hold();
    std::erase_if( GetRegistry().entries, [&]( const Entry& inEntry ) { return inEntry.given == inPath; } );
}

void WPendingFiles::RemoveForEnd() noexcept
{
    auto& registry = GetRegistry();
    registry.mutex.lock();
    for ( auto entry = registry.entries.rbegin(); entry != registry.entries.rend(); ++entry )
        WFilePath::Remove( entry->absolute );
}
