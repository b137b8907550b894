#pragma once

#include "Jobs/XJob.h"

#include <functional>

/// A job that runs a function, and calls another one when it is completed.
class KORVALE_API XFunctionJob : public XJob
{
public:
    using XBody = std::function<void()>;
    using XCompleted = std::function<void( std::uint32_t inResultCode )>;

    /// Where the job is completed, and whether an XJobCompletedMessage is sent.
    enum XCompletion
    {
        kOnMainThread, ///< with a message
        kOnWorker,     ///< immediately, with a message
        kUnannounced   ///< immediately on the worker, without a message
    };

    /// `inCompleted` may be empty; its exceptions are swallowed. Both functions are destroyed with the job.
    explicit XFunctionJob(
        XBody inBody, XCompleted inCompleted = nullptr, XCompletion inCompletion = kOnMainThread );
    ~XFunctionJob() override;

    bool CanCompleteInJobThread() override { return itsCompletion != kOnMainThread; }
    bool ShouldSendCompletedMessage() override { return itsCompletion != kUnannounced; }

protected:
    void RunJobSelf() override;
    void JobCompleteSelf( std::uint32_t inResultCode ) override;

private:
    XBody itsBody;
    XCompleted itsCompleted;
    const XCompletion itsCompletion;
};
