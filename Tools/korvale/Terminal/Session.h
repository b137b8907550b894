#pragma once

#include "Services/XSessionLogEntry.h"
#include "Support/Failure.h"
#include "Terminal/ProgressDisplay.h"

#include <memory>
#include <ostream>
#include <string>

class XSessionLogManager;

/// Where the program talks to its user. Text is UTF-8.
struct Terminal
{
    std::ostream& out;
    std::ostream& error;
    ProgressDisplay::Style progress = ProgressDisplay::kNone;
    bool isOutTerminal = false;
    bool keepsLog = false; ///< Also when the user names no file for it.
};

/// One run of the program: what its command prints, shows and writes to the session log.
/// Threads: `progress` and what is told from any thread; one at a time prints to `out`.
class Session
{
public:
    explicit Session( Terminal& ioTerminal );
    ~Session();

    std::ostream& out;
    const bool isOutTerminal;
    ProgressDisplay progress;

    /// Decides on the session log: that file, or, where it has no name, one in the user's state folder if the terminal is
    /// to have one.
    void ChooseLog( const std::string& inFile );

    /// The file's name as UTF-8; empty when no log is kept.
    const std::string& GetLogName() const { return itsLogName; }

    /// Starts the log that was chosen. `inIsVerbose` shows on standard error too what goes into it.
    void StartLog( bool inIsVerbose );

    /// Writes what is still to be written, and tells the user if something could not be.
    void EndLog();

    /// For the log, and for the user too where the log was started verbose.
    void LogInfo( const std::string& inText );

    /// For the log, and for the user: "korvale: <text>".
    void ReportInfo( const std::string& inText );

    /// For the log, and for the user: "korvale: warning: <text>".
    void ReportWarning( const std::string& inText );

    /// For the log, and for the user: "korvale: <subject>: <text>".
    void ReportFailure( const std::string& inSubject, const Failure& inFailure );
    void ReportInterrupt();

private:
    const bool itsKeepsLog;
    std::string itsLogName;
    bool itsIsVerbose = false;
    std::unique_ptr<XSessionLogManager> itsLog;

    void Print( const std::string& inText );
    void Log( XSessionLogLevel inLevel, const std::string& inText, std::uint32_t inNumber = 0 );
};
