#include "Memory/WFileMapping.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Memory/WAddressSpace.h"

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
