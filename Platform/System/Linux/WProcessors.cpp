#include "System/WProcessors.h"

#include <fstream>
#include <map>
#include <sched.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

// Processors are numbered here from 0 to GetCount() - 1: those that the process was allowed to use when it
// was first asked, in the order of the system's numbers. A container or a job may permit only some, with
// numbers that have gaps; masks and indexes of the library always mean our own numbers (GetSystemNumbers
// converts them).

namespace
{

std::uint32_t ReadTopology( std::uint32_t inProcessor, const char* inName, std::uint32_t inDefault )
{
    std::ifstream file(
        "/sys/devices/system/cpu/cpu" + std::to_string( inProcessor ) + "/topology/" + inName );
    std::uint32_t value = 0;
    return file >> value ? value : inDefault;
}

std::int64_t ToMicroseconds( const timeval& inTime )
{
    return std::int64_t( inTime.tv_sec ) * 1'000'000 + inTime.tv_usec;
}

void GetUsage( int inWho, std::int64_t& outKernel, std::int64_t& outUser )
{
    rusage usage{};
    getrusage( inWho, &usage );
    outKernel = ToMicroseconds( usage.ru_stime );
    outUser = ToMicroseconds( usage.ru_utime );
}

} // namespace

/// Of the first thread: the present one may have been bound since.
XVector<std::uint32_t> WProcessors::FindSystemNumbers()
{
    XVector<std::uint32_t> numbers;
    cpu_set_t processors;
    if ( sched_getaffinity( getpid(), sizeof( processors ), &processors ) == 0 )
    {
        for ( std::uint32_t number = 0; number < CPU_SETSIZE; ++number )
            if ( CPU_ISSET( number, &processors ) )
                numbers.push_back( number );
        return numbers;
    }
    const long count = sysconf( _SC_NPROCESSORS_ONLN );
    for ( std::uint32_t number = 0; number < count; ++number )
        numbers.push_back( number );
    return numbers;
}

/// Where the system does not tell which core a processor belongs to, each is a core of its own.
XVector<XVector<std::uint32_t>> WProcessors::FindCores()
{
    std::map<std::pair<std::uint32_t, std::uint32_t>, XVector<std::uint32_t>> cores;
    for ( std::uint32_t processor = 0; processor < GetCount(); ++processor )
    {
        const std::uint32_t number = GetSystemNumbers()[processor];
        const std::uint32_t package = ReadTopology( number, "physical_package_id", 0 );
        cores[{ package, ReadTopology( number, "core_id", number ) }].push_back( processor );
    }
    XVector<XVector<std::uint32_t>> result;
    for ( auto& [id, processors] : cores )
        result.push_back( std::move( processors ) );
    return result;
}

XVector<WProcessors::Times> WProcessors::ReadTimes()
{
    XVector<Times> result;
    std::ifstream file( "/proc/stat" );
    std::string line;
    std::getline( file, line ); // of all processors together
    while ( std::getline( file, line ) && line.starts_with( "cpu" ) )
    {
        std::istringstream fields( line );
        std::string name;
        fields >> name;
        Times times;
        std::uint64_t ticks = 0;
        // user nice system idle iowait irq softirq steal
        for ( int field = 0; field < 8 && fields >> ticks; ++field )
        {
            times.total += ticks;
            times.busy += field == 3 || field == 4 ? 0 : ticks;
        }
        result.push_back( times );
    }
    return result;
}

void WProcessors::GetProcessCPUTime( std::int64_t& outKernel, std::int64_t& outUser )
{
    GetUsage( RUSAGE_SELF, outKernel, outUser );
}

void WProcessors::GetThreadCPUTime( std::int64_t& outKernel, std::int64_t& outUser )
{
    GetUsage( RUSAGE_THREAD, outKernel, outUser );
}
