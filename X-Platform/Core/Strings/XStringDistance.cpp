#include "Core/Strings/XString.h"

#include <algorithm>
#include <utility>

namespace
{
/// Costs from the start of the first text, up to one of its characters, to every start of the second.
using XRow = XVector<USize64>;

/// The restricted edit distance with swaps of neighbours. Only the last three rows of the table of costs are kept.
USize64 ComputeDistance( std::string_view inFirst, std::string_view inSecond )
{
    XRow beforeLast( inSecond.size() + 1 );
    XRow last( inSecond.size() + 1 );
    XRow current( inSecond.size() + 1 );
    for ( USize64 j = 0; j <= inSecond.size(); ++j )
        last[j] = j;
    for ( USize64 i = 1; i <= inFirst.size(); ++i )
    {
        current[0] = i;
        for ( USize64 j = 1; j <= inSecond.size(); ++j )
        {
            const bool differs = inFirst[i - 1] != inSecond[j - 1];
            // Deleting, inserting, replacing.
            current[j] = std::min( { last[j] + 1, current[j - 1] + 1, last[j - 1] + differs } );
            if ( i < 2 || j < 2 )
                continue;
            const bool isSwapped = inFirst[i - 1] == inSecond[j - 2] && inFirst[i - 2] == inSecond[j - 1];
            current[j] = std::min( current[j], beforeLast[j - 2] + 1 + !isSwapped );
        }
        std::swap( beforeLast, last );
        std::swap( last, current );
    }
    return last.back();
}
} // namespace

USize64 XString::FuzzyMatchLevenshtein( const XString& inOther, bool inIgnoreCase ) const
{
    if ( IsEmpty() )
        return inOther.GetLength();
    if ( inOther.IsEmpty() )
        return GetLength();
    if ( !inIgnoreCase )
        return ComputeDistance( GetStringView(), inOther.GetStringView() );
    XString first( *this );
    XString second( inOther );
    return ComputeDistance( first.Upper().GetStringView(), second.Upper().GetStringView() );
}

SSize64 XString::FindClosestLevenshteinMatch( const XVector<XString>& inCandidates, bool inIgnoreCase ) const
{
    SSize64 closest = kNotFound;
    USize64 closestDistance = kToEnd;
    for ( USize64 i = 0; i < inCandidates.size() && closestDistance != 0; ++i )
    {
        const USize64 distance = FuzzyMatchLevenshtein( inCandidates[i], inIgnoreCase );
        if ( distance >= closestDistance )
            continue;
        closest = static_cast<SSize64>( i );
        closestDistance = distance;
    }
    return closest;
}
