#pragma once

#include "Core/Strings/XString.h"
#include "Core/Times/XTimer.h"
#include "WNoSystemMacros.h"

class XProgressStrategy;

/// Reports how far a piece of work has come, lets its user abort it, and is a checkpoint of its thread. Made
/// on the stack of the working code:
///
///     XProgress progress( files.size() );
///     for ( const auto& file : files )
///     {
///         Import( file ); // may report progress itself
///         progress.Increment();
///     }
///
/// Progresses nest: one made while another of the same thread lives either gets a bar of its own or moves the
/// bar of the outer one within the outer one's current whole step. A value reaches the thread's strategy
/// every `kUpdateYokePeriodMS` at most, and at the same times an abort is noticed.
///
/// On a thread without an XThread or without a strategy, and while an XProgressDisabler is alive, a progress
/// is invalid: it shows nothing and is nothing but a checkpoint of its thread.
///
/// Threads: belongs to the thread that made it; destroyed in reverse order of creation.
/// Errors: every operation that reports may throw 1001 (the user's abort), a stop of the thread (2702), and
/// what the strategy throws.
class KORVALE_API XProgress
{
public:
    enum XProgressType : std::uint32_t
    {
        kProgressWork = 0,     ///< work that goes forward
        kProgressTransfer = 1, ///< bytes that are moved
        kProgressSteps = 2,    ///< a few steps of unlike length
        kProgressWait = 3      ///< waiting for something else; gets no bar from XThreadProgressStrategy
    };

    static constexpr std::uint32_t kUpdateYokePeriodMS = 200;

    explicit XProgress(
        std::uint64_t inMaximum = 100, XProgressType inType = kProgressWork, std::uint32_t inDelayMs = 0,
        bool inForceBar = false );

    /// A copy has the values of the original but is invalid: only one object stands for the work.
    XProgress( const XProgress& inOther );
    XProgress& operator=( const XProgress& inOther );
    virtual ~XProgress();

    // ---- Reporting

    /// Goes to `inValue`, at most the maximum; a smaller value than the present one changes nothing.
    void SetProgress( double inValue );

    /// Goes to the next whole number.
    virtual void Increment();

    /// Shows that work goes on while nobody knows how far it has come.
    void SetProgressIndeterminate();

    void SetMaxProgress( std::uint64_t inMaximum );
    void SetMessage( const XString& inMessage );

    /// The message of the bar that stands for this progress; empty for an invalid one.
    XString GetMessage() const;

    /// Only the outermost progress has a title.
    void SetTitle( const XString& inTitle );

    /// Gives way to the user interface, throws 1001 if the user has asked to abort, and runs the thread's
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

    /// The progress around this one; null for the outermost.
    XProgress* GetSuperProgress() const { return itsSuperProgress; }

    // ---- The calling thread's strategy

    /// Null when none is installed. A thread without an XThread is an internal error, "thread".
    static XProgressStrategy* GetProgressStrategy();

    /// The same, but null for a thread without an XThread.
    static XProgressStrategy* SafeGetProgressStrategy();

    /// Installs a strategy, which from then on belongs to the thread's slot; one that was installed before is
    /// not deleted. A thread without an XThread is an internal error, "slots".
    static void SetProgressStrategy( XProgressStrategy* inStrategy );
    static void DeleteProgressStrategy();

    /// Whether any valid progress of the thread is alive.
    static bool IsProgressBarUp();

    /// Asks all progresses of the calling thread to abort, or takes that back.
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
    XProgressStrategy* itsStrategy = nullptr; // null: invalid
    void* itsProgressPtr = nullptr;           // the strategy's
    XTimer itsUpdateTimer{ kUpdateYokePeriodMS };
};
