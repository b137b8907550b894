#pragma once

#include "Core/Strings/XString.h"
#include "Core/Times/XTimer.h"
#include "WNoSystemMacros.h"

class XProgressStrategy;

/// Reports the progress of some work, lets the user abort it, and is a checkpoint of its thread. Created on
/// the stack of the working code:
///
///     XProgress progress( files.size() );
///     for ( const auto& file : files )
///     {
///         Import( file ); // may report progress itself
///         progress.Increment();
///     }
///
/// Progresses nest: one created while another of the same thread exists either has its own bar or moves the
/// bar of the outer one within the outer one's current step. Values are passed to the thread's strategy, and
/// aborts are checked, at most once per `kUpdateYokePeriodMS`.
///
/// On a thread without an XThread or without a strategy, and while an XProgressDisabler exists, a progress is
/// invalid: it shows nothing and is only a checkpoint of its thread.
///
/// Threads: belongs to the thread that created it; destroyed in reverse order of creation.
/// Errors: every operation that reports may throw 1001 (aborted by the user), 2702 (the thread is stopped),
/// and the exceptions of the strategy.
class KORVALE_API XProgress
{
public:
    enum XProgressType : std::uint32_t
    {
        kProgressWork = 0,     ///< work that advances steadily
        kProgressTransfer = 1, ///< bytes being transferred
        kProgressSteps = 2,    ///< a few steps of different lengths
        kProgressWait = 3      ///< waiting for something else; no bar in XThreadProgressStrategy
    };

    static constexpr std::uint32_t kUpdateYokePeriodMS = 200;

    explicit XProgress(
        std::uint64_t inMaximum = 100, XProgressType inType = kProgressWork, std::uint32_t inDelayMS = 0,
        bool inForceBar = false );

    /// A copy has the values of the original but is invalid: only the original reports.
    XProgress( const XProgress& inOther );
    XProgress& operator=( const XProgress& inOther );
    virtual ~XProgress();

    // ---- Reporting

    /// Sets the value, at most the maximum. A value below the current one is ignored.
    void SetProgress( double inValue );

    /// Advances to the next whole number.
    virtual void Increment();

    /// Shows that work continues without a known value.
    void SetProgressIndeterminate();

    void SetMaxProgress( std::uint64_t inMaximum );
    void SetMessage( const XString& inMessage );

    /// The message of the bar that shows this progress; empty for an invalid one.
    XString GetMessage() const;

    /// Used by the outermost progress only.
    void SetTitle( const XString& inTitle );

    /// Lets the user interface run, throws 1001 if the user has asked to abort, and runs the thread's
    /// checkpoint.
    void YieldAndCheckAbort();

    // ---- Queries

    std::uint64_t GetProgress() const { return static_cast<std::uint64_t>( itsProgress ); }
    double GetExactProgress() const { return itsProgress; }
    std::uint64_t GetMaxProgress() const { return itsMaximum; }
    XProgressType GetProgressType() const { return itsType; }
    bool IsIndeterminate() const { return itsIsIndeterminate; }
    bool IsValid() const { return itsStrategy != nullptr; }

    /// 1 for the outermost progress, 0 for an invalid one.
    std::uint32_t GetLevel() const { return itsLevel; }

    /// The enclosing progress; null for the outermost one.
    XProgress* GetSuperProgress() const { return itsSuperProgress; }

    // ---- The calling thread's strategy

    /// Null if none is installed. A thread without an XThread is an internal error, "thread".
    static XProgressStrategy* GetProgressStrategy();

    /// Like GetProgressStrategy, but returns null for a thread without an XThread.
    static XProgressStrategy* SafeGetProgressStrategy();

    /// Installs a strategy, which the thread's slot then owns; the previous one is not deleted. A thread
    /// without an XThread is an internal error, "slots".
    static void SetProgressStrategy( XProgressStrategy* inStrategy );
    static void DeleteProgressStrategy();

    /// Whether the thread has a valid progress.
    static bool IsProgressBarUp();

    /// Abort asks all progresses of the calling thread to abort; CancelAbort withdraws that.
    static void Abort();
    static void CancelAbort();

    static void Yield();

private:
    friend class XProgressStrategy;

    void UpdateIfDue();
    void UpdateProgress();
    void SetSubProgress( double inProgress, std::uint64_t inMaximum );
    bool IsMaster() const;
    void CheckAbort();
    static void SetAbortRequested( XProgress* inInnermost, bool inIsRequested );

    double itsProgress = 0.0; // never decreases
    std::uint64_t itsMaximum;
    XProgressType itsType;
    std::uint32_t itsLevel = 0;
    bool itsIsIndeterminate = false;
    bool itsIsAbortRequested = false;
    XProgress* itsSuperProgress = nullptr;
    XProgressStrategy* itsStrategy = nullptr; // null if invalid
    void* itsProgressPtr = nullptr;           // belongs to the strategy
    XTimer itsUpdateTimer{ kUpdateYokePeriodMS };
};
