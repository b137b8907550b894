#include "Measuring/CachedOverlay.h"

#include <cstring>
#include <type_traits>
#include <utility>

// The vectors of a sketch are copied one after the other into a single purgeable block; their lengths stay in
// `itsPartSizes`. ForEachPart defines the order for both directions. Take checks the block for lost samples
// while it is locked, because a purged block is read from a temporary file.

namespace
{
/// Calls `inAction( part )` for each vector that takes up memory.
template<class TAction>
void ForEachPart( XOverlaySketch& ioSketch, TAction inAction )
{
    inAction( ioSketch.picture.levels );
    for ( auto& objects : ioSketch.objects )
    {
        inAction( objects.objects.shapes );
        inAction( objects.objects.runs );
    }
}

template<class T>
std::size_t CountBytes( const std::vector<T>& inPart )
{
    static_assert( std::is_trivially_copyable_v<T> );
    return inPart.size() * sizeof( T );
}
} // namespace

void CachedOverlay::Keep( XOverlaySketch inSketch, XPageMemory& ioMemory )
{
    itsSketch = std::move( inSketch );
    itsPartSizes.clear();
    std::size_t size = 0;
    ForEachPart( itsSketch, [&]( const auto& inPart ) { size += CountBytes( inPart ); } );
    itsBytes = XMappedFileMemoryHandle( size );
    const auto bytes = ioMemory.Lock( itsBytes, kLockForWrite );
    auto* to = bytes.get();
    const auto keepPart = [&]( auto& ioPart )
    {
        itsPartSizes.push_back( ioPart.size() );
        if ( !ioPart.empty() )
            std::memcpy( to, ioPart.data(), CountBytes( ioPart ) );
        to += CountBytes( ioPart );
        ioPart = {};
    };
    ForEachPart( itsSketch, keepPart );
}

XOverlaySketch CachedOverlay::Take( XPageMemory& ioMemory )
{
    {
        const auto bytes = ioMemory.Lock( itsBytes, kLockForRead );
        const auto* from = bytes.get();
        auto size = itsPartSizes.begin();
        const auto takePart = [&]( auto& ioPart )
        {
            ioPart.resize( *size++ );
            if ( !ioPart.empty() )
                std::memcpy( ioPart.data(), from, CountBytes( ioPart ) );
            from += CountBytes( ioPart );
        };
        ForEachPart( itsSketch, takePart );
        itsBytes.CheckIntact();
    }
    itsBytes = {};
    return std::move( itsSketch );
}
