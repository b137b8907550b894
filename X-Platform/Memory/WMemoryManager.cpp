#include "Memory/WMemoryManager.h"

#include "Files/WTemporaryFile.h"
#include "Memory/WFileMapping.h"
#include "Memory/WHeap.h"
#include "Threads/XThreadLock.h"

bool WMemoryManager::QueryRegionInfo(
    std::uint64_t inAddress, std::uint64_t& outBase, std::uint64_t& outSize, XRegionState& outState,
    std::uint32_t& outProtection )
{
    const XThreadLock lock( GetMemoryMutex() );
    if ( itsRegions.empty() || !itsKeepsRegions )
        itsRegions = WAddressSpace::ReadRegions();
    const auto* region = WAddressSpace::Find( itsRegions, inAddress );
    if ( !region )
        return false;
    outBase = region->base;
    outSize = region->size;
    outState = static_cast<XRegionState>( region->state );
    outProtection = region->protection;
    return true;
}

void WMemoryManager::BeginRegionQueries()
{
    itsKeepsRegions = true;
    itsRegions.clear();
}

void WMemoryManager::EndRegionQueries()
{
    itsKeepsRegions = false;
    itsRegions.clear();
}

std::uint64_t WMemoryManager::GetAddressSpaceSize() const
{
    return WAddressSpace::GetEnd();
}

void* WMemoryManager::AllocateHeap( USize64 inSize, USize64 inAlignment )
{
    return WHeap::Allocate( inSize, inAlignment );
}

void* WMemoryManager::ReallocateHeap( void* inMemory, USize64 inOldSize, USize64 inSize, USize64 inAlignment )
{
    return WHeap::Reallocate( inMemory, inOldSize, inSize, inAlignment );
}

void WMemoryManager::FreeHeap( void* inMemory, USize64 inAlignment )
{
    WHeap::Free( inMemory, inAlignment );
}

std::unique_ptr<XFileMappingBase> WMemoryManager::MakePageFileMapping( USize64 inSize )
{
    return std::make_unique<WFileMapping>( inSize );
}

std::unique_ptr<XFileMappingBase> WMemoryManager::MakeFileMapping(
    std::shared_ptr<const WFile> inFile, std::uint64_t inOffset, USize64 inSize,
    XFileMappingBase::XPageProtection inProtection )
{
    return std::make_unique<WFileMapping>( std::move( inFile ), inOffset, inSize, inProtection );
}

std::shared_ptr<WFile> WMemoryManager::MakeTemporaryFile()
{
    return std::make_shared<WTemporaryFile>( GetTemporaryFolder() );
}
