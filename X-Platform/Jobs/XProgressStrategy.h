#pragma once

#include "Core/Strings/XString.h"
#include "WNoSystemMacros.h"

class XProgress;

/// Presents the progress that a thread reports, for instance as a dialog, as a line on a terminal, or as
/// messages to others. Each thread has its own strategy, or none (XProgress::SetProgressStrategy).
///
/// Ownership: owned by its thread's slot, which deletes it when the thread ends, or by the code that installs
/// it temporarily with an XProgressStrategyChanger.
/// Threads: used only by the thread on which it is installed.
/// Errors: exceptions of `ProgressDestroyed` are swallowed; those of the other functions reach the reporting
/// code.
class KORVALE_API XProgressStrategy
{
public:
    XProgressStrategy() = default;
    virtual ~XProgressStrategy();

    /// A strategy of the same class for another thread, without progress; the caller owns it.
    virtual XProgressStrategy* Clone() const = 0;

    /// A progress begins. `inForceBar` requests a separate bar even for a nested progress. `inDelayMS` is the
    /// time to wait before a bar is shown, so that short work shows none.
    virtual void ProgressCreated( XProgress& inProgress, bool inForceBar, std::uint32_t inDelayMS ) = 0;
    virtual void ProgressDestroyed( XProgress& inProgress ) = 0;

    virtual void SetTitle( const XString& inTitle ) = 0;
    virtual XString GetMessage( const XProgress& inProgress ) const = 0;
    virtual void SetMessage( XProgress& inProgress, const XString& inMessage ) = 0;

    /// 0 to 1000.
    virtual void SetProgress( XProgress& inProgress, std::uint32_t inPerMille ) = 0;
    virtual void SetProgressIndeterminate( XProgress& inProgress ) = 0;

    /// False for a nested progress that moves the bar of the enclosing one.
    virtual bool HasProgressBar( const XProgress& inProgress ) const = 0;

    /// Called repeatedly during work: lets the user interface run, and checks whether the user wants to abort
    /// (XProgress::Abort).
    virtual void Yield() = 0;

    /// The innermost progress of the thread; null if there is none.
    XProgress* GetLastProgress() const { return itsLastProgress; }
    void SetLastProgress( XProgress* inProgress ) { itsLastProgress = inProgress; }

    /// The number of progresses of the thread.
    std::uint32_t GetProgressDepth() const { return itsProgressDepth; }
    void IncrementProgressDepth() { ++itsProgressDepth; }
    void DecrementProgressDepth() { --itsProgressDepth; }

    /// While locked, new progresses are invalid and nothing yields.
    void LockProgressBars() { ++itsProgressBarLockCount; }
    void UnlockProgressBars() { --itsProgressBarLockCount; }
    std::uint32_t GetProgressBarLockCount() const { return itsProgressBarLockCount; }

    /// While locked, progress raises no abort and is not a checkpoint of the thread.
    void LockAbort() { ++itsAbortLockCount; }
    void UnlockAbort() { --itsAbortLockCount; }
    std::uint32_t GetAbortLockCount() const { return itsAbortLockCount; }

protected:
    /// Used by Clone: the new strategy has no progress and no locks.
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
