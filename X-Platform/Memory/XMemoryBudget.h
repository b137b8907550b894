#pragma once

#include "Core/XTypes.h"

#include <atomic>

/// The books of a memory budget: how many bytes may be in use, how many are and how many were at most.
/// Internal to the library.
/// Threads: any.
class XMemoryBudget
{
public:
    explicit XMemoryBudget( USize64 inLimit ) : itsLimit( inLimit ) {}

    void SetLimit( USize64 inLimit ) { itsLimit = inLimit; }
    USize64 GetLimit() const { return itsLimit; }
    USize64 GetInUse() const { return itsInUse; }
    USize64 GetPeak() const { return itsPeak; }
    void ResetPeak() { itsPeak = GetInUse(); }

    /// Enters `inSize` bytes if they fit. Returns whether they did.
    bool TryTake( USize64 inSize );
    void Give( USize64 inSize ) { itsInUse.fetch_sub( inSize ); }

    /// By how many bytes too much is in use for `inSize` more.
    USize64 GetShortage( USize64 inSize ) const;

private:
    void NotePeak( USize64 inInUse );

    std::atomic<USize64> itsLimit;
    std::atomic<USize64> itsInUse = 0;
    std::atomic<USize64> itsPeak = 0;
};
