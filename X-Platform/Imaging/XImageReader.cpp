#include "Imaging/XImageReader.h"

#include "Imaging/Internal/XPageAssembly.h"
#include "Jobs/XProgress.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

// A WImageFile is used by one thread at a time, so there is one reader for each thread that reads at the same
// moment, and they are kept for the following pages. A reader that throws is not given back.

namespace
{
constexpr std::size_t kMostIdleReaders = 64; // Each has an open file; a set may have thousands.

std::string DescribePageSize( std::uint64_t inWidth, std::uint64_t inHeight, std::uint64_t inChannels )
{
    return std::to_string( inWidth ) + " x " + std::to_string( inHeight ) + " pixels of " +
        std::to_string( inChannels ) + ( inChannels == 1 ? " sample" : " samples" );
}
} // namespace

XImageReader::XImageReader( const std::filesystem::path& inPath, const XImageReadSettings& inSettings )
    : itsPath( inPath ), itsSettings( inSettings )
{
    auto image = WImageFile::Open( itsPath );
    itsStructure = itsSettings.arePagesTimes ? XImageStructure::ReadPages( *image, itsPath )
                                             : XImageStructure::Read( *image, itsPath );
    SelectPages();
    itsFilePageCount = image->GetPageCount();
    itsSkippedCount = image->GetSkippedCount();
    GiveBack( { 0, std::move( image ) } );
}

void XImageReader::SelectPages()
{
    const auto& selection = itsSettings.selection;
    const auto seriesCount = itsStructure.series.size();
    if ( selection.series && *selection.series >= seriesCount )
        throw WImageError(
            "it has no series " + std::to_string( *selection.series ) + ": it has " +
            std::to_string( seriesCount ) + ", counted from 0" );
    std::uint32_t number = 0;
    for ( std::uint32_t i = 0; i < seriesCount; ++i )
    {
        const auto& series = itsStructure.series[i];
        if ( !selection.series || *selection.series == i )
            SelectSeries( i, number );
        number += series.slices * series.times;
    }
}

void XImageReader::SelectSeries( std::uint32_t inSeries, std::uint32_t inFirstNumber )
{
    const auto& selection = itsSettings.selection;
    const auto& series = itsStructure.series[inSeries];
    if ( selection.firstTime >= series.times )
        throw WImageError(
            "it has no time point " + std::to_string( selection.firstTime ) + ": it has " +
            std::to_string( series.times ) + ", counted from 0" );
    if ( selection.slice && *selection.slice >= series.slices )
        throw WImageError(
            "it has no slice " + std::to_string( *selection.slice ) + ": it has " +
            std::to_string( series.slices ) + ", counted from 0" );
    const auto areCombined = selection.sliceMode != XSliceMode::kEach;
    const auto firstSlice = selection.slice.value_or( 0 );
    const auto endSlice = selection.slice || areCombined ? firstSlice + 1 : series.slices;
    const auto lastTime = std::min( selection.lastTime, series.times - 1 );
    for ( auto time = selection.firstTime; time <= lastTime; ++time )
        for ( auto slice = firstSlice; slice < endSlice; ++slice )
            itsPages.push_back(
                { inFirstNumber + time * series.slices + slice, inSeries, time, slice,
                  series.GetTime( slice, time ) } );
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
    const auto& position = itsPages.at( inPage );
    struct PageEnd
    {
        XImageReader& reader;
        ~PageEnd() { reader.EndPage(); }
    };
    const PageEnd end{ *this }; // Also after a failure.
    auto page = ReadPlanes( position, tellShare, inAllocator );
    SetPixelSize( itsStructure.series[position.series], page );
    return page;
}

/// A page that is stored as it is needs no other memory.
WImagePage XImageReader::ReadPlanes(
    const XPagePosition& inPosition, const WImageFile::Progress& inProgress,
    const WImagePage::Allocator& inAllocator )
{
    const auto& series = itsStructure.series[inPosition.series];
    const auto* const places = series.GetPages( inPosition.slice, inPosition.time );
    const auto slices = itsSettings.selection.sliceMode == XSliceMode::kEach ? 1 : series.slices;
    const auto mode = slices > 1 ? itsSettings.selection.sliceMode : XSliceMode::kEach;
    const auto count = slices * series.GetPagesPerPlane();
    if ( count == 1 )
        return ReadStored( places[0], series, inProgress, inAllocator );
    const auto readStored = [&]( std::uint32_t inIndex, const WImagePage::Allocator& inPartAllocator )
    {
        const auto tellShare = [&]( double inShare ) { inProgress( ( inIndex + inShare ) / count ); };
        return ReadStored( places[inIndex], series, tellShare, inPartAllocator );
    };
    return XPageAssembly{ series, slices, mode }.Read( readStored, inAllocator );
}

/// Pages without a description may differ in size.
WImagePage XImageReader::ReadStored(
    const XPagePlace& inPlace, const XImageSeries& inSeries, const WImageFile::Progress& inProgress,
    const WImagePage::Allocator& inAllocator )
{
    auto reader = Take( inPlace.file );
    const auto pageCount = reader.image->GetPageCount();
    if ( inPlace.page >= pageCount || ( inPlace.file == 0 && pageCount != itsFilePageCount ) )
        throw WImageError( "the file has changed" );
    auto page = reader.image->ReadPage( inPlace.page, inProgress, inAllocator );
    GiveBack( std::move( reader ) );
    const auto mayDiffer = itsStructure.source == XImageSource::kPages;
    if ( !mayDiffer &&
         ( page.width != inSeries.width || page.height != inSeries.height ||
           page.channels != inSeries.channelsPerPage ) )
        throw WImageError(
            "it has " + DescribePageSize( page.width, page.height, page.channels ) + ", but its series " +
            DescribePageSize( inSeries.width, inSeries.height, inSeries.channelsPerPage ) );
    return page;
}

void XImageReader::SetPixelSize( const XImageSeries& inSeries, WImageFormat& ioFormat )
{
    if ( itsSettings.pixelWidth > 0 )
    {
        ioFormat.pixelWidth = itsSettings.pixelWidth;
        ioFormat.pixelHeight = itsSettings.pixelHeight;
        return;
    }
    if ( inSeries.pixelSource != XImageSource::kNone && inSeries.pixelSource != XImageSource::kResolution )
    {
        ioFormat.pixelWidth = inSeries.pixelWidth;
        ioFormat.pixelHeight = inSeries.pixelHeight;
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

XImageReader::XReader XImageReader::Take( std::uint32_t inFile )
{
    {
        const XThreadLock lock( itsMutex );
        const auto found = std::ranges::find( itsIdleReaders, inFile, &XReader::file );
        if ( found != itsIdleReaders.end() )
        {
            auto reader = std::move( *found );
            itsIdleReaders.erase( found );
            CloseUnneeded();
            return reader;
        }
    }
    return { inFile, WImageFile::Open( itsStructure.files[inFile] ) };
}

void XImageReader::GiveBack( XReader inReader )
{
    const XThreadLock lock( itsMutex );
    itsIdleReaders.push_back( std::move( inReader ) );
    if ( itsIdleReaders.size() > kMostIdleReaders )
        itsIdleReaders.erase( itsIdleReaders.begin() );
    CloseUnneeded();
}

void XImageReader::EndPage()
{
    const XThreadLock lock( itsMutex );
    ++itsEndedCount;
    CloseUnneeded();
}

/// When all pages have been read no reader is needed, but the image may have to wait for those before it.
void XImageReader::CloseUnneeded()
{
    if ( itsEndedCount >= GetPageCount() )
        itsIdleReaders.clear();
}
