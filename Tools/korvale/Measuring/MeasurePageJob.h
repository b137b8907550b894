#pragma once

#include "Imaging/ImageReader.h"
#include "Imaging/PageMemory.h"
#include "Measuring/PageJob.h"

/// Reads and measures one page.
class MeasurePageJob : public PageJob
{
public:
    /// See PageJob; all that is referred to outlives the job.
    MeasurePageJob(
        std::uint32_t inPage, const std::string& inImage, ImageReader& ioReaders, PageMemory& ioMemory,
        MeasurementMemory& ioMeasurements, const MeasureSettings& inSettings, ProgressDisplay& ioDisplay,
        PageResult& outResult );

protected:
    std::uint64_t GetSteps() const override { return 2; }
    void Work( XProgress& ioProgress ) override;
    void JobCompleteSelf( std::uint32_t ) override { GetResult().isDone = true; }

private:
    ImageReader& itsReaders;
    PageMemory& itsMemory;
    MeasurementMemory& itsMeasurements;
    const MeasureSettings& itsSettings;
};
