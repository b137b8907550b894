#pragma once

#include "Threads/XConditionVariable.h"

#include <cstdint>
#include <vector>

/// Serialises each stage: pages pass through it in page order, whichever threads work on them. A page in its
/// second stage leaves the first one to the next page.
/// Threads: any. Waiting is a checkpoint.
class StageOrder
{
public:
    explicit StageOrder( std::uint32_t inPageCount ) : itsPassed( inPageCount ) {}

    /// Waits until all pages before this one have passed the stage.
    void WaitForStage( std::uint32_t inPage, std::uint32_t inStage );

    /// Reports that the page has passed the stage, or all stages at once.
    void Pass( std::uint32_t inPage, std::uint32_t inStage );
    void PassAll( std::uint32_t inPage );

private:
    XMutex itsMutex;
    XConditionVariable itsPagePassed;
    /// Number of stages that each page has passed. Guarded by the mutex.
    std::vector<std::uint32_t> itsPassed;
    /// The first page that has not passed all stages. Guarded by the mutex.
    std::uint32_t itsFirst = 0;

    bool IsFree( std::uint32_t inPage, std::uint32_t inStage ) const;
    void SetPassed( std::uint32_t inPage, std::uint32_t inStages );
};
