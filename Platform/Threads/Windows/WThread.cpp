#include "Threads/WThread.h"

#include "Ground/XFail.h"
#include "System/WCodePage.h"
#include "System/WProcessors.h"
#include "System/WSystemError.h"
#include "System/WThreadID.h"

#include <cerrno>
#include <process.h>
#include <windows.h>

#include "WNoSystemMacros.h" // needs to be behind the header above

// A thread is started with _beginthreadex, which initialises the C library for it. Properties are set by way
// of a handle that is opened for the thread ID when it is needed; itsMutex keeps the ID this thread's
// meanwhile: after its end the system could give the ID to another one.

namespace
{

/// An open handle of the thread with this ID.
class ThreadHandle
{
public:
    ThreadHandle( std::uint32_t inThreadID, DWORD inAccess )
        : itsHandle( OpenThread( inAccess, FALSE, inThreadID ) )
    {
        if ( !itsHandle )
            XThrowLastSystemError();
    }
    ThreadHandle( const ThreadHandle& ) = delete;
    ThreadHandle& operator=( const ThreadHandle& ) = delete;
    ~ThreadHandle() { CloseHandle( itsHandle ); }

    operator HANDLE() const { return itsHandle; }

private:
    HANDLE itsHandle;
};

std::int64_t ToMicroseconds( const FILETIME& inTime )
{
    return static_cast<std::int64_t>( std::uint64_t( inTime.dwHighDateTime ) << 32 | inTime.dwLowDateTime ) /
        10;
}

} // namespace

std::uintptr_t WThread::StartSystemThread()
{
    const auto run = []( void* inThread ) -> unsigned
    { return static_cast<unsigned>( static_cast<WThread*>( inThread )->Run() ); };
    const std::uintptr_t handle = _beginthreadex( nullptr, 0, run, this, 0, nullptr );
    if ( handle != 0 )
        return handle;
    // Too many threads, or a required resource is exhausted: the system's last error depends on which.
    if ( errno == EAGAIN || errno == EACCES )
        WSystemError::SetLast( WSystemError::kNoSystemResources );
    XThrowLastSystemError();
}

void WThread::WaitForHandle( std::uintptr_t inHandle )
{
    const auto thread = reinterpret_cast<HANDLE>( inHandle );
    if ( ::GetThreadId( thread ) != WThreadID::GetCurrent() )
        WaitForSingleObject( thread, INFINITE );
    CloseHandle( thread );
}

bool WThread::TryToRelease( std::uintptr_t inHandle )
{
    const auto thread = reinterpret_cast<HANDLE>( inHandle );
    if ( WaitForSingleObject( thread, 0 ) != WAIT_OBJECT_0 )
        return false;
    CloseHandle( thread );
    return true;
}

void WThread::SetPriority( std::int32_t inRelativePriority )
{
    const std::lock_guard lock( itsMutex ); // the ID stays this thread's meanwhile
    if ( itsThreadID == 0 )
        return;
    const ThreadHandle thread( itsThreadID, THREAD_SET_INFORMATION );
    if ( !SetThreadPriority( thread, inRelativePriority ) )
        XThrowLastSystemError();
}

void WThread::SetAffinity( std::uint64_t inMask )
{
    const std::lock_guard lock( itsMutex );
    if ( itsThreadID == 0 )
        return;
    const ThreadHandle thread( itsThreadID, THREAD_SET_INFORMATION | THREAD_QUERY_INFORMATION );
    DWORD_PTR processors = 0;
    const auto& systemNumbers = WProcessors::GetSystemNumbers();
    for ( std::size_t processor = 0; processor < systemNumbers.size(); ++processor )
        // The mask has our numbers of processors.
        if ( inMask >> processor & 1 )
            processors |= DWORD_PTR( 1 ) << systemNumbers[processor];
    if ( SetThreadAffinityMask( thread, processors ) == 0 )
        XThrowLastSystemError();
}

/// Older systems have no such names.
void WThread::SetName( const char* inName )
{
    using SetDescription = HRESULT( WINAPI* )( HANDLE, PCWSTR );
    static const auto setDescription = reinterpret_cast<SetDescription>( reinterpret_cast<void*>(
        GetProcAddress( GetModuleHandleW( L"kernel32.dll" ), "SetThreadDescription" ) ) );
    const std::lock_guard lock( itsMutex );
    if ( itsThreadID == 0 || !setDescription )
        return;
    const auto name = WCodePage::AnsiToWide( inName );
    const ThreadHandle thread( itsThreadID, THREAD_SET_LIMITED_INFORMATION );
    setDescription( thread, name.c_str() );
}

void WThread::GetCPUTime( std::int64_t& outKernel, std::int64_t& outUser ) const
{
    outKernel = outUser = 0;
    const std::lock_guard lock( itsMutex );
    if ( itsThreadID == 0 )
        return;
    const ThreadHandle thread( itsThreadID, THREAD_QUERY_INFORMATION );
    FILETIME created, ended, kernel, user;
    if ( !GetThreadTimes( thread, &created, &ended, &kernel, &user ) )
        XThrowLastSystemError();
    outKernel = ToMicroseconds( kernel );
    outUser = ToMicroseconds( user );
}

void WThread::Yield()
{
    SwitchToThread();
}
