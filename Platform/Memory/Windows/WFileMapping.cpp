#include "Memory/WFileMapping.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <windows.h>

namespace
{

DWORD GetProtection( XFileMappingBase::XPageProtection inProtection )
{
    switch ( inProtection )
    {
    case XFileMappingBase::kPageReadOnly:
        return PAGE_READONLY;
    case XFileMappingBase::kPageWriteCopy:
        return PAGE_WRITECOPY;
    default:
        return PAGE_READWRITE;
    }
}

DWORD GetMappingAccess( XFileMappingBase::XPageProtection inAccess )
{
    switch ( inAccess )
    {
    case XFileMappingBase::kPageReadOnly:
        return FILE_MAP_READ;
    case XFileMappingBase::kPageWriteCopy:
        return FILE_MAP_COPY;
    default:
        return FILE_MAP_READ | FILE_MAP_WRITE;
    }
}

DWORD GetHigh( std::uint64_t inValue )
{
    return static_cast<DWORD>( inValue >> 32 );
}

DWORD GetLow( std::uint64_t inValue )
{
    return static_cast<DWORD>( inValue & 0xFFFFFFFFu );
}

std::intptr_t CreateMapping( HANDLE inFile, DWORD inProtection, std::uint64_t inSize )
{
    const HANDLE mapping =
        ::CreateFileMappingW( inFile, nullptr, inProtection, GetHigh( inSize ), GetLow( inSize ), nullptr );
    if ( !mapping )
        XThrow( kErrorMemoryNotMapped );
    return reinterpret_cast<std::intptr_t>( mapping );
}

} // namespace

WFileMapping::WFileMapping( std::uint64_t inSize )
    : itsHandle( CreateMapping( INVALID_HANDLE_VALUE, PAGE_READWRITE, inSize ) )
{
}

WFileMapping::WFileMapping(
    std::shared_ptr<const WFile> inFile, std::uint64_t inOffset, std::uint64_t inSize,
    XPageProtection inProtection )
    : itsFile( std::move( inFile ) ), itsOffset( inOffset )
{
    CheckFileSize( inSize ); // the system would lengthen the file
    itsHandle = CreateMapping(
        reinterpret_cast<HANDLE>( itsFile->GetRawHandle() ), GetProtection( inProtection ),
        inOffset + inSize );
}

WFileMapping::~WFileMapping()
{
    UnmapView();
    if ( itsHandle != kNoHandle )
        ::CloseHandle( reinterpret_cast<HANDLE>( itsHandle ) );
}

void WFileMapping::MapView( std::uint64_t inSize, XPageProtection inAccess )
{
    XAssert( !itsView );
    XAssert( itsFile || inAccess != kPageWriteCopy );
    const std::uint64_t size = inSize + GetViewDelta();
    const std::uint64_t offset = itsOffset - GetViewDelta();
    void* view = ::MapViewOfFile(
        reinterpret_cast<HANDLE>( itsHandle ), GetMappingAccess( inAccess ), GetHigh( offset ),
        GetLow( offset ), size );
    if ( !view )
        XThrow( kErrorMemoryNotMapped );
    itsView = static_cast<std::uint8_t*>( view );
    itsViewSize = size;
}

/// The system's mapping objects keep their size.
bool WFileMapping::ResizeView( std::uint64_t )
{
    return false;
}

void WFileMapping::UnmapView()
{
    if ( itsView )
        ::UnmapViewOfFile( itsView );
    itsView = nullptr;
}

/// The system does not let a file be cut off while it is mapped.
bool WFileMapping::IsViewIntact() const
{
    return true;
}
