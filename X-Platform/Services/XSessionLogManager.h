#pragma once

#include "Core/Errors/XErrorLog.h"
#include "Core/Errors/XInternalErrorHandlers.h"
#include "Services/XSessionLogEntry.h"
#include "Threads/XThread.h"

#include <filesystem>
#include <memory>
#include <span>

class XSessionLogFile;

/// The log of a session: what the program wants to be known afterwards, and every exception that ended where
/// nobody hears of it. While the manager exists, internal errors and XErrorLog write to it.
///
/// Entries are queued and written by a thread of the manager's own, so that adding one never waits for the
/// disk. The queue is bounded: when the disk is slow, full or gone, further entries are lost and counted, and
/// the count is written as an entry of its own as soon as writing works again. An internal error waits until
/// its entry is written, for `kFlushOnCrashMs` at most.
///
/// One at a time; a second one is an internal error. Destroying it writes what is queued, and is done when no
/// other thread can add entries any more.
/// Threads: entries may be added from any thread.
/// Errors: none of the disk's are thrown. The thread that cannot be started throws the system's last error.
class KORVALE_API XSessionLogManager : private XThread
{
public:
    struct XOptions
    {
        std::filesystem::path path = GetDefaultPath();
        std::uint64_t maxFileBytes = 4 * 1024 * 1024; ///< then the file is renamed
        unsigned oldFiles = 3;                        ///< renamed files that are kept
        std::uint32_t maxQueuedEntries = 10000;
        XSessionLogLevel leastLevel = kLogInformation; ///< entries below it are dropped
    };

    static constexpr std::uint32_t kFlushOnCrashMs = 2000;

    explicit XSessionLogManager( XOptions inOptions );
    ~XSessionLogManager() override;

    /// The manager of the process; null when there is none.
    static XSessionLogManager* GetManager();

    /// `session.log` in the user's state folder.
    static std::filesystem::path GetDefaultPath();

    void AddEntry( const XSessionLogEntry& inEntry );

    /// Adds an entry if there is a manager; for code that does not care whether a log is kept.
    static void Log( XSessionLogLevel inLevel, const XString& inText );

    /// Adds the exception's raw message and number, behind `inOrigin` where that is given, and its crash dump if it has
    /// one.
    void AddException(
        const XException& inException, XSessionLogLevel inLevel = kLogError,
        const XString& inOrigin = XString() );

    /// The same for exceptions that are not XExceptions.
    void AddException( const std::exception& inException, XSessionLogLevel inLevel = kLogError );

    /// Waits until all entries added so far are written or lost. False when the time is over.
    bool Flush( std::uint32_t inTimeoutMs = kNoTimeout );

    /// Entries that could not be kept, since the beginning.
    std::uint64_t GetLostCount() const;

    const std::filesystem::path& GetPath() const { return itsOptions.path; }

private:
    using XEntries = XVector<XSessionLogEntry>;

    std::int32_t RunThreadSelf() override;
    XEntries WaitForEntries();
    void WriteEntries( const XEntries& inEntries );
    bool TryToWrite( std::span<const XSessionLogEntry> inEntries ) noexcept;
    bool TellLostEntries();

    const XOptions itsOptions;
    const std::unique_ptr<XSessionLogFile> itsFile; // the writing thread's
    std::uint64_t itsToldLost = 0;                  // the writing thread's

    mutable XMutex itsMutex; // guards what follows
    XConditionVariable itsHasEntries;
    XConditionVariable itsHasWritten;
    XEntries itsQueue;
    std::uint64_t itsAdded = 0; // entries that were queued so far
    std::uint64_t itsDone = 0;  // of these, written or lost
    std::uint64_t itsLost = 0;
    bool itsIsEnding = false;

    XErrorLog itsPreviousErrorLog;
    XInternalErrorHandlers itsPreviousHandlers;
};
