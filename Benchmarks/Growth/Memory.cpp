#include "Growth/Operation.h"

#include "Memory/XMappedFileMemoryHandle.h"
#include "Memory/XMemoryManager.h"
#include "Threads/XLock.h"

#include <cstring>

namespace
{

constexpr USize64 kPage = 4096;

std::vector<XMappedFileMemoryHandle> MakeFilled( std::size_t inCount )
{
    std::vector<XMappedFileMemoryHandle> handles;
    handles.reserve( inCount );
    for ( std::size_t i = 0; i < inCount; ++i )
    {
        handles.emplace_back( kPage );
        const XLock lock( handles.back(), kLockForWrite );
        std::memset( handles.back().GetData(), 1, kPage );
    }
    return handles;
}

/// Writes every block within a budget of half of them, so that each purges another.
Seconds FillBeyondBudget( std::size_t inCount )
{
    XMemoryManager& manager = *XMemoryManager::GetManager();
    const USize64 budget = manager.GetBudget();
    manager.SetBudget( manager.GetBytesInUse() + inCount / 2 * kPage );
    const Seconds time = Time( [&] { MakeFilled( inCount ); } );
    manager.SetBudget( budget );
    return time;
}

Seconds LockOneByOne( std::size_t inCount )
{
    auto handles = MakeFilled( inCount );
    return Time(
        [&]
        {
            for ( auto& handle : handles )
                const XLock lock( handle, kLockForRead );
        } );
}

} // namespace

void AddMemoryOperations( Operations& ioOperations )
{
    ioOperations.push_back( { "memory: fill beyond the budget, by blocks", 200, FillBeyondBudget } );
    ioOperations.push_back( { "memory: lock one by one, by blocks", 200, LockOneByOne } );
}
