#include "Threads/WThread.h"

#include "System/Linux/WErrno.h"
#include "System/WProcessors.h"
#include "System/WThreadID.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <fstream>
#include <pthread.h>
#include <sched.h>
#include <sstream>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

/// Has the C library load what takes exceptions through its own frames, such as those of pthread_once. Otherwise the
/// first exception there would load it, and where that one means a lack of memory, the process would be aborted.
[[maybe_unused]] const int sLoadedUnwinder = []
{
    void* frame = nullptr;
    return ::backtrace( &frame, 1 );
}();

/// The nice value with which the process was started.
int GetNiceValueOfProcess()
{
    static const int sNiceValue = getpriority( PRIO_PROCESS, static_cast<id_t>( getpid() ) );
    return sNiceValue;
}

/// Nice values for the relative priorities of the library.
int ToNiceValue( std::int32_t inRelativePriority )
{
    const int normal = GetNiceValueOfProcess();
    // The two extremes are absolute, the others relative to the process's own nice value.
    if ( inRelativePriority <= -15 )
        return 19;
    if ( inRelativePriority >= 15 )
        return -20;
    return std::clamp( normal - inRelativePriority * 5, -20, 19 );
}

} // namespace

std::uintptr_t WThread::StartSystemThread()
{
    const auto run = []( void* inThread ) -> void*
    { return reinterpret_cast<void*>( std::intptr_t( static_cast<WThread*>( inThread )->Run() ) ); };
    pthread_t thread;
    const int error = pthread_create( &thread, nullptr, run, this );
    if ( error == EAGAIN ) // here it means that there are too many threads, elsewhere an empty socket
    {
        WSystemError::SetLast( WSystemError::kNoSystemResources );
        XThrowLastSystemError();
    }
    if ( error != 0 )
        WThrowErrno( error );
    return std::bit_cast<std::uintptr_t>( thread );
}

void WThread::WaitForHandle( std::uintptr_t inHandle )
{
    const auto thread = std::bit_cast<pthread_t>( inHandle );
    if ( pthread_equal( thread, pthread_self() ) )
        pthread_detach( thread );
    else
        pthread_join( thread, nullptr );
}

bool WThread::TryToRelease( std::uintptr_t inHandle )
{
    return pthread_tryjoin_np( std::bit_cast<pthread_t>( inHandle ), nullptr ) == 0;
}

void WThread::SetPriority( std::int32_t inRelativePriority )
{
    const std::lock_guard lock( itsMutex ); // the ID stays this thread's meanwhile
    if ( itsThreadID != 0 &&
         setpriority( PRIO_PROCESS, itsThreadID, ToNiceValue( inRelativePriority ) ) != 0 )
        WThrowErrno();
}

void WThread::SetAffinity( std::uint64_t inMask )
{
    cpu_set_t processors;
    CPU_ZERO( &processors );
    const auto& systemNumbers = WProcessors::GetSystemNumbers();
    for ( std::size_t processor = 0; processor < systemNumbers.size(); ++processor )
    {
        // All that a mask can name means those that it cannot name too.
        const bool isAllowed = processor < 64 ? inMask >> processor & 1 : inMask == ~std::uint64_t( 0 );
        if ( isAllowed )
            CPU_SET( systemNumbers[processor], &processors );
    }
    const std::lock_guard lock( itsMutex );
    if ( itsThreadID != 0 &&
         sched_setaffinity( static_cast<pid_t>( itsThreadID ), sizeof( processors ), &processors ) != 0 )
        WThrowErrno();
}

void WThread::SetName( const char* inName )
{
    const std::lock_guard lock( itsMutex );
    if ( itsThreadID == WThreadID::GetCurrent() ) // much faster than by way of the file
    {
        prctl( PR_SET_NAME, inName );
        return;
    }
    const std::string path = "/proc/self/task/" + std::to_string( itsThreadID ) + "/comm";
    const int file = open( path.c_str(), O_WRONLY | O_CLOEXEC );
    if ( file < 0 )
        return;
    [[maybe_unused]] const auto written =
        write( file, inName, std::strlen( inName ) ); // cut short by the system
    close( file );
}

void WThread::GetCPUTime( std::int64_t& outKernel, std::int64_t& outUser ) const
{
    outKernel = outUser = 0;
    std::ifstream file( "/proc/self/task/" + std::to_string( GetThreadID() ) + "/stat" );
    std::string line;
    if ( !std::getline( file, line ) )
        return;
    // The name in parentheses may hold anything; the times are the 12th and 13th field after it.
    std::istringstream fields( line.substr( line.rfind( ')' ) + 1 ) );
    std::string skipped;
    for ( int field = 0; field < 11; ++field )
        fields >> skipped;
    std::int64_t userTicks = 0;
    std::int64_t kernelTicks = 0;
    fields >> userTicks >> kernelTicks;
    const std::int64_t microsecondsPerTick = 1'000'000 / sysconf( _SC_CLK_TCK );
    outUser = userTicks * microsecondsPerTick;
    outKernel = kernelTicks * microsecondsPerTick;
}

void WThread::Yield()
{
    sched_yield();
}
