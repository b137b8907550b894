#include "WFileMapping.h"

#include "Core/XErrorNumbers.h"
#include "Core/XFail.h"
#include "WDescriptorLimit.h"
#include "WViewGuard.h"

#include <sys/mman.h>
#include <unistd.h>

namespace
{

int GetProtection( XFileMappingBase::XPageProtection inAccess )
{
    return inAccess == XFileMappingBase::kPageReadOnly ? PROT_READ : PROT_READ | PROT_WRITE;
}

} // namespace

WFileMapping::WFileMapping( std::uint64_t inSize )
{
    const int descriptor =
        WDescriptorLimit::Retry( [] { return ::memfd_create( "korvale-block", MFD_CLOEXEC ); } );
    if ( descriptor == -1 )
        XThrow( kErrorMemoryNotMapped );
    if ( ::ftruncate( descriptor, static_cast<off_t>( inSize ) ) != 0 )
    {
        ::close( descriptor );
        XThrow( kErrorMemoryNotMapped );
    }
    itsHandle = descriptor;
}

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
        ::close( static_cast<int>( itsHandle ) );
}

void WFileMapping::MapView( std::uint64_t inSize, XPageProtection inAccess )
{
    XAssert( !itsView );
    if ( itsFile )
        CheckFileSize( inSize );
    const auto descriptor = static_cast<int>( itsFile ? itsFile->GetRawHandle() : itsHandle );
    const std::uint64_t size = inSize + GetViewDelta();
    void* view = ::mmap(
        nullptr, size, GetProtection( inAccess ), inAccess == kPageWriteCopy ? MAP_PRIVATE : MAP_SHARED,
        descriptor, static_cast<off_t>( itsOffset - GetViewDelta() ) );
    if ( view == MAP_FAILED )
        XThrow( kErrorMemoryNotMapped );
    itsView = static_cast<std::uint8_t*>( view );
    itsViewSize = size;
    if ( itsFile )
        itsGuard = WViewGuard::Add( itsView, itsViewSize );
}

void WFileMapping::UnmapView()
{
    if ( !itsView )
        return;
    if ( itsGuard )
        WViewGuard::Remove( static_cast<WViewGuard*>( itsGuard ) );
    ::munmap( itsView, itsViewSize );
    itsView = nullptr;
    itsGuard = nullptr;
}

bool WFileMapping::IsViewIntact() const
{
    return !itsGuard || static_cast<const WViewGuard*>( itsGuard )->IsIntact();
}
