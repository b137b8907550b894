#include "Memory/Internal/XMemoryBudget.h"

#include <algorithm>

bool XMemoryBudget::TryTake( USize64 inSize )
{
    USize64 taken = itsTaken.load();
    do
    {
        const USize64 limit = itsLimit;
        if ( taken > limit || inSize > limit - taken )
            return false;
    } while ( !itsTaken.compare_exchange_weak( taken, taken + inSize ) );
    NotePeak( GetInUse( taken + inSize ) );
    return true;
}

void XMemoryBudget::Reuse( USize64 inSize )
{
    itsSpare.fetch_sub( inSize );
    NotePeak( GetInUse() );
}

void XMemoryBudget::GiveSpare( USize64 inSize )
{
    itsTaken.fetch_sub( inSize );
    itsSpare.fetch_sub( inSize );
}

USize64 XMemoryBudget::GetInUse() const
{
    return GetInUse( itsTaken );
}

/// Other threads may change one number between the readings of both.
USize64 XMemoryBudget::GetInUse( USize64 inTaken ) const
{
    return inTaken - std::min<USize64>( inTaken, itsSpare );
}

USize64 XMemoryBudget::GetShortage( USize64 inSize ) const
{
    const USize64 limit = itsLimit;
    const USize64 taken = itsTaken;
    const USize64 room = taken < limit ? limit - taken : 0;
    const USize64 excess = taken > limit ? taken - limit : 0;
    return excess + ( inSize > room ? inSize - room : 0 );
}

void XMemoryBudget::NotePeak( USize64 inInUse )
{
    USize64 peak = itsPeak.load( std::memory_order_relaxed );
    while ( peak < inInUse && !itsPeak.compare_exchange_weak( peak, inInUse ) )
    {
    }
}
