#pragma once

#include "Memory/WAddressSpace.h"
#include "Memory/XMemoryManager.h"

/// The memory manager that uses the system's address space, heap, mappings and temporary files.
class KORVALE_API WMemoryManager : public XMemoryManager
{
public:
    explicit WMemoryManager( XRole inRole = kStandIn ) : XMemoryManager( inRole ) {}

    bool QueryRegionInfo(
        std::uint64_t inAddress, std::uint64_t& outBase, std::uint64_t& outSize, XRegionState& outState,
        std::uint32_t& outProtection ) override;
    std::uint64_t GetAddressSpaceSize() const override;

    void* AllocateHeap( USize64 inSize, USize64 inAlignment ) override;
    void* ReallocateHeap( void* inMemory, USize64 inOldSize, USize64 inSize, USize64 inAlignment ) override;
    void FreeHeap( void* inMemory, USize64 inAlignment ) override;
    std::unique_ptr<XFileMappingBase> MakePageFileMapping( USize64 inSize ) override;
    std::unique_ptr<XFileMappingBase> MakeFileMapping(
        std::shared_ptr<const WFile> inFile, std::uint64_t inOffset, USize64 inSize,
        XFileMappingBase::XPageProtection inProtection ) override;
    std::shared_ptr<WFile> MakeTemporaryFile() override;

protected:
    void BeginRegionQueries() override;
    void EndRegionQueries() override;

private:
    // Guarded by the memory mutex. The regions are read on the first query, since many decisions need none.
    bool itsKeepsRegions = false;
    std::vector<WAddressSpace::Region> itsRegions;
};
