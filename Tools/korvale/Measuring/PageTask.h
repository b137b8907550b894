#pragma once

#include "Imaging/XImageReader.h"
#include "Imaging/XMeasurementMemory.h"
#include "Measuring/PageRecord.h"
#include "Measuring/StackBackground.h"
#include "Outputs/OutputFiles.h"

class XProgress;

/// The operations of the pipeline's jobs on a page. Each function is one job, within a progress of two steps,
/// and throws on failure.
/// Threads: any; one at a time for each page.
class PageTask
{
public:
    /// The arguments must outlive the task.
    PageTask( const XMeasureSettings& inSettings, XPageMemory& ioPages, XMeasurementMemory& ioMeasurements );

    /// Reads a page into its record and adds it to the background of its stack.
    void Load(
        PageRecord& ioPage, XImageReader& ioReader, StackBackground& ioBackground,
        XProgress& ioProgress ) const;

    /// Reads and measures a page.
    void Measure( PageRecord& ioPage, XImageReader& ioReader, XProgress& ioProgress ) const;

    /// Measures a loaded page after subtracting the background of its stack.
    void
    MeasureLoaded( PageRecord& ioPage, const StackBackground& inBackground, XProgress& ioProgress ) const;

    /// Draws an overlay with objects numbered from `inFirstNumber`, and writes its file. `ioFile` contains
    /// the name; the function fills in the rest.
    void DrawOverlay(
        CachedOverlay& ioOverlay, std::uint64_t inFirstNumber, CompleteFile& ioFile,
        XProgress& ioProgress ) const;

private:
    const XMeasureSettings& itsSettings;
    XPageMemory& itsPages;
    XMeasurementMemory& itsMeasurements;

    void MeasureSamples( PageRecord& ioPage, WImagePage inSamples ) const;
};
