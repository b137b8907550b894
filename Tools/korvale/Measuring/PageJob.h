#pragma once

#include "Imaging/MeasurementMemory.h"
#include "Jobs/XJob.h"
#include "Measuring/CachedOverlay.h"
#include "Support/Failure.h"
#include "Terminal/TerminalProgressStrategy.h"

#include <atomic>
#include <optional>
#include <string>

class XProgress;

/// What became of a page. Written by its job, and by nobody else, before it is done.
struct PageResult
{
    std::atomic<bool> isDone = false;
    PageMeasurement measurement;
    std::optional<CachedOverlay> overlay; ///< Where one is to be drawn, which is set before.
    std::optional<Failure> failure;
};

/// Work on one page of an image. What goes wrong is kept in the page's result.
class PageJob : public XJob
{
public:
    /// Completion is reported only through the result.
    bool CanCompleteInJobThread() override { return true; }
    bool ShouldSendCompletedMessage() override { return false; }

protected:
    /// `inImage` is the image's name. Display and result outlive the job.
    PageJob(
        std::uint32_t inPage, const std::string& inImage, ProgressDisplay& ioDisplay, PageResult& outResult );

    std::uint32_t GetPage() const { return itsPage; }
    PageResult& GetResult() { return itsResult; }

    /// The work, within a progress of that many steps.
    virtual void Work( XProgress& ioProgress ) = 0;
    virtual std::uint64_t GetSteps() const = 0;

    /// Throws if the samples that were measured may not be those of the page. Called before the measurement becomes the
    /// result, with the page still locked.
    virtual void CheckSamples() const {}

    /// Measures a page into the result. The overlay is kept through the first memory, the objects in the second one.
    void Measure(
        WImagePage inPage, const MeasureSettings& inSettings, PageMemory& ioMemory,
        MeasurementMemory& ioMeasurements );

    void RunJobSelf() override;

private:
    const std::uint32_t itsPage;
    const std::string itsImage;
    TerminalProgressStrategy itsStrategy;
    PageResult& itsResult;

    void WorkWithProgress();
};
