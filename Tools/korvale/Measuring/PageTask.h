#pragma once

#include "Imaging/XImageReader.h"
#include "Imaging/XMeasurementMemory.h"
#include "Measuring/PageRecord.h"
#include "Measuring/StackBackground.h"
#include "Outputs/OutputFiles.h"

class XProgress;

/// What the jobs of a pipeline do with a page. Each function is one job, within a progress of two steps; what goes wrong
/// is thrown.
/// Threads: any; one at a time works on a page.
class PageTask
{
public:
    /// All that is referred to outlives the task.
    PageTask( const XMeasureSettings& inSettings, XPageMemory& ioPages, XMeasurementMemory& ioMeasurements );

    /// Reads a page into its record and adds it to its stack's background.
    void Load(
        PageRecord& ioPage, XImageReader& ioReader, StackBackground& ioBackground,
        XProgress& ioProgress ) const;

    /// Reads and measures a page.
    void Measure( PageRecord& ioPage, XImageReader& ioReader, XProgress& ioProgress ) const;

    /// Measures a page that has been loaded, less its stack's background.
    void
    MeasureLoaded( PageRecord& ioPage, const StackBackground& inBackground, XProgress& ioProgress ) const;

    /// Draws an overlay, its objects numbered from `inFirstNumber` on, and writes its file. The name in `ioFile` is the
    /// file to write; the rest is filled in.
    void DrawOverlay(
        CachedOverlay& ioOverlay, std::uint64_t inFirstNumber, CompleteFile& ioFile,
        XProgress& ioProgress ) const;

private:
    const XMeasureSettings& itsSettings;
    XPageMemory& itsPages;
    XMeasurementMemory& itsMeasurements;

    void MeasureSamples( PageRecord& ioPage, WImagePage inSamples ) const;
};
