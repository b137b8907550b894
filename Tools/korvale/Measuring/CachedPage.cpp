#include "Measuring/CachedPage.h"

void CachedPage::Read( XImageReader& ioReaders, std::uint32_t inPage, XPageMemory& ioMemory )
{
    const auto allocate = [&]( std::uint64_t inBytes )
    {
        itsSamples = XMappedFileMemoryHandle( inBytes );
        return ioMemory.Lock( itsSamples, kLockForWrite );
    };
    itsFormat = ioReaders.ReadPage( inPage, allocate );
}

WImagePage CachedPage::Lock( XPageMemory& ioMemory, XLockMode inMode )
{
    WImagePage page{ itsFormat, {} };
    page.samples = ioMemory.Lock( itsSamples, inMode );
    return page;
}
