#pragma once

#include "Threads/XConditionVariable.h"

#include <cstdint>
#include <vector>

/// Serialises each stage: pages pass through it in page order, whatever
/// threads work on them. A page that is in its second stage leaves the first one to the next page.
/// Threads: any. Waiting is a checkpoint.
class StageOrder
{
public:
    explicit StageOrder( std::uint32_t inPageCount ) : itsPassed( inPageCount ) {}

    /// Waits until all pages before this one have passed the stage.
    void WaitForStage( std::uint32_t inPage, std::uint32_t inStage );

    /// The page has passed the stage, or all stages at once.
    void Pass( std::uint32_t inPage, std::uint32_t inStage );
    void PassAll( std::uint32_t inPage );

private:
    XMutex itsMutex;
    XConditionVariable itsPagePassed;
    std::vector<std::uint32_t> itsPassed; ///< How many stages each page has passed. Guarded by the mutex.
    std::uint32_t itsFirst = 0;           ///< The first page that has not passed all. Guarded by the mutex.

    bool IsFree( std::uint32_t inPage, std::uint32_t inStage ) const;
    void SetPassed( std::uint32_t inPage, std::uint32_t inStages );
};
