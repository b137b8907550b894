#pragma once

#include "Measuring/CachedOverlay.h"
#include "Measuring/PageJob.h"
#include "Outputs/OutputFiles.h"

/// Draws the overlay of one page and writes its file.
class OverlayJob : public PageJob
{
public:
    /// See PageJob. The name in `ioFile` is the file to write; the rest is filled in. All that is referred to outlives the
    /// job.
    OverlayJob(
        std::uint32_t inPage, const std::string& inImage, CachedOverlay inOverlay,
        std::uint64_t inFirstNumber, PageMemory& ioMemory, ProgressDisplay& ioDisplay, CompleteFile& ioFile,
        PageResult& outResult );

protected:
    std::uint64_t GetSteps() const override { return 2; }
    void Work( XProgress& ioProgress ) override;

private:
    CachedOverlay itsOverlay;
    const std::uint64_t itsFirstNumber;
    PageMemory& itsMemory;
    CompleteFile& itsFile;
};
