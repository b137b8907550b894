#include "PageReaders.h"

#include "Jobs/XProgress.h"
#include "Threads/XThreadLock.h"

PageReaders::PageReaders( const std::filesystem::path& inPath ) : itsPath( inPath )
{
    auto reader = WImageFile::Open( itsPath );
    itsPageCount = reader->GetPageCount();
    GiveBack( std::move( reader ) );
}

/// A reader that has failed is not used again.
WImagePage PageReaders::ReadPage( std::uint32_t inPage, const WImagePage::Allocator& inAllocator )
{
    constexpr std::uint64_t kMost = 1000;
    XProgress progress( kMost, XProgress::kProgressTransfer );
    const auto tellShare = [&]( double inShare )
    {
        progress.SetProgress( inShare * kMost );
        progress.YieldAndCheckAbort();
    };
    auto reader = Take();
    if ( reader->GetPageCount() != itsPageCount )
        throw WImageError( "the file has changed" );
    auto page = reader->ReadPage( inPage, tellShare, inAllocator );
    GiveBack( std::move( reader ) );
    return page;
}

PageReaders::Reader PageReaders::Take()
{
    {
        const XThreadLock lock( itsMutex );
        if ( !itsIdleReaders.empty() )
        {
            auto reader = std::move( itsIdleReaders.back() );
            itsIdleReaders.pop_back();
            return reader;
        }
    }
    return WImageFile::Open( itsPath );
}

void PageReaders::GiveBack( Reader inReader )
{
    const XThreadLock lock( itsMutex );
    itsIdleReaders.push_back( std::move( inReader ) );
}
