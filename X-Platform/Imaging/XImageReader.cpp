#include "Imaging/XImageReader.h"

#include "Imaging/Internal/XImagePlanes.h"
#include "Jobs/XProgress.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

// A WImageFile is used by one thread at a time, so there is one reader for each thread that reads at the same
// moment, and they are kept for the following pages. A reader that throws is not given back.

XImageReader::XImageReader( const std::filesystem::path& inPath, const XImageReadSettings& inSettings )
    : itsPath( inPath ), itsSettings( inSettings )
{
    auto reader = WImageFile::Open( itsPath );
    XCheckPlanes( *reader, itsSettings.arePagesTimes );
    itsPageCount = reader->GetPageCount();
    itsSkippedCount = reader->GetSkippedCount();
    GiveBack( std::move( reader ) );
}

/// A reader that has failed is not used again.
WImagePage XImageReader::ReadPage( std::uint32_t inPage, const WImagePage::Allocator& inAllocator )
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
    SetPixelSize( page );
    return page;
}

void XImageReader::SetPixelSize( WImageFormat& ioFormat )
{
    if ( itsSettings.pixelWidth > 0 )
    {
        ioFormat.pixelWidth = itsSettings.pixelWidth;
        ioFormat.pixelHeight = itsSettings.pixelHeight;
        return;
    }
    const auto largest = std::max( ioFormat.pixelWidth, ioFormat.pixelHeight );
    if ( !ioFormat.HasResolution() || largest <= kLargestPixel )
        return;
    ioFormat.pixelWidth = ioFormat.pixelHeight = 0;
    const XThreadLock lock( itsMutex );
    itsIgnoredPixelSize = std::max( itsIgnoredPixelSize, largest );
}

double XImageReader::GetIgnoredPixelSize()
{
    const XThreadLock lock( itsMutex );
    return itsIgnoredPixelSize;
}

XImageReader::XReader XImageReader::Take()
{
    {
        const XThreadLock lock( itsMutex );
        ++itsBegunCount;
        if ( !itsIdleReaders.empty() )
        {
            auto reader = std::move( itsIdleReaders.back() );
            itsIdleReaders.pop_back();
            CloseUnneeded();
            return reader;
        }
    }
    return WImageFile::Open( itsPath );
}

void XImageReader::GiveBack( XReader inReader )
{
    const XThreadLock lock( itsMutex );
    itsIdleReaders.push_back( std::move( inReader ) );
    CloseUnneeded();
}

/// When all pages have been begun no idle reader is waited for, but the image may have to wait for those before it.
void XImageReader::CloseUnneeded()
{
    if ( itsBegunCount >= itsPageCount )
        itsIdleReaders.clear();
}
