#include "Measuring/ImageJournal.h"

#include "Measuring/MeasurePageJob.h"
#include "Support/Checksum.h"

#include <algorithm>
#include <utility>

ImageJournal::ImageJournal(
    MeasureJournal& ioJournal, XImageReader& ioReader, const XImageReadSettings& inReading,
    JournalRecords::Files inFiles )
    : itsJournal( ioJournal ), itsReader( ioReader ),
      itsAreSlicesCombined( inReading.selection.sliceMode != XSliceMode::kEach ),
      itsFiles( std::move( inFiles ) ), itsHasChanged( ioJournal.HasOtherImage( itsFiles ) ),
      itsImage( ioJournal.FindImage( itsFiles ) )
{
}

void ImageJournal::SetBackground( const WImagePage& inBackground )
{
    itsBackground = AddToChecksum( kEmptyChecksum, inBackground.samples.get(), inBackground.GetByteCount() );
}

bool ImageJournal::HasAllPages()
{
    const auto background = MeasureJournal::FindBackground( itsImage, 0 );
    if ( !background )
        return false;
    itsBackground = *background;
    for ( std::uint32_t page = 0; page < itsReader.GetPageCount(); ++page )
        if ( !HasPage( page ) )
            return false;
    return true;
}

bool ImageJournal::HasPage( std::uint32_t inPage ) const
{
    return MeasureJournal::FindBackground( itsImage, inPage ) == itsBackground;
}

std::unique_ptr<MeasurePageResult> ImageJournal::ReadPage( std::uint32_t inPage ) const
{
    return itsJournal.ReadPage( itsImage, inPage );
}

void ImageJournal::AddPage( std::uint32_t inPage, MeasuredPage& ioMeasured, double inIgnoredPixelSize )
{
    if ( !LooksUnchanged( inPage ) )
        return;
    MeasurePageResult result;
    result.ignoredPixelSize = std::max( inIgnoredPixelSize, itsReader.GetIgnoredPixelSize() );
    result.page = std::move( ioMeasured );
    itsJournal.AddPage( itsImage, inPage, itsBackground, result );
    ioMeasured = std::move( result.page );
}

/// Looks only at the files of the page, an image may have a file for each, and at those of its objects.
bool ImageJournal::LooksUnchanged( std::uint32_t inPage ) const
{
    const auto& position = itsReader.GetPosition( inPage );
    const auto& series = itsReader.GetStructure().series[position.series];
    const auto slices = itsAreSlicesCombined ? series.slices : 1;
    const auto* const places = series.GetPages( position.slice, position.time );
    const auto isUnchanged = [&]( const XPagePlace& inPlace )
    { return itsFiles[inPlace.file].LooksUnchanged(); };
    const auto imageFiles = itsReader.GetStructure().files.size();
    const auto count = imageFiles == 1 ? 1 : slices * series.GetPagesPerPlane();
    return std::all_of( places, places + count, isUnchanged ) &&
        std::all_of(
               itsFiles.begin() + static_cast<std::ptrdiff_t>( imageFiles ), itsFiles.end(),
               []( const SharedFile& inFile ) { return inFile.LooksUnchanged(); } );
}
