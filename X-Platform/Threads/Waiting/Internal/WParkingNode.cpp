#include "Threads/Waiting/Internal/WParkingNode.h"

#include "System/WFutex.h"
#include "System/WProcessors.h"
#include "Threads/Waiting/WThreadAlert.h"

// The word has three bits. The sleeper sets kSleeping by a compare-and-swap from exactly the value it has
// checked and sleeps on the new value, so a release in between either fails the swap or changes the word
// before the futex compares it. Release and Alert wake the futex only if kSleeping was set: releasing a
// thread that still spins costs no system call.
//
// Release is the last access: from the moment kReleased is visible, the waiting thread may return and its
// stack frame, which contains the node, may be gone. The wake then uses only the address.

namespace
{

// Bits of the word that the thread sleeps on.
constexpr std::uint32_t kReleased = 1;
constexpr std::uint32_t kAlerted = 2;
constexpr std::uint32_t kSleeping = 4;

// Waking a thread on another processor takes some 25 microseconds, so a wait that ends within a few is better spun.
constexpr std::uint32_t kSpinTurns = 200;

// A thread whose waits have proved long this often in a row spins in every so manieth wait only.
constexpr std::uint32_t kLongWaitsInARow = 2;
constexpr std::uint32_t kWaitsPerTrial = 16;

thread_local std::uint32_t sLongWaits = 0;

bool IsSpinningWorthwhile()
{
    return WProcessors::GetCount() > 1 &&
        ( sLongWaits < kLongWaitsInARow || sLongWaits % kWaitsPerTrial == 0 );
}

} // namespace

WWaitResult WParkingNode::Wait( const WDeadline& inDeadline, bool inAlertable )
{
    if ( !inDeadline.HasPassed() && SpinForRelease() )
        return kWaitSucceeded;
    WThreadAlert* alert = inAlertable ? WThreadAlert::GetCurrent() : nullptr;
    if ( !alert )
        return SleepUntilWoken( inDeadline );
    if ( !alert->BeginWait( *this ) )
        return kWaitAlerted;
    const WWaitResult result = SleepUntilWoken( inDeadline );
    alert->EndWait( result == kWaitAlerted );
    itsWord.fetch_and( ~kAlerted, std::memory_order_relaxed );
    return result;
}

void WParkingNode::WaitForRelease()
{
    SleepUntilWoken( WDeadline( kNoTimeout ) );
}

void WParkingNode::Release()
{
    std::atomic<std::uint32_t>* const word = &itsWord; // the node may be gone after the next step
    if ( word->fetch_or( kReleased, std::memory_order_release ) & kSleeping )
        WFutex::Wake( word );
}

void WParkingNode::Alert()
{
    if ( itsWord.fetch_or( kAlerted, std::memory_order_relaxed ) & kSleeping )
        WFutex::Wake( &itsWord );
}

bool WParkingNode::SpinForRelease() const
{
    const std::uint32_t turns = IsSpinningWorthwhile() ? kSpinTurns : 1;
    for ( std::uint32_t turn = 0; turn < turns; ++turn )
    {
        if ( itsWord.load( std::memory_order_acquire ) & kReleased )
        {
            sLongWaits = 0;
            return true;
        }
        WFutex::Pause();
    }
    ++sLongWaits;
    return false;
}

WWaitResult WParkingNode::SleepUntilWoken( const WDeadline& inDeadline )
{
    for ( ;; )
    {
        std::uint32_t word = itsWord.load( std::memory_order_acquire );
        if ( word & kReleased )
            return kWaitSucceeded;
        if ( word & kAlerted )
            return kWaitAlerted;
        if ( !( word & kSleeping ) && !itsWord.compare_exchange_weak( word, word | kSleeping ) )
            continue;
        if ( !WFutex::Wait( itsWord, word | kSleeping, inDeadline ) )
            return kWaitTimedOut;
    }
}
