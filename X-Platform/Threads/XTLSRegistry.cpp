#include "Threads/XTLSRegistry.h"

#include "Ground/XFail.h"

#include <array>
#include <atomic>
#include <utility>

namespace
{

thread_local XTLSRegistry::XSlots* sSlots = nullptr;
std::array<std::atomic<XTLSRegistry::XCleanUp>, XTLSRegistry::kKeyCount> sCleanUps{};

std::uint64_t& GetSlot( XTLSRegistry::XDataKey inKey )
{
    XTLSRegistry::XSlots* const slots = sSlots;
    XAssert( slots );
    return slots->at( inKey );
}

} // namespace

void XTLSRegistry::RegisterData( XDataKey inKey, std::uint64_t inValue )
{
    GetSlot( inKey ) = inValue;
}

void XTLSRegistry::RegisterDataPtr( XDataKey inKey, void* inPointer )
{
    RegisterData( inKey, reinterpret_cast<std::uintptr_t>( inPointer ) );
}

std::uint64_t XTLSRegistry::GetData( XDataKey inKey )
{
    return sSlots ? GetSlot( inKey ) : 0;
}

void* XTLSRegistry::GetDataPtr( XDataKey inKey )
{
    return reinterpret_cast<void*>( GetData( inKey ) );
}

void XTLSRegistry::IncrementData( XDataKey inKey )
{
    ++GetSlot( inKey );
}

void XTLSRegistry::DecrementData( XDataKey inKey )
{
    --GetSlot( inKey );
}

void XTLSRegistry::AssertNotZeroAndDecrementData( XDataKey inKey )
{
    std::uint64_t& data = GetSlot( inKey );
    XAssert( data != 0 );
    --data;
}

void XTLSRegistry::SetCleanUp( XDataKey inKey, XCleanUp inCleanUp )
{
    sCleanUps.at( inKey ) = inCleanUp;
}

void XTLSRegistry::SetCurrentSlots( XSlots* inSlots )
{
    sSlots = inSlots;
}

void XTLSRegistry::CleanUp( XSlots& ioSlots ) noexcept
{
    for ( std::size_t key = 0; key < ioSlots.size(); ++key )
    {
        const XCleanUp cleanUp = sCleanUps[key];
        const std::uint64_t value = std::exchange( ioSlots[key], 0 );
        if ( cleanUp && value != 0 )
            cleanUp( value );
    }
    ioSlots.clear();
}
