#include "Jobs/XProgress.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Jobs/XProgressStrategy.h"
#include "Threads/XThread.h"

#include <algorithm>
#include <cmath>

// Each thread has its strategy in a slot of thread-local data. The progresses of a thread form a chain
// through itsSuperProgress, the innermost of which the strategy knows (GetLastProgress); as they are objects
// on the stack, they are destroyed in the opposite order. A progress that has no bar reports its fraction to
// the one around it, which adds it to its own current step, and so on up to one with a bar or the outermost
// one.
//
// Reporting is cheap enough for inner loops: an update, the delivery of events (Yield) and the check for an
// abort happen only if itsUpdateTimer has expired. The value never decreases, so a repeated or late report
// does not move a bar back.
//
// An abort marks all progresses of the chain. The one that throws 1001 clears its own mark and those around
// it, so that handlers can continue with other work.

namespace
{

// A nested progress moves its parent within the parent's current step and never reaches the next one by
// itself.
constexpr double kMostOfAStep = 0.999;

void DeleteStrategy( std::uint64_t inSlot )
{
    delete reinterpret_cast<XProgressStrategy*>( inSlot );
}

} // namespace

XProgress::XProgress(
    std::uint64_t inMaximum, XProgressType inType, std::uint32_t inDelayMS, bool inForceBar )
    : itsMaximum( inMaximum ), itsType( inType )
{
    XProgressStrategy* strategy = SafeGetProgressStrategy();
    if ( !strategy || strategy->GetProgressBarLockCount() != 0 )
        return;
    itsStrategy = strategy;
    itsSuperProgress = strategy->GetLastProgress();
    strategy->IncrementProgressDepth();
    itsLevel = strategy->GetProgressDepth();
    try
    {
        strategy->ProgressCreated( *this, inForceBar, inDelayMS );
    }
    catch ( ... )
    {
        strategy->DecrementProgressDepth();
        throw;
    }
    strategy->SetLastProgress( this );
}

XProgress::XProgress( const XProgress& inOther )
    : itsProgress( inOther.itsProgress ), itsMaximum( inOther.itsMaximum ), itsType( inOther.itsType ),
      itsIsIndeterminate( inOther.itsIsIndeterminate )
{
}

XProgress& XProgress::operator=( const XProgress& inOther )
{
    itsProgress = inOther.itsProgress;
    itsMaximum = inOther.itsMaximum;
    itsType = inOther.itsType;
    itsIsIndeterminate = inOther.itsIsIndeterminate;
    return *this;
}

XProgress::~XProgress()
{
    if ( !itsStrategy )
        return;
    itsStrategy->SetLastProgress( itsSuperProgress );
    itsStrategy->DecrementProgressDepth();
    try
    {
        itsStrategy->ProgressDestroyed( *this );
    }
    catch ( ... ) // what is shown does not concern the work
    {
    }
}

// ---- Reporting

void XProgress::SetProgress( double inValue )
{
    const double value = std::min( inValue, static_cast<double>( itsMaximum ) );
    if ( value > itsProgress )
        itsProgress = value;
    itsIsIndeterminate = false;
    UpdateIfDue();
}

void XProgress::Increment()
{
    SetProgress( std::floor( itsProgress ) + 1.0 );
}

void XProgress::SetProgressIndeterminate()
{
    itsIsIndeterminate = true;
    UpdateIfDue();
}

void XProgress::SetMaxProgress( std::uint64_t inMaximum )
{
    if ( inMaximum != itsMaximum )
    {
        itsMaximum = inMaximum;
        if ( itsStrategy )
            UpdateProgress();
    }
    YieldAndCheckAbort();
}

void XProgress::SetMessage( const XString& inMessage )
{
    if ( itsStrategy )
        itsStrategy->SetMessage( *this, inMessage );
    YieldAndCheckAbort();
}

XString XProgress::GetMessage() const
{
    return itsStrategy ? itsStrategy->GetMessage( *this ) : XString();
}

void XProgress::SetTitle( const XString& inTitle )
{
    if ( itsStrategy && !itsSuperProgress )
        itsStrategy->SetTitle( inTitle );
}

void XProgress::YieldAndCheckAbort()
{
    Yield();
    CheckAbort();
}

void XProgress::UpdateIfDue()
{
    if ( !itsUpdateTimer.HasExpired() )
        return;
    if ( itsStrategy )
        UpdateProgress();
    YieldAndCheckAbort();
    itsUpdateTimer.Restart();
}

void XProgress::UpdateProgress()
{
    if ( itsIsIndeterminate )
        itsStrategy->SetProgressIndeterminate( *this );
    else if ( !IsMaster() )
        itsSuperProgress->SetSubProgress( itsProgress, itsMaximum );
    else if ( itsMaximum != 0 )
    {
        const double perMille = itsProgress * 1000.0 / static_cast<double>( itsMaximum );
        itsStrategy->SetProgress( *this, static_cast<std::uint32_t>( std::min( perMille, 1000.0 ) ) );
    }
}

bool XProgress::IsMaster() const
{
    return !itsSuperProgress || itsStrategy->HasProgressBar( *this );
}

/// Sets the value within the current step, as reported by a nested progress without a bar.
void XProgress::SetSubProgress( double inProgress, std::uint64_t inMaximum )
{
    const bool valid = IsValid();
    XAssert( valid );
    const double fraction = inMaximum == 0 ? 0.0 : inProgress / static_cast<double>( inMaximum );
    const double value = std::floor( itsProgress ) + std::clamp( fraction, 0.0, kMostOfAStep );
    itsProgress = std::max( itsProgress, std::min( value, static_cast<double>( itsMaximum ) ) );
    UpdateProgress();
}

// ---- Abort

void XProgress::CheckAbort()
{
    const XProgressStrategy* strategy = SafeGetProgressStrategy();
    if ( strategy && strategy->GetAbortLockCount() != 0 )
        return;
    if ( itsIsAbortRequested )
    {
        // Once for each abort.
        SetAbortRequested( this, false );
        XThrow( kErrorCancelled );
    }
    // A stop of the thread is noticed in the same places as an abort.
    XThread::TestCancelCurrentThread();
}

void XProgress::Abort()
{
    if ( const XProgressStrategy* strategy = SafeGetProgressStrategy() )
        SetAbortRequested( strategy->GetLastProgress(), true );
}

void XProgress::CancelAbort()
{
    if ( const XProgressStrategy* strategy = SafeGetProgressStrategy() )
        SetAbortRequested( strategy->GetLastProgress(), false );
}

/// For a progress and all around it.
void XProgress::SetAbortRequested( XProgress* inInnermost, bool inIsRequested )
{
    for ( XProgress* progress = inInnermost; progress; progress = progress->itsSuperProgress )
        progress->itsIsAbortRequested = inIsRequested;
}

void XProgress::Yield()
{
    XProgressStrategy* strategy = SafeGetProgressStrategy();
    if ( strategy && strategy->GetAbortLockCount() == 0 && strategy->GetProgressBarLockCount() == 0 )
        strategy->Yield();
}

// ---- The thread's strategy

XProgressStrategy* XProgress::GetProgressStrategy()
{
    const XThread* thread = XThread::GetCurrentThread();
    XAssert( thread );
    return SafeGetProgressStrategy();
}

XProgressStrategy* XProgress::SafeGetProgressStrategy()
{
    return static_cast<XProgressStrategy*>( XTLSRegistry::GetDataPtr( XTLSRegistry::kProgressStrategy ) );
}

void XProgress::SetProgressStrategy( XProgressStrategy* inStrategy )
{
    XTLSRegistry::SetCleanUp( XTLSRegistry::kProgressStrategy, DeleteStrategy );
    XTLSRegistry::RegisterDataPtr( XTLSRegistry::kProgressStrategy, inStrategy );
}

void XProgress::DeleteProgressStrategy()
{
    XProgressStrategy* strategy = GetProgressStrategy();
    SetProgressStrategy( nullptr );
    delete strategy;
}

bool XProgress::IsProgressBarUp()
{
    const XProgressStrategy* strategy = SafeGetProgressStrategy();
    return strategy && strategy->GetProgressDepth() != 0;
}
