#pragma once

#include "Core/Errors/XErrorLog.h"
#include "Core/Errors/XInternalErrorHandlers.h"
#include "Services/XSessionLogEntry.h"
#include "Threads/XThread.h"

#include <filesystem>
#include <memory>
#include <span>

class XSessionLogFile;

/// The log of a session: entries of the program, and every exception that must not propagate further. While
/// the manager exists, internal errors and XErrorLog write to it.
///
/// Entries are queued and written by a thread of the manager, so adding one never waits for the disk. The
/// queue is bounded: if the disk is slow, full or not available, further entries are dropped and counted, and
/// the count is written as an entry as soon as writing works again. An internal error waits until its entry
/// is written, but at most `kFlushOnCrashMS`.
///
/// There can be only one; a second one is an internal error. Destroying it writes the queued entries; no
/// other thread may add entries any more.
/// Threads: entries may be added from any thread.
/// Errors: disk errors are not thrown. If the thread cannot be started, throws the system's last error.
class KORVALE_API XSessionLogManager : private XThread
{
public:
    struct XOptions
    {
        std::filesystem::path path = GetDefaultPath();
        std::uint64_t maxFileBytes = 4 * 1024 * 1024; ///< the file is renamed when it exceeds this
        unsigned oldFiles = 3;                        ///< number of renamed files to keep
        std::uint32_t maxQueuedEntries = 10000;
        XSessionLogLevel leastLevel = kLogInformation; ///< entries below it are dropped
    };

    static constexpr std::uint32_t kFlushOnCrashMS = 2000;

    explicit XSessionLogManager( XOptions inOptions );
    ~XSessionLogManager() override;

    /// The manager of the process; null if there is none.
    static XSessionLogManager* GetManager();

    /// `session.log` in the user's state folder.
    static std::filesystem::path GetDefaultPath();

    void AddEntry( const XSessionLogEntry& inEntry );

    /// Adds an entry if there is a manager.
    static void Log( XSessionLogLevel inLevel, const XString& inText );

    /// Adds the exception's raw message and number, preceded by `inOrigin` unless empty, and its crash dump
    /// if it has one.
    void AddException(
        const XException& inException, XSessionLogLevel inLevel = kLogError,
        const XString& inOrigin = XString() );

    /// Adds an exception that is not an XException.
    void AddException( const std::exception& inException, XSessionLogLevel inLevel = kLogError );

    /// Waits until all entries added so far are written or dropped. Returns false on a time-out.
    bool Flush( std::uint32_t inTimeoutMS = kNoTimeout );

    /// The number of entries dropped since the start.
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
    const std::unique_ptr<XSessionLogFile> itsFile; // used by the writing thread only
    std::uint64_t itsToldLost = 0;                  // used by the writing thread only

    mutable XMutex itsMutex; // guards the members below
    XConditionVariable itsHasEntries;
    XConditionVariable itsHasWritten;
    XEntries itsQueue;
    std::uint64_t itsAdded = 0; // entries queued so far
    std::uint64_t itsDone = 0;  // of these, the ones written or dropped
    std::uint64_t itsLost = 0;
    bool itsIsEnding = false;

    XErrorLog itsPreviousErrorLog;
    XInternalErrorHandlers itsPreviousHandlers;
};
