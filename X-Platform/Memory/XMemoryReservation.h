#pragma once

#include "Ground/XTypes.h"

#include <algorithm>
#include <utility>

class XMemoryManager;

/// The share of the manager's budget that something in memory takes up, given back when the reservation goes.
/// Internal to the library.
/// Threads: the owner's.
class XMemoryReservation
{
public:
    explicit XMemoryReservation( XMemoryManager& inManager ) : itsManager( inManager ) {}
    XMemoryReservation( const XMemoryReservation& ) = delete;
    XMemoryReservation& operator=( const XMemoryReservation& ) = delete;
    ~XMemoryReservation() { Set( 0 ); }

    /// Takes or gives back the difference. Throws 1012, with everything as it was, when the budget has no room.
    void Set( USize64 inBytes );

    /// The same around work that needs the bytes, and still those it had, in the meantime. When the work throws, everything
    /// is as it was.
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

    /// Takes over what the other has reserved.
    void Swap( XMemoryReservation& ioOther );

    /// Leaves the bytes to somebody else, who has to give them back, and takes over such bytes.
    USize64 Release() { return std::exchange( itsBytes, 0 ); }
    void Adopt( USize64 inBytes ) { itsBytes += inBytes; }

private:
    XMemoryManager& itsManager;
    USize64 itsBytes = 0;
};
