#pragma once

#include "Imaging/XImageReader.h"
#include "Measuring/MeasureJournal.h"

struct MeasuredPage;

/// The finished pages of one image, which belong to it as long as its files and its background are the same.
/// Threads: any for the pages; the others one at a time, not meanwhile.
class ImageJournal
{
public:
    /// The journal and the reader must outlive this object. `inFiles` describes the files of the reader's structure, the
    /// first one as it was before it was opened, followed by those of an image with the objects, if there is one.
    ImageJournal(
        MeasureJournal& ioJournal, XImageReader& ioReader, const XImageReadSettings& inReading,
        JournalRecords::Files inFiles );

    /// Whether the journal has pages of other files under that path.
    bool HasChanged() const { return itsHasChanged; }

    /// Sets the background to be subtracted.
    void SetBackground( const WImagePage& inBackground );

    /// If all pages are finished with the same background, sets that and returns true.
    bool HasAllPages();

    bool HasPage( std::uint32_t inPage ) const;

    /// The result of a page that the journal has. Throws the errors of MeasureJournal::ReadPage.
    std::unique_ptr<MeasurePageResult> ReadPage( std::uint32_t inPage ) const;

    /// Adds a page, unless its files have changed meanwhile. The page is the same afterwards.
    void AddPage( std::uint32_t inPage, MeasuredPage& ioMeasured, double inIgnoredPixelSize );

private:
    MeasureJournal& itsJournal;
    XImageReader& itsReader;
    const bool itsAreSlicesCombined;
    const JournalRecords::Files itsFiles;
    const bool itsHasChanged;
    MeasureJournal::Image& itsImage;
    std::uint64_t itsBackground = 0;

    bool LooksUnchanged( std::uint32_t inPage ) const;
};
