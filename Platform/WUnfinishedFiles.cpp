#include "WUnfinishedFiles.h"

#include "WFilePath.h"

#include <cstddef>
#include <new>
#include <vector>

namespace
{

struct Registry
{
    std::recursive_mutex mutex;
    std::vector<std::filesystem::path> paths; // absolute, in the order in which they were made
};

/// Outlasts static objects that write files, and takes no memory, for the end may come for want of it.
Registry& GetRegistry()
{
    alignas( Registry ) static std::byte room[sizeof( Registry )];
    static auto* const registry = new ( room ) Registry;
    return *registry;
}

} // namespace

std::unique_lock<std::recursive_mutex> WUnfinishedFiles::Hold()
{
    return std::unique_lock( GetRegistry().mutex );
}

void WUnfinishedFiles::Add( const std::filesystem::path& inPath )
{
    const auto hold = Hold();
    GetRegistry().paths.push_back( WFilePath::Normalise( inPath ) );
}

void WUnfinishedFiles::Forget( const std::filesystem::path& inPath )
{
    const auto hold = Hold();
    std::erase( GetRegistry().paths, WFilePath::Normalise( inPath ) );
}

void WUnfinishedFiles::RemoveForEnd() noexcept
{
    auto& registry = GetRegistry();
    registry.mutex.lock();
    for ( auto path = registry.paths.rbegin(); path != registry.paths.rend(); ++path )
        WFilePath::Remove( *path );
}
