#pragma once

#include "Core/Errors/XException.h"
#include "Core/Errors/XInternalErrorHandlers.h"
#include "Core/Streams/XMemStream.h"
#include "Startup/WInitCore.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <memory>

/// Makes the library ready, once, and leaves out the traces of internal errors, which take long.
inline void PrepareCore()
{
    struct QuietCore
    {
        WInitCore core;
        QuietCore() { XInternalErrorHandlers::Install( {} ); }
    };
    static const QuietCore sCore;
}

/// Ends the run, which the fuzzer reports, when something does not hold.
inline void Require( bool inHolds )
{
    if ( !inHolds )
        std::abort();
}

/// Does what reads outside bytes. It may fail with errors of these numbers, and with no others.
template<class TRead>
void RequireDocumentedErrors( std::initializer_list<std::uint32_t> inNumbers, TRead inRead )
{
    try
    {
        inRead();
    }
    catch ( const XException& error )
    {
        Require( std::ranges::find( inNumbers, error.GetErrorNumber() ) != inNumbers.end() );
    }
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
