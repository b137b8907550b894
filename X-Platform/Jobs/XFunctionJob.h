#pragma once

#include "Jobs/XJob.h"

#include <functional>

/// A job that runs a function, and another one when it has been completed.
class KORVALE_API XFunctionJob : public XJob
{
public:
    using Body = std::function<void()>;
    using Completed = std::function<void( std::uint32_t inResultCode )>;

    /// Where the job is completed, and whether an XJobCompletedMessage follows.
    enum Completion
    {
        kOnMainThread, ///< With a message.
        kOnWorker,     ///< At once, with a message.
        kUnannounced   ///< At once on the worker, without a message.
    };

    /// `inCompleted` may be empty; what it throws is swallowed. Both functions are destroyed with the job.
    explicit XFunctionJob(
        Body inBody, Completed inCompleted = nullptr, Completion inCompletion = kOnMainThread );
    ~XFunctionJob() override;

    bool CanCompleteInJobThread() override { return itsCompletion != kOnMainThread; }
    bool ShouldSendCompletedMessage() override { return itsCompletion != kUnannounced; }

protected:
    void RunJobSelf() override;
    void JobCompleteSelf( std::uint32_t inResultCode ) override;

private:
    Body itsBody;
    Completed itsCompleted;
    const Completion itsCompletion;
};
