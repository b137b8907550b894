#include "Imaging/Pages/Internal/XSpareBuffers.h"

#include "Memory/XMemoryManager.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <utility>

// Memory is made and given up outside the mutex, which the manager's listener takes under the allocation mutex.

namespace
{
std::uint64_t GetSize( const XSpareBuffers::XBuffer& inBuffer )
{
    return inBuffer->GetBlock()->GetSize();
}
} // namespace

XSpareBuffers::XSpareBuffers() : itsManager( *XMemoryManager::GetManager() )
{
    itsBuffers.reserve( kMostBuffers );
    itsManager.AddListener( this );
}

XSpareBuffers::~XSpareBuffers()
{
    itsManager.RemoveListener( this );
}

XSpareBuffers::XBuffer XSpareBuffers::Take( std::uint64_t inBytes )
{
    auto buffer = TakeSpare( inBytes );
    return buffer ? std::move( buffer ) : std::make_unique<XMemoryHandle>( inBytes );
}

void XSpareBuffers::Keep( XBuffer inBuffer ) noexcept
{
    const auto bytes = GetSize( inBuffer );
    const auto most = itsManager.GetBudget() / 16;
    if ( bytes < kLeastBytes || bytes > most )
        return;
    while ( const auto tooMuch = TakeOldestBeyond( most - bytes, kMostBuffers - 1 ) )
    {
    }
    const XThreadLock lock( itsMutex );
    if ( itsBytes + bytes > most || itsBuffers.size() == kMostBuffers )
        return; // Others have been kept meanwhile.
    itsBuffers.push_back( std::move( inBuffer ) );
    itsBytes += bytes;
}

USize64 XSpareBuffers::FreeMemory( USize64 inBytes )
{
    USize64 freed = 0;
    while ( freed < inBytes )
    {
        const auto buffer = TakeOldestBeyond( 0, 0 );
        if ( !buffer )
            break;
        freed += GetSize( buffer );
    }
    return freed;
}

XSpareBuffers::XBuffer XSpareBuffers::TakeSpare( std::uint64_t inBytes )
{
    const XThreadLock lock( itsMutex );
    for ( auto i = itsBuffers.size(); i > 0; --i )
        if ( GetSize( itsBuffers[i - 1] ) == inBytes )
            return TakeAt( i - 1 );
    return nullptr;
}

/// Null when there are so few bytes and buffers.
XSpareBuffers::XBuffer XSpareBuffers::TakeOldestBeyond( std::uint64_t inBytes, std::size_t inCount )
{
    const XThreadLock lock( itsMutex );
    const auto isWithin = itsBytes <= inBytes && itsBuffers.size() <= inCount;
    return isWithin ? nullptr : TakeAt( 0 );
}

/// Under the mutex.
XSpareBuffers::XBuffer XSpareBuffers::TakeAt( std::size_t inIndex )
{
    const auto place = itsBuffers.begin() + static_cast<std::ptrdiff_t>( inIndex );
    auto buffer = std::move( *place );
    itsBuffers.erase( place );
    itsBytes -= GetSize( buffer );
    return buffer;
}
