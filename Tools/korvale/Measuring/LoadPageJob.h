#pragma once

#include "Measuring/PageJob.h"
#include "Measuring/StackBackground.h"

/// Reads one page, keeps it and adds it to its stack's background.
class LoadPageJob : public PageJob
{
public:
    /// See PageJob; all that is referred to outlives the job.
    LoadPageJob(
        std::uint32_t inPage, const std::string& inImage, ImageReader& ioReaders, PageMemory& ioMemory,
        StackBackground& ioBackground, CachedPage& outPage, ProgressDisplay& ioDisplay,
        PageResult& outResult );

protected:
    std::uint64_t GetSteps() const override { return 2; }
    void Work( XProgress& ioProgress ) override;
    void JobCompleteSelf( std::uint32_t inResultCode ) override;

private:
    ImageReader& itsReaders;
    PageMemory& itsMemory;
    StackBackground& itsBackground;
    CachedPage& itsKept;
};
