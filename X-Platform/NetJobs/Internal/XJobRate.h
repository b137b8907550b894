#pragma once

#include "Ground/XTypes.h"

#include <algorithm>

/// Counts jobs in each of the last periods of a clock, the present one included, in constant memory: a ring with a place for
/// each period, which is emptied when a later period takes it.
/// Threads: as an integer.
class XJobRate
{
public:
    using XTimeMS = std::uint64_t;

    XJobRate( XTimeMS inPeriodMS, USize inPeriods ) : itsPeriodMS( inPeriodMS ), itsCounts( inPeriods ) {}

    /// A job of an earlier period than that of the last one counts in the latter.
    void Count( XTimeMS inNow )
    {
        const XTimeMS period = std::max( inNow / itsPeriodMS, itsLast );
        if ( itsTotal++ == 0 )
            itsFirst = itsLast = period;
        for ( XTimeMS i = std::min<XTimeMS>( period - itsLast, itsCounts.size() ); i > 0; --i )
            GetPlace( period + 1 - i ) = 0;
        itsLast = period;
        ++GetPlace( period );
    }

    /// The sum of all periods.
    std::uint64_t GetSum( XTimeMS inNow ) const
    {
        std::uint64_t sum = 0;
        ForEach( inNow, [&]( std::uint64_t inCount ) { sum += inCount; } );
        return sum;
    }

    /// The count of each period, the oldest first. Those before the first job are left out.
    XVector<std::uint64_t> GetCounts( XTimeMS inNow ) const
    {
        XVector<std::uint64_t> counts;
        ForEach( inNow, [&]( std::uint64_t inCount ) { counts.push_back( inCount ); } );
        return counts;
    }

private:
    template<class TVisit>
    void ForEach( XTimeMS inNow, const TVisit& inVisit ) const
    {
        if ( itsTotal == 0 )
            return;
        const XTimeMS now = inNow / itsPeriodMS;
        const XTimeMS oldest = now + 1 - std::min<XTimeMS>( now + 1, itsCounts.size() );
        for ( XTimeMS period = std::max( oldest, itsFirst ); period <= now; ++period )
            inVisit( period <= itsLast ? itsCounts[period % itsCounts.size()] : 0 );
    }

    std::uint64_t& GetPlace( XTimeMS inPeriod ) { return itsCounts[inPeriod % itsCounts.size()]; }

    XTimeMS itsPeriodMS;
    XVector<std::uint64_t> itsCounts;
    XTimeMS itsFirst = 0; // periods with a job
    XTimeMS itsLast = 0;
    std::uint64_t itsTotal = 0;
};
