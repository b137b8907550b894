#include "WThread.h"

#include "Core/XFail.h"
#include "WSystemError.h"
#include "WThreadID.h"

#include <cerrno>
#include <process.h>
#include <utility>
#include <windows.h>

#include "WNoSystemMacros.h" // needs to be behind the header above

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

void WThread::StartSystemThread()
{
    const auto run = []( void* inThread ) -> unsigned
    { return static_cast<unsigned>( static_cast<WThread*>( inThread )->Run() ); };
    itsHandle = _beginthreadex( nullptr, 0, run, this, 0, nullptr );
    if ( itsHandle != 0 )
        return;
    // Too many threads, or none of what one takes: the system's last error differs with what that was.
    if ( errno == EAGAIN || errno == EACCES )
        WSystemError::SetLast( WSystemError::kNoSystemResources );
    XThrowLastSystemError();
}

void WThread::WaitForSystemThread()
{
    if ( itsHandle == 0 )
        return;
    const auto thread = reinterpret_cast<HANDLE>( std::exchange( itsHandle, 0 ) );
    if ( ::GetThreadId( thread ) != WThreadID::GetCurrent() )
        WaitForSingleObject( thread, INFINITE );
    CloseHandle( thread );
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
    if ( SetThreadAffinityMask( thread, inMask ) == 0 )
        XThrowLastSystemError();
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
