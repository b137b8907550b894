#include "Memory/XMemoryBudget.h"

bool XMemoryBudget::TryTake( USize64 inSize )
{
    USize64 inUse = itsInUse.load();
    do
    {
        const USize64 limit = itsLimit;
        if ( inUse > limit || inSize > limit - inUse )
            return false;
    } while ( !itsInUse.compare_exchange_weak( inUse, inUse + inSize ) );
    NotePeak( inUse + inSize );
    return true;
}

USize64 XMemoryBudget::GetShortage( USize64 inSize ) const
{
    const USize64 limit = itsLimit;
    const USize64 inUse = itsInUse;
    const USize64 room = inUse < limit ? limit - inUse : 0;
    const USize64 excess = inUse > limit ? inUse - limit : 0;
    return excess + ( inSize > room ? inSize - room : 0 );
}

void XMemoryBudget::NotePeak( USize64 inInUse )
{
    USize64 peak = itsPeak.load( std::memory_order_relaxed );
    while ( peak < inInUse && !itsPeak.compare_exchange_weak( peak, inInUse ) )
    {
    }
}
