#pragma once

#include "Memory/WMemoryManager.h"
#include "Memory/XMappedFileMemoryHandle.h"
#include "Memory/XMemoryHandle.h"
#include "Memory/XMemoryManagerListener.h"
#include "Testing.h"
#include "Threads/XLock.h"

inline constexpr USize64 kMiB = 1 << 20;

/// A part of the address space.
struct Range
{
    std::uint64_t begin;
    std::uint64_t size;
};

/// The process's manager while it lives, with faults to order and an address space to lay out.
struct TestManager : WMemoryManager
{
    static constexpr std::uint64_t kEnd = 0x10000000;

    explicit TestManager( USize64 inBudget = 1 << 30 ) { SetBudget( inBudget ); }

    /// From now on the address space ends at kEnd and these parts of it are in use.
    void LayOut( std::vector<Range> inUsed ) { itsUsed = std::move( inUsed ); }

    std::atomic<int> refusedHeap = 0; ///< allocations that are still to fail
    std::atomic<int> refusedMappings = 0;
    std::atomic<int> refusedViews = 0;
    bool canResizeViews = true;
    std::function<std::shared_ptr<WFile>()> makeTemporaryFile;
    std::function<void( const WFile& )> whenMapped;         ///< called after each view of a file
    std::function<void( void*, std::uint64_t )> whenViewed; ///< the same, with the bytes in view

    bool QueryRegionInfo(
        std::uint64_t inAddress, std::uint64_t& outBase, std::uint64_t& outSize, XRegionState& outState,
        std::uint32_t& outProtection ) override
    {
        if ( !itsUsed )
            return WMemoryManager::QueryRegionInfo( inAddress, outBase, outSize, outState, outProtection );
        if ( inAddress >= kEnd )
            return false;
        std::uint64_t base = 0;
        std::uint64_t end = kEnd;
        outState = kRegionFree;
        for ( const Range& used : *itsUsed )
        {
            if ( inAddress >= used.begin && inAddress < used.begin + used.size )
            {
                outState = kRegionInUse;
                base = used.begin;
                end = used.begin + used.size;
                break;
            }
            if ( used.begin + used.size <= inAddress )
                base = std::max( base, used.begin + used.size );
            else
                end = std::min( end, used.begin );
        }
        outBase = base;
        outSize = end - base;
        return true;
    }

    void* AllocateHeap( USize64 inSize, USize64 inAlignment ) override
    {
        return Takes( refusedHeap ) ? nullptr : WMemoryManager::AllocateHeap( inSize, inAlignment );
    }

    void* ReallocateHeap( void* inMemory, USize64 inOldSize, USize64 inSize, USize64 inAlignment ) override
    {
        return Takes( refusedHeap )
            ? nullptr
            : WMemoryManager::ReallocateHeap( inMemory, inOldSize, inSize, inAlignment );
    }

    std::unique_ptr<XFileMappingBase> MakePageFileMapping( USize64 inSize ) override
    {
        if ( Takes( refusedMappings ) )
            XThrow( 1020 );
        return std::make_unique<Mapping>( *this, WMemoryManager::MakePageFileMapping( inSize ), nullptr );
    }

    std::unique_ptr<XFileMappingBase> MakeFileMapping(
        std::shared_ptr<const WFile> inFile, std::uint64_t inOffset, USize64 inSize,
        XFileMappingBase::XPageProtection inProtection ) override
    {
        if ( Takes( refusedMappings ) )
            XThrow( 1020 );
        return std::make_unique<Mapping>(
            *this, WMemoryManager::MakeFileMapping( inFile, inOffset, inSize, inProtection ), inFile );
    }

    std::shared_ptr<WFile> MakeTemporaryFile() override
    {
        return makeTemporaryFile ? makeTemporaryFile() : WMemoryManager::MakeTemporaryFile();
    }

private:
    struct Mapping : XFileMappingBase
    {
        Mapping(
            TestManager& inManager, std::unique_ptr<XFileMappingBase> inMapping,
            std::shared_ptr<const WFile> inFile )
            : itsManager( inManager ), itsMapping( std::move( inMapping ) ), itsFile( std::move( inFile ) )
        {
        }
        void MapView( std::uint64_t inSize, XPageProtection inAccess ) override
        {
            if ( Takes( itsManager.refusedViews ) )
                XThrow( 1020 );
            itsMapping->MapView( inSize, inAccess );
            if ( itsFile && itsManager.whenMapped )
                itsManager.whenMapped( *itsFile );
            if ( itsFile && itsManager.whenViewed )
                itsManager.whenViewed( GetViewData(), inSize );
        }
        bool ResizeView( std::uint64_t inSize ) override
        {
            return itsManager.canResizeViews && itsMapping->ResizeView( inSize );
        }
        void UnmapView() override { itsMapping->UnmapView(); }
        void* GetViewData() const override { return itsMapping->GetViewData(); }
        bool IsViewIntact() const override { return itsMapping->IsViewIntact(); }

    private:
        TestManager& itsManager;
        std::unique_ptr<XFileMappingBase> itsMapping;
        std::shared_ptr<const WFile> itsFile; // null for the page file
    };

    static bool Takes( std::atomic<int>& ioCount )
    {
        if ( ioCount <= 0 )
            return false;
        --ioCount;
        return true;
    }

    std::optional<std::vector<Range>> itsUsed;
};

/// Frees what a function frees and counts how often it was asked.
struct TestListener : XMemoryManagerListener
{
    explicit TestListener( std::function<USize64( USize64 )> inFree ) : itsFree( std::move( inFree ) )
    {
        XMemoryManager::GetManager()->AddListener( this );
    }
    ~TestListener() override { XMemoryManager::GetManager()->RemoveListener( this ); }

    USize64 FreeMemory( USize64 inBytes ) override
    {
        wanted.push_back( inBytes );
        return itsFree( inBytes );
    }

    std::vector<USize64> wanted;

private:
    std::function<USize64( USize64 )> itsFree;
};

/// Fills a handle with bytes that follow from a seed, and tells whether it holds them.
inline void Fill( XMemoryHandle& ioHandle, unsigned inSeed )
{
    const XLock lock( ioHandle, kLockForWrite );
    auto* data = static_cast<std::uint8_t*>( ioHandle.GetData() );
    for ( USize64 i = 0, size = ioHandle.GetDataSize(); i < size; ++i )
        data[i] = static_cast<std::uint8_t>( ( i >> 8 ) * 31 + i + inSeed );
}

inline bool Holds( XMemoryHandle& ioHandle, unsigned inSeed )
{
    const XLock lock( ioHandle, kLockForRead );
    const auto* data = static_cast<const std::uint8_t*>( ioHandle.GetData() );
    for ( USize64 i = 0, size = ioHandle.GetDataSize(); i < size; ++i )
        if ( data[i] != static_cast<std::uint8_t>( ( i >> 8 ) * 31 + i + inSeed ) )
            return false;
    return true;
}
