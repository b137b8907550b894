#pragma once

#include "Ground/XTypes.h"

#include <atomic>

/// The books of a memory budget: how many bytes may be in use, how many are and how many were at most. Bytes that are
/// spare are not in use, but are not free for others either until they are given back.
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

    /// Enters `inSize` bytes if they fit. Returns whether they did.
    bool TryTake( USize64 inSize );
    void Give( USize64 inSize ) { itsTaken.fetch_sub( inSize ); }

    /// Makes bytes in use spare ones, and the other way round.
    void Spare( USize64 inSize ) { itsSpare.fetch_add( inSize ); }
    void Reuse( USize64 inSize );
    void GiveSpare( USize64 inSize );
    USize64 GetSpare() const { return itsSpare; }

    /// By how many bytes too much is taken for `inSize` more.
    USize64 GetShortage( USize64 inSize ) const;

private:
    USize64 GetInUse( USize64 inTaken ) const;
    void NotePeak( USize64 inInUse );

    std::atomic<USize64> itsLimit;
    std::atomic<USize64> itsTaken = 0; // in use or spare
    std::atomic<USize64> itsSpare = 0;
    std::atomic<USize64> itsPeak = 0;
};
