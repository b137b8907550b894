#include "Measuring/StageOrder.h"

#include "Threads/XThreadLock.h"

#include <algorithm>
#include <limits>

// A page may enter a stage when all pages before it have passed that stage. `itsPassed` counts the stages per
// page; pages that have ended count as having passed all. `itsFirst` skips the pages at the front that have
// passed all stages, so a check takes time in the number of active pages instead of that of all pages.
//
// Every change wakes all waiters: each of them waits for a different combination of page and stage, and there
// are no more of them than workers.

namespace
{
constexpr auto kAllStages = std::numeric_limits<std::uint32_t>::max();
} // namespace

void StageOrder::WaitForStage( std::uint32_t inPage, std::uint32_t inStage )
{
    constexpr bool kIsAlertable = true;
    const XThreadLock lock( itsMutex );
    while ( !IsFree( inPage, inStage ) )
        itsPagePassed.Wait( itsMutex, kNoTimeout, kIsAlertable );
}

void StageOrder::Pass( std::uint32_t inPage, std::uint32_t inStage )
{
    SetPassed( inPage, inStage + 1 );
}

void StageOrder::PassAll( std::uint32_t inPage )
{
    SetPassed( inPage, kAllStages );
}

bool StageOrder::IsFree( std::uint32_t inPage, std::uint32_t inStage ) const
{
    const auto begin = itsPassed.begin() + std::min( itsFirst, inPage );
    return std::all_of(
        begin, itsPassed.begin() + inPage, [&]( std::uint32_t inPassed ) { return inPassed > inStage; } );
}

void StageOrder::SetPassed( std::uint32_t inPage, std::uint32_t inStages )
{
    const XThreadLock lock( itsMutex );
    itsPassed[inPage] = inStages;
    while ( itsFirst < itsPassed.size() && itsPassed[itsFirst] == kAllStages )
        ++itsFirst;
    itsPagePassed.Broadcast();
}
