#include "Measuring/CachedPage.h"

void CachedPage::Read( XImageReader& ioReaders, std::uint32_t inPage, XPageMemory& ioMemory )
{
    const auto allocate = [&]( std::uint64_t inBytes )
    {
        itsSamples = XMappedFileMemoryHandle( inBytes );
        return ioMemory.Lock( itsSamples, kLockForWrite );
    };
    itsForm = ioReaders.ReadPage( inPage, allocate );
}

WImagePage CachedPage::Lock( XPageMemory& ioMemory, XLockMode inMode )
{
    WImagePage page{ itsForm, {} };
    page.samples = ioMemory.Lock( itsSamples, inMode );
    return page;
}
