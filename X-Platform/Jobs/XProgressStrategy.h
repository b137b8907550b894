#pragma once

#include "Core/Strings/XString.h"
#include "WNoSystemMacros.h"

class XProgress;

/// What becomes of the progress that a thread reports: a dialog, a line on a terminal, messages to somebody
/// else. Each thread has a strategy of its own, or none (XProgress::SetProgressStrategy).
///
/// Ownership: belongs to its thread's slot, which deletes it when the thread ends, or to whoever installs it
/// for a while with an XProgressStrategyChanger.
/// Threads: used by the thread that it is installed on, and by no other.
/// Errors: what `ProgressDestroyed` throws is swallowed; what the others throw reaches the code that reports.
class KORVALE_API XProgressStrategy
{
public:
    XProgressStrategy() = default;
    virtual ~XProgressStrategy();

    /// A strategy of the same kind for another thread, without progress; the caller owns it.
    virtual XProgressStrategy* Clone() const = 0;

    /// A progress begins. `inForceBar` asks for a bar of its own where nested progress would get none,
    /// `inDelayMs` is the time that should pass before a bar is shown, so that short work shows none.
    virtual void ProgressCreated( XProgress& inProgress, bool inForceBar, std::uint32_t inDelayMs ) = 0;
    virtual void ProgressDestroyed( XProgress& inProgress ) = 0;

    virtual void SetTitle( const XString& inTitle ) = 0;
    virtual XString GetMessage( const XProgress& inProgress ) const = 0;
    virtual void SetMessage( XProgress& inProgress, const XString& inMessage ) = 0;

    /// 0 to 1000.
    virtual void SetProgress( XProgress& inProgress, std::uint32_t inPerMille ) = 0;
    virtual void SetProgressIndeterminate( XProgress& inProgress ) = 0;

    /// False for a nested progress that moves the bar of the one around it.
    virtual bool HasProgressBar( const XProgress& inProgress ) const = 0;

    /// Called now and then while work goes on: lets the user interface live, asks whether the user wants to
    /// abort (XProgress::Abort).
    virtual void Yield() = 0;

    /// The innermost live progress of the thread; null when there is none.
    XProgress* GetLastProgress() const { return itsLastProgress; }
    void SetLastProgress( XProgress* inProgress ) { itsLastProgress = inProgress; }

    /// Live progresses of the thread.
    std::uint32_t GetProgressDepth() const { return itsProgressDepth; }
    void IncrementProgressDepth() { ++itsProgressDepth; }
    void DecrementProgressDepth() { --itsProgressDepth; }

    /// While locked, new progresses are invalid and nothing yields.
    void LockProgressBars() { ++itsProgressBarLockCount; }
    void UnlockProgressBars() { --itsProgressBarLockCount; }
    std::uint32_t GetProgressBarLockCount() const { return itsProgressBarLockCount; }

    /// While locked, progress raises no abort and is no checkpoint of the thread.
    void LockAbort() { ++itsAbortLockCount; }
    void UnlockAbort() { --itsAbortLockCount; }
    std::uint32_t GetAbortLockCount() const { return itsAbortLockCount; }

protected:
    /// What a strategy's clone starts with: no progress, no locks.
    XProgressStrategy( const XProgressStrategy& ) {}
    XProgressStrategy& operator=( const XProgressStrategy& ) = delete;

    /// The pointer that the strategy attaches to a progress.
    static void* GetProgressPtr( const XProgress& inProgress );
    static void SetProgressPtr( XProgress& inProgress, void* inPointer );

private:
    XProgress* itsLastProgress = nullptr;
    std::uint32_t itsProgressDepth = 0;
    std::uint32_t itsProgressBarLockCount = 0;
    std::uint32_t itsAbortLockCount = 0;
};
