#pragma once

#include "Services/XSessionLogEntry.h"
#include "Support/Failure.h"
#include "Terminal/ProgressDisplay.h"

#include <memory>
#include <ostream>
#include <string>

class XSessionLogManager;

/// The output streams of the program and their settings. Text is UTF-8.
struct Terminal
{
    std::ostream& out;
    std::ostream& error;
    ProgressDisplay::Style progress = ProgressDisplay::kNone;
    bool isOutTerminal = false;
    bool keepsLog = false; ///< even if the user names no file for it
};

/// One run of the program: prints results, shows progress and messages, and writes the session log.
/// Threads: any thread may use `progress` and report; one at a time prints to `out`.
class Session
{
public:
    explicit Session( Terminal& ioTerminal );
    ~Session();

    std::ostream& out;
    const bool isOutTerminal;
    ProgressDisplay progress;

    /// Selects the session log: that file or, if the name is empty, one in the user's state folder if the
    /// terminal keeps a log.
    void ChooseLog( const std::string& inFile );

    /// The file's name as UTF-8; empty if no log is kept.
    const std::string& GetLogName() const { return itsLogName; }

    /// Starts the selected log. With `inIsVerbose` its entries are also printed on standard error.
    void StartLog( bool inIsVerbose );

    /// Writes the remaining entries, and warns if some could not be written.
    void EndLog();

    /// Writes to the log; if verbose, also to standard error.
    void LogInfo( const std::string& inText );

    /// Writes to the log and to standard error: "korvale: <text>".
    void ReportInfo( const std::string& inText );

    /// Writes to the log and to standard error: "korvale: warning: <text>".
    void ReportWarning( const std::string& inText );

    /// Writes to the log and to standard error: "korvale: <subject>: <text>".
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
