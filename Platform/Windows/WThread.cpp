#include "WThread.h"

#include "Core/XFail.h"
#include "WThreadID.h"

#include <process.h>
#include <windows.h>

#undef Yield // an empty macro of the system's headers

struct WThread::Handle
{
    HANDLE thread;
};

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

WThread::WThread( WThreadBody& inBody ) : itsBody( inBody ) {}

WThread::~WThread()
{
    if ( GetThreadID() != 0 )
        Ended();
    WaitForSystemThread();
}

void WThread::StartSystemThread()
{
    auto handle = std::make_unique<Handle>();
    const auto run = []( void* inThread ) -> unsigned
    { return static_cast<unsigned>( static_cast<WThread*>( inThread )->Run() ); };
    handle->thread = reinterpret_cast<HANDLE>( _beginthreadex( nullptr, 0, run, this, 0, nullptr ) );
    if ( !handle->thread )
        XThrowLastSystemError();
    itsHandle = std::move( handle );
}

void WThread::WaitForSystemThread()
{
    if ( !itsHandle )
        return;
    if ( ::GetThreadId( itsHandle->thread ) != WThreadID::GetCurrent() )
        WaitForSingleObject( itsHandle->thread, INFINITE );
    CloseHandle( itsHandle->thread );
    itsHandle.reset();
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
