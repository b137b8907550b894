#pragma once

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <new>

/// Returns what a function returns; std::bad_alloc out of it becomes an exception with number 1012. Internal to the
/// library.
template<class TWork>
auto XTranslateBadAlloc( TWork inWork )
{
    try
    {
        return inWork();
    }
    catch ( const std::bad_alloc& )
    {
        XThrow( kErrorOutOfMemory );
    }
}
