#include "WFileMapping.h"

#include "Core/XErrorNumbers.h"
#include "Core/XFail.h"
#include "WAddressSpace.h"

std::uint64_t WFileMapping::GetViewDelta() const
{
    return itsOffset & ( WAddressSpace::GetAllocationGranularity() - 1 );
}

void WFileMapping::CheckFileSize( std::uint64_t inSize ) const
{
    const std::uint64_t fileSize = itsFile->GetSize();
    if ( itsOffset > fileSize || inSize > fileSize - itsOffset )
        XThrow( kErrorMemoryNotMapped );
}
