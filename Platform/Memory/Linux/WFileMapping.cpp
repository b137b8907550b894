#include "Memory/WFileMapping.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Memory/Linux/WViewGuard.h"
#include "Memory/WAddressSpace.h"

#include <algorithm>
#include <cstring>

#include <sys/mman.h>

// Two kinds. A mapping of the page file is anonymous memory that is reserved with its first view and kept
// until it is destroyed; a view is its protection only. A mapping of a file maps a range for each view,
// beginning at a page boundary (GetViewDelta), and each view is registered with the guard that turns the
// signal for lost bytes into pages of zeros.

namespace
{

constexpr std::uint64_t kLargePage = 2 * 1024 * 1024;

std::uint64_t GetWholePages( std::uint64_t inSize )
{
    const std::uint64_t page = WAddressSpace::GetPageSize();
    return ( inSize + page - 1 ) & ~( page - 1 );
}

int GetProtection( XFileMappingBase::XPageProtection inAccess )
{
    return inAccess == XFileMappingBase::kPageReadOnly ? PROT_READ : PROT_READ | PROT_WRITE;
}

/// Fresh memory of whole pages. Large pages are filled and given back several times faster than as many small ones, so it
/// begins where the system can use them.
std::intptr_t MapMemory( std::uint64_t inSize )
{
    const std::uint64_t slack = inSize >= kLargePage ? kLargePage : 0;
    void* map = ::mmap( nullptr, inSize + slack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0 );
    if ( map == MAP_FAILED )
        XThrow( kErrorMemoryNotMapped );
    if ( slack == 0 )
        return reinterpret_cast<std::intptr_t>( map );

    auto* const begin = static_cast<std::uint8_t*>( map );
    const std::uint64_t head = -reinterpret_cast<std::uintptr_t>( begin ) & ( kLargePage - 1 );
    if ( head > 0 )
        ::munmap( begin, head );
    // What was mapped for the sake of alignment.
    ::munmap( begin + head + inSize, slack - head );
    ::madvise( begin + head, inSize, MADV_HUGEPAGE );
    return reinterpret_cast<std::intptr_t>( begin + head );
}

void* ProtectMemory(
    std::intptr_t inMemory, std::uint64_t inSize, XFileMappingBase::XPageProtection inAccess )
{
    XAssert( inAccess != XFileMappingBase::kPageWriteCopy );
    auto* const memory = reinterpret_cast<void*>( inMemory );
    if ( ::mprotect( memory, inSize, GetProtection( inAccess ) ) != 0 )
        XThrow( kErrorMemoryNotMapped );
    return memory;
}

void* MapRange(
    const WFile& inFile, std::uint64_t inOffset, std::uint64_t inSize,
    XFileMappingBase::XPageProtection inAccess )
{
    const int flags = inAccess == XFileMappingBase::kPageWriteCopy ? MAP_PRIVATE : MAP_SHARED;
    void* view = ::mmap(
        nullptr, inSize, GetProtection( inAccess ), flags, static_cast<int>( inFile.GetRawHandle() ),
        static_cast<off_t>( inOffset ) );
    if ( view == MAP_FAILED )
        XThrow( kErrorMemoryNotMapped );
    return view;
}

} // namespace

/// The memory comes with the first view: what refuses it refuses the view.
WFileMapping::WFileMapping( std::uint64_t inSize ) : itsSize( GetWholePages( inSize ) ) {}

/// The file's own descriptor will do, so that there is nothing to refuse a protection yet.
WFileMapping::WFileMapping(
    std::shared_ptr<const WFile> inFile, std::uint64_t inOffset, std::uint64_t inSize, XPageProtection )
    : itsFile( std::move( inFile ) ), itsOffset( inOffset )
{
    CheckFileSize( inSize );
}

WFileMapping::~WFileMapping()
{
    UnmapView();
    if ( itsHandle != kNoHandle )
        ::munmap( reinterpret_cast<void*>( itsHandle ), itsSize );
}

void WFileMapping::MapView( std::uint64_t inSize, XPageProtection inAccess )
{
    XAssert( !itsView );
    if ( itsFile )
        CheckFileSize( inSize );
    else if ( itsHandle == kNoHandle )
        itsHandle = MapMemory( itsSize );
    const std::uint64_t size = inSize + GetViewDelta();
    void* view = itsFile ? MapRange( *itsFile, itsOffset - GetViewDelta(), size, inAccess )
                         : ProtectMemory( itsHandle, itsSize, inAccess );
    itsView = static_cast<std::uint8_t*>( view );
    itsViewSize = size;
    if ( !itsFile )
        return;
    try
    {
        itsGuard = WViewGuard::Add( itsView, itsViewSize );
    }
    catch ( ... )
    {
        UnmapView(); // is not to stay without a guard
        throw;
    }
}

/// Only anonymous memory can be resized by moving pages. Bytes cut off within a page must not reappear.
bool WFileMapping::ResizeView( std::uint64_t inSize )
{
    if ( itsFile || !itsView )
        return false;
    const std::uint64_t size = GetWholePages( inSize );
    void* const memory = size >= inSize ? ::mremap( itsView, itsSize, size, MREMAP_MAYMOVE ) : MAP_FAILED;
    if ( memory == MAP_FAILED )
        return false;
    if ( size >= kLargePage )
        ::madvise( memory, size, MADV_HUGEPAGE );
    itsView = static_cast<std::uint8_t*>( memory );
    itsHandle = reinterpret_cast<std::intptr_t>( memory );
    const std::uint64_t end = std::min( itsViewSize, size );
    if ( inSize < end )
        std::memset( itsView + inSize, 0, end - inSize );
    itsSize = size;
    itsViewSize = inSize;
    return true;
}

void WFileMapping::UnmapView()
{
    if ( itsGuard )
        WViewGuard::Remove( static_cast<WViewGuard*>( itsGuard ) );
    if ( itsView && itsFile )
        ::munmap( itsView, itsViewSize );
    itsView = nullptr;
    itsGuard = nullptr;
}

bool WFileMapping::IsViewIntact() const
{
    return !itsGuard || static_cast<const WViewGuard*>( itsGuard )->IsIntact();
}
