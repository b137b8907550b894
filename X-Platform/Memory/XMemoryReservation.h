#pragma once

#include "Core/XTypes.h"

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

    USize64 GetBytes() const { return itsBytes; }

    /// Takes over what the other has reserved.
    void Swap( XMemoryReservation& ioOther );

private:
    XMemoryManager& itsManager;
    USize64 itsBytes = 0;
};
