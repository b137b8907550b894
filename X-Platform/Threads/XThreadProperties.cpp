#include "Threads/XThread.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "System/WProcessors.h"
#include "Threads/WThreadManager.h"

#include <algorithm>
#include <array>
#include <utility>

// The name and placement of a thread; the main thread; the process and its machine.

namespace
{

std::atomic<XThread*> sMainThread = nullptr;
std::atomic<std::uint32_t> sMainThreadID = 0;

std::int32_t GetRelativePriority( XThreadPriority inPriority )
{
    // The values of the system's interface on Windows, idle to time-critical; WThread translates them
    // elsewhere.
    static constexpr std::array<std::int32_t, 7> kRelativePriorities{ -15, -2, -1, 0, 1, 2, 15 };
    if ( inPriority >= kRelativePriorities.size() )
        XAssert( false );
    return kRelativePriorities[inPriority];
}

} // namespace

// ---- The thread

XString XThread::GetDebugName() const
{
    const XThreadLock lock( itsStates->mutex );
    return itsName;
}

void XThread::SetDebugName( const XString& inName )
{
    const XThreadLock lock( itsStates->mutex );
    itsName = inName;
    if ( !itsIsAcquired && itsThreadID != 0 )
        XSwallowErrors( [this] { itsImp->SetName( itsName.GetConstCharPtr() ); } );
}

std::int32_t XThread::GetThreadReturnCode() const
{
    const XThreadLock lock( itsStates->mutex );
    return itsReturnCode;
}

void XThread::SetThreadReturnCode( std::int32_t inReturnCode )
{
    const XThreadLock lock( itsStates->mutex );
    itsReturnCode = inReturnCode;
}

XThread::XThreadOptions XThread::SetThreadOptions( XThreadOptions inOptions )
{
    const XThreadLock lock( itsStates->mutex );
    return std::exchange( itsOptions, inOptions );
}

XThread::XThreadOptions XThread::AddThreadOptions( XThreadOptions inOptions )
{
    const XThreadLock lock( itsStates->mutex );
    return std::exchange( itsOptions, itsOptions | inOptions );
}

XThread::XThreadOptions XThread::RemoveThreadOptions( XThreadOptions inOptions )
{
    const XThreadLock lock( itsStates->mutex );
    return std::exchange( itsOptions, itsOptions & ~inOptions );
}

XThread::XThreadOptions XThread::GetThreadOptions() const
{
    const XThreadLock lock( itsStates->mutex );
    return itsOptions;
}

void XThread::SetThreadPriority( XThreadPriority inPriority )
{
    const std::int32_t relativePriority = GetRelativePriority( inPriority );
    const XThreadLock lock( itsStates->mutex );
    if ( inPriority == itsPriority )
        return;
    itsImp->SetPriority( relativePriority );
    itsPriority = inPriority;
}

XThreadPriority XThread::GetThreadPriority() const
{
    const XThreadLock lock( itsStates->mutex );
    return itsPriority;
}

void XThread::SetThreadAffinityMask( USize inMask )
{
    XAssert( inMask != USize( 0 ) );
    const XThreadLock lock( itsStates->mutex );
    itsImp->SetAffinity( inMask );
    itsAffinityMask = inMask;
}

USize XThread::GetThreadAffinityMask() const
{
    const XThreadLock lock( itsStates->mutex );
    return itsAffinityMask;
}

/// Gives the new thread its name, and the priority and affinity that were set before its start, as far as the
/// system permits. It has started with those of the thread that started it.
void XThread::ApplyPlacement()
{
    const XThreadLock lock( itsStates->mutex );
    XSwallowErrors( [this] { itsImp->SetName( itsName.GetConstCharPtr() ); } );
    XSwallowErrors( [this] { itsImp->SetPriority( GetRelativePriority( itsPriority ) ); } );
    XSwallowErrors( [this] { itsImp->SetAffinity( itsAffinityMask ); } );
    // A placement that the system refused is not an error of the thread that begins.
    XException::ResetLastError();
}

std::uint32_t XThread::GetThreadID() const
{
    const XThreadLock lock( itsStates->mutex );
    return itsThreadID;
}

XThread::XThreadState XThread::GetLastThreadState() const
{
    const XThreadLock lock( itsStates->mutex );
    return itsStates->current;
}

XThread::XThreadState XThread::GetNextThreadState() const
{
    return itsStates->requested;
}

void XThread::GetThreadCPUTime( std::int64_t& outKernel, std::int64_t& outUser ) const
{
    if ( GetCurrentThread() == this )
        WProcessors::GetThreadCPUTime( outKernel, outUser );
    else
        itsImp->GetCPUTime( outKernel, outUser );
}

// ---- The main thread

XThread* XThread::GetMainThread()
{
    return sMainThread;
}

std::uint32_t XThread::GetMainThreadID()
{
    const std::uint32_t id = sMainThreadID;
    return id != 0 ? id : WThreadID::GetMain();
}

void XThread::SetMainThread( XThread* inThread )
{
    sMainThread = inThread;
    // Stored beside the pointer: the ID is asked for often, and must not take the thread's mutex.
    sMainThreadID = inThread ? inThread->GetThreadID() : 0;
}

// ---- The process and the machine

std::uint32_t XThread::GetRunningThreadCount()
{
    return WThreadManager::GetRunningThreadCount();
}

std::uint32_t XThread::GetProcessorCount()
{
    return WProcessors::GetCount();
}

std::uint32_t XThread::GetPhysicalProcessorCoreCount()
{
    return static_cast<std::uint32_t>( WProcessors::GetCores().size() );
}

XVector<XVector<std::uint32_t>> XThread::GetCoreCPUIndexes()
{
    return WProcessors::GetCores();
}

USize XThread::GetAffinityMaskForCPU( std::uint32_t inCPUIndex )
{
    return inCPUIndex < 64 ? USize( 1 ) << inCPUIndex : 0;
}

USize XThread::GetAffinityMaskForCore( std::uint32_t inCoreIndex )
{
    const auto& indexes = WProcessors::GetCores();
    XAssert( inCoreIndex < indexes.size() );
    USize mask = 0;
    for ( const std::uint32_t index : indexes[inCoreIndex] )
        mask |= GetAffinityMaskForCPU( index );
    return mask;
}

USize XThread::GetAffinityMaskForAllCPUs()
{
    const std::uint32_t count = GetProcessorCount();
    if ( count == 0 )
        return 0;
    // A mask names at most 64 processors; WThread takes all bits to mean those beyond, too.
    return ~USize( 0 ) >> ( 64 - std::min( count, 64u ) );
}

XVector<double> XThread::GetPercentCPUUsage()
{
    return WProcessors::GetPercentLoads();
}

void XThread::GetProcessCPUTime( std::int64_t& outKernel, std::int64_t& outUser )
{
    WProcessors::GetProcessCPUTime( outKernel, outUser );
}
