#include "System/WProcessors.h"

#include "Ground/XFail.h"

#include <bit>
#include <utility>
#include <windows.h>
#include <winternl.h>

namespace
{

constexpr std::size_t kMostProcessors = 64;

std::uint64_t ToTicks( const FILETIME& inTime )
{
    return std::uint64_t( inTime.dwHighDateTime ) << 32 | inTime.dwLowDateTime;
}

void GetTimes(
    BOOL inSucceeded, const FILETIME& inKernel, const FILETIME& inUser, std::int64_t& outKernel,
    std::int64_t& outUser )
{
    if ( !inSucceeded )
        XThrowLastSystemError();
    outKernel = static_cast<std::int64_t>( ToTicks( inKernel ) / 10 );
    outUser = static_cast<std::int64_t>( ToTicks( inUser ) / 10 );
}

XVector<std::uint32_t> GetBitIndexes( std::uint64_t inMask )
{
    XVector<std::uint32_t> indexes;
    for ( ; inMask != 0; inMask &= inMask - 1 )
        indexes.push_back( static_cast<std::uint32_t>( std::countr_zero( inMask ) ) );
    return indexes;
}

/// Our numbers of the processors that the process may run on, among those of a core.
XVector<std::uint32_t> GetOwnNumbers( std::uint64_t inMask )
{
    const auto& systemNumbers = WProcessors::GetSystemNumbers();
    XVector<std::uint32_t> numbers;
    for ( std::uint32_t number = 0; number < systemNumbers.size(); ++number )
        if ( inMask >> systemNumbers[number] & 1 )
            numbers.push_back( number );
    return numbers;
}

} // namespace

XVector<std::uint32_t> WProcessors::FindSystemNumbers()
{
    DWORD_PTR allowed = 0;
    DWORD_PTR present = 0;
    if ( GetProcessAffinityMask( GetCurrentProcess(), &allowed, &present ) && allowed != 0 )
        return GetBitIndexes( allowed );
    SYSTEM_INFO info;
    GetSystemInfo( &info );
    return GetBitIndexes( info.dwActiveProcessorMask );
}

/// Where the system does not tell which core a processor belongs to, each is a core of its own.
XVector<XVector<std::uint32_t>> WProcessors::FindCores()
{
    XVector<XVector<std::uint32_t>> cores;
    DWORD size = 0;
    GetLogicalProcessorInformation( nullptr, &size );
    XVector<SYSTEM_LOGICAL_PROCESSOR_INFORMATION> entries(
        size / sizeof( SYSTEM_LOGICAL_PROCESSOR_INFORMATION ) );
    if ( !entries.empty() && GetLogicalProcessorInformation( entries.data(), &size ) )
    {
        for ( const auto& entry : entries )
        {
            if ( entry.Relationship != RelationProcessorCore )
                continue;
            if ( auto numbers = GetOwnNumbers( entry.ProcessorMask ); !numbers.empty() )
                cores.push_back( std::move( numbers ) );
        }
    }
    const bool hasNone = cores.empty();
    for ( std::uint32_t processor = 0; hasNone && processor < GetCount(); ++processor )
        cores.push_back( { processor } );
    return cores;
}

XVector<WProcessors::Times> WProcessors::ReadTimes()
{
    XVector<SYSTEM_PROCESSOR_PERFORMANCE_INFORMATION> entries( kMostProcessors );
    ULONG written = 0;
    const auto size = static_cast<ULONG>( entries.size() * sizeof( entries[0] ) );
    NtQuerySystemInformation( SystemProcessorPerformanceInformation, entries.data(), size, &written );
    entries.resize( written / sizeof( entries[0] ) );
    XVector<Times> result;
    for ( const auto& entry : entries )
    {
        // The kernel's time counts the idle time in.
        const auto total = static_cast<std::uint64_t>( entry.KernelTime.QuadPart + entry.UserTime.QuadPart );
        result.push_back( { total - static_cast<std::uint64_t>( entry.IdleTime.QuadPart ), total } );
    }
    return result;
}

void WProcessors::GetProcessCPUTime( std::int64_t& outKernel, std::int64_t& outUser )
{
    FILETIME created, ended, kernel, user;
    const BOOL succeeded = GetProcessTimes( GetCurrentProcess(), &created, &ended, &kernel, &user );
    GetTimes( succeeded, kernel, user, outKernel, outUser );
}

void WProcessors::GetThreadCPUTime( std::int64_t& outKernel, std::int64_t& outUser )
{
    FILETIME created, ended, kernel, user;
    const BOOL succeeded = GetThreadTimes( ::GetCurrentThread(), &created, &ended, &kernel, &user );
    GetTimes( succeeded, kernel, user, outKernel, outUser );
}
