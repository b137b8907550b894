#pragma once

#include "Command.h"
#include "Jobs/XJob.h"
#include "PageMeasurement.h"
#include "PageReaders.h"
#include "TerminalProgressStrategy.h"

#include <atomic>
#include <optional>
#include <string>

/// What became of a page. Written by its job, and by nobody else, before it is done.
struct PageResult
{
    std::atomic<bool> isDone = false;
    PageMeasurement measurement;
    std::optional<Failure> failure;
};

/// Reads and measures one page of an image.
class MeasurePageJob : public XJob
{
public:
    /// `inName` is that of the image. Readers, settings, display and result outlive the job.
    MeasurePageJob(
        PageReaders& ioReaders, std::uint32_t inPage, const std::string& inName,
        const MeasureSettings& inSettings, ProgressDisplay& ioDisplay, PageResult& outResult );

    /// Nobody but the result hears of the end.
    bool CanCompleteInJobThread() override { return true; }
    bool ShouldSendCompletedMessage() override { return false; }

protected:
    void RunJobSelf() override;
    void JobCompleteSelf( std::uint32_t inResultCode ) override;

private:
    PageReaders& itsReaders;
    const std::uint32_t itsPage;
    const std::string itsName;
    const MeasureSettings& itsSettings;
    TerminalProgressStrategy itsStrategy;
    PageResult& itsResult;

    PageMeasurement Measure();
    WImagePage ReadPage();
};
