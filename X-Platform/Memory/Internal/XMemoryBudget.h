#pragma once

#include "Ground/XTypes.h"

#include <atomic>

/// Accounts for a memory budget: the limit, the bytes in use and their peak. Spare bytes are not in use, but
/// are not available to others until they are released.
/// Internal to the library.
/// Threads: any.
class XMemoryBudget
{
public:
    explicit XMemoryBudget( USize64 inLimit ) : itsLimit( inLimit ) {}

    void SetLimit( USize64 inLimit ) { itsLimit = inLimit; }
    USize64 GetLimit() const { return itsLimit; }
    USize64 GetInUse() const;
    USize64 GetPeak() const { return itsPeak; }
    void ResetPeak() { itsPeak = GetInUse(); }

    /// Adds `inSize` bytes in use if they fit. Returns whether they did.
    bool TryTake( USize64 inSize );
    void Give( USize64 inSize ) { itsTaken.fetch_sub( inSize ); }

    /// Spare turns bytes in use into spare ones; Reuse is the reverse.
    void Spare( USize64 inSize ) { itsSpare.fetch_add( inSize ); }
    void Reuse( USize64 inSize );
    void GiveSpare( USize64 inSize );
    USize64 GetSpare() const { return itsSpare; }

    /// The number of bytes that must be released before `inSize` more fit.
    USize64 GetShortage( USize64 inSize ) const;

private:
    USize64 GetInUse( USize64 inTaken ) const;
    void NotePeak( USize64 inInUse );

    std::atomic<USize64> itsLimit;
    std::atomic<USize64> itsTaken = 0; // in use or spare
    std::atomic<USize64> itsSpare = 0;
    std::atomic<USize64> itsPeak = 0;
};
