#pragma once

#include "Ground/XTypes.h"

#include <algorithm>
#include <utility>

class XMemoryManager;

/// A share of the manager's budget, released when the reservation is destroyed.
/// A member of the blocks and their storage, installed because their headers need it.
/// Threads: those of its owner.
class XMemoryReservation
{
public:
    explicit XMemoryReservation( XMemoryManager& inManager ) : itsManager( inManager ) {}
    XMemoryReservation( const XMemoryReservation& ) = delete;
    XMemoryReservation& operator=( const XMemoryReservation& ) = delete;
    ~XMemoryReservation() { Set( 0 ); }

    /// Reserves or releases the difference. Throws 1012, with nothing changed, if the budget has no room.
    void Set( USize64 inBytes );

    /// Sets the reservation to `inBytes`, and reserves the larger of the old and the new size while `inWork`
    /// runs. If `inWork` throws, nothing changes.
    template<class TWork>
    void ReserveDuring( USize64 inBytes, TWork inWork )
    {
        const USize64 before = itsBytes;
        Set( ( std::max )( before, inBytes ) );
        try
        {
            inWork();
        }
        catch ( ... )
        {
            Set( before );
            throw;
        }
        Set( inBytes );
    }

    USize64 GetBytes() const { return itsBytes; }

    /// Release transfers the responsibility for the bytes to the caller; Adopt takes it over.
    USize64 Release() { return std::exchange( itsBytes, 0 ); }
    void Adopt( USize64 inBytes ) { itsBytes += inBytes; }

private:
    XMemoryManager& itsManager;
    USize64 itsBytes = 0;
};
