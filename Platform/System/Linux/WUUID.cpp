#include "System/WUUID.h"

#include "System/WRandomBytes.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <pthread.h>

namespace
{

/// Counts the forks that led to this process, so that a child does not hand out what its parent has drawn.
std::atomic<std::uint32_t> sForkCount{ 0 };

void CountForks()
{
    static std::once_flag once;
    std::call_once(
        once,
        [] {
            pthread_atfork( nullptr, nullptr, [] { sForkCount.fetch_add( 1, std::memory_order_relaxed ); } );
        } );
}

/// Random bytes of the system, drawn many at a time because each draw is a system call. One per thread.
class RandomBytes
{
public:
    RandomBytes() { CountForks(); }

    /// Returns 0 or the system's error code.
    std::uint32_t Take( void* outBytes, std::size_t inCount )
    {
        const std::uint32_t forkCount = sForkCount.load( std::memory_order_relaxed );
        if ( itsLeft < inCount || itsForkCount != forkCount )
        {
            if ( const std::uint32_t error = Fill() )
                return error;
            itsForkCount = forkCount;
        }
        itsLeft -= inCount;
        std::memcpy( outBytes, itsBytes + itsLeft, inCount );
        return 0;
    }

private:
    std::uint32_t Fill()
    {
        itsLeft = 0;
        const std::uint32_t error = WRandomBytes::Fill( itsBytes, sizeof( itsBytes ) );
        if ( error == 0 )
            itsLeft = sizeof( itsBytes );
        return error;
    }

    std::uint8_t itsBytes[1024];
    std::size_t itsLeft = 0;
    std::uint32_t itsForkCount = 0;
};

} // namespace

std::uint32_t WUUID::Create( WUUID& outUUID )
{
    thread_local RandomBytes sRandomBytes;
    WUUID uuid;
    if ( const std::uint32_t error = sRandomBytes.Take( &uuid, sizeof( uuid ) ) )
        return error;
    // Version 4 and the variant of RFC 9562: 122 bits are random.
    uuid.data3 = static_cast<std::uint16_t>( ( uuid.data3 & 0x0FFF ) | 0x4000 );
    uuid.data4[0] = static_cast<std::uint8_t>( ( uuid.data4[0] & 0x3F ) | 0x80 );
    outUUID = uuid;
    return 0;
}
