#include "Measuring/KeptPage.h"

void KeptPage::Read( PageReaders& ioReaders, std::uint32_t inPage, WorkingMemory& ioMemory )
{
    const auto allocate = [&]( std::uint64_t inBytes )
    {
        itsSamples = XMappedFileMemoryHandle( inBytes );
        return ioMemory.Lock( itsSamples, kLockForWrite );
    };
    itsForm = ioReaders.ReadPage( inPage, allocate );
}

WImagePage KeptPage::Lock( WorkingMemory& ioMemory, XLockMode inMode )
{
    WImagePage page{ itsForm, {} };
    page.samples = ioMemory.Lock( itsSamples, inMode );
    return page;
}
