#pragma once

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <new>

/// Returns `inWork()`, translating std::bad_alloc into error 1012. Internal to the library.
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
