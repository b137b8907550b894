#pragma once

#include "Core/XMemStream.h"

#include <cstdlib>
#include <memory>

/// Ends the run, which the fuzzer reports, when something does not hold.
inline void Require( bool inHolds )
{
    if ( !inHolds )
        std::abort();
}

/// An object reads back what it writes, and then writes the same bytes. No error is allowed here.
inline void RequireRoundTrip( const XStorable& inObject ) noexcept
{
    XMemStream first;
    first.WriteObject( inObject );
    first.SeekTo( 0 );
    const std::unique_ptr<XStorable> again( first.ReadObject() );
    XMemStream second;
    second.WriteObject( again.get() );
    Require( first.IsAtEOF() && first.GetLength() == second.GetLength() );
    Require( std::memcmp( first.GetData(), second.GetData(), first.GetLength() ) == 0 );
}
