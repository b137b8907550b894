#include "Core/Storables/XRefCountable.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

void XRefCountable::AddReference() const
{
    if ( itsReferenceCount.fetch_add( 1, std::memory_order_relaxed ) != 0 )
        return;
    itsReferenceCount.fetch_sub( 1, std::memory_order_relaxed );
    XThrow( kErrorNoReference );
}

void XRefCountable::ReleaseReference() const
{
    const std::uint32_t count = itsReferenceCount.fetch_sub( 1, std::memory_order_acq_rel );
    if ( count == 1 )
        delete this;
    else if ( count == 0 )
    {
        itsReferenceCount.fetch_add( 1, std::memory_order_relaxed );
        XThrow( kErrorNoReference );
    }
}
