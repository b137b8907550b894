#pragma once

#include "Imaging/Measurements/XMeasurementMemory.h"
#include "Imaging/XImageReader.h"
#include "Measuring/PageRecord.h"
#include "Measuring/StackBackground.h"
#include "Outputs/OutputFiles.h"

class MeasurePageJob;
class XProgress;
struct MeasuredPage;

/// The operations of the pipeline's jobs on a page. Each function is one job, within a progress of two steps,
/// and throws on failure.
/// Threads: any; one at a time for each page.
class PageTask
{
public:
    /// The arguments must outlive the task.
    PageTask( XPageMemory& ioPages, XMeasurementMemory& ioMeasurements );

    /// Reads a page into its record and adds it to the background of its stack.
    void Load(
        PageRecord& ioPage, XImageReader& ioReader, StackBackground& ioBackground,
        XProgress& ioProgress ) const;

    /// Reads and measures a page.
    void Measure( PageRecord& ioPage, XImageReader& ioReader, XProgress& ioProgress ) const;

    /// Measures a loaded page after subtracting the background of its stack.
    void
    MeasureLoaded( PageRecord& ioPage, const StackBackground& inBackground, XProgress& ioProgress ) const;

    /// Subtracts the background of its stack from a loaded page.
    void SubtractBackground( PageRecord& ioPage, const StackBackground& inBackground ) const;

    /// Reads a page into its record.
    void Read( PageRecord& ioPage, XImageReader& ioReader, XProgress& ioProgress ) const;

    /// Measures the page in the record.
    void MeasureRead( PageRecord& ioPage ) const;

    /// Whether the journal has the result of the page.
    static bool IsFinished( const PageRecord& inPage );

    /// Takes the result of a finished page into the record.
    void TakeFinished( PageRecord& ioPage ) const;

    /// Takes the result of a job on another machine, or its failure, into the record.
    void TakeResult( PageRecord& ioPage, MeasurePageJob& ioJob, std::uint32_t inResultCode ) const;

    /// Draws an overlay with objects numbered from `inFirstNumber`, and writes its file. `ioFile` contains
    /// the name; the function fills in the rest.
    void DrawOverlay(
        CachedOverlay& ioOverlay, std::uint64_t inFirstNumber, CompleteFile& ioFile,
        XProgress& ioProgress ) const;

private:
    XPageMemory& itsPages;
    XMeasurementMemory& itsMeasurements;

    std::optional<XGivenObjects> ReadGiven( PageRecord& ioPage ) const;
    void MeasureSamples(
        PageRecord& ioPage, WImagePage inSamples, const std::optional<XGivenObjects>& inGiven = {} ) const;
    void Finish( PageRecord& ioPage, MeasuredPage inMeasured ) const;
    void Keep( PageRecord& ioPage, MeasuredPage inMeasured ) const;
};
