#pragma once

#include "Measuring/PageJob.h"
#include "Measuring/StackBackground.h"

/// Measures one page that has been kept, less its stack's background, and gives it up.
class MeasureCachedPageJob : public PageJob
{
public:
    /// See PageJob; all that is referred to outlives the job.
    MeasureCachedPageJob(
        std::uint32_t inPage, const std::string& inImage, PageMemory& ioMemory,
        const StackBackground& inBackground, CachedPage& ioPage, MeasurementMemory& ioMeasurements,
        const MeasureSettings& inSettings, ProgressDisplay& ioDisplay, PageResult& outResult );

protected:
    std::uint64_t GetSteps() const override { return 2; }
    void Work( XProgress& ioProgress ) override;
    void CheckSamples() const override { itsKept.CheckIntact(); }
    void JobCompleteSelf( std::uint32_t inResultCode ) override;

private:
    PageMemory& itsMemory;
    MeasurementMemory& itsMeasurements;
    const StackBackground& itsBackground;
    CachedPage& itsKept;
    const MeasureSettings& itsSettings;
};
