#pragma once

#include "Core/Times/XTimer.h"
#include "Terminal/ProgressText.h"
#include "Threads/XMutex.h"

#include <cstdint>
#include <list>
#include <ostream>
#include <string>

/// The time before the progress of work is shown, so that short work shows none.
constexpr std::uint32_t kProgressDelayMS = 500;

/// The progress of all threads on standard error: bars at the position of the next output, which are erased
/// before anything else is written there, or one line per 10 % of the outermost work.
///
/// While bars are shown, the cursor stays at the beginning of the first one. So even if a terminal rewraps
/// its lines after a change of its size, everything below the cursor can be erased.
/// Threads: any.
class ProgressDisplay
{
public:
    enum Style
    {
        kNone,
        kLines,
        kBars
    };

    /// The data of a bar; belongs to the display.
    struct Bar
    {
        ProgressBar content;
        bool isOutermost = false;
        std::uint32_t delayMS = 0;
        XTimer age;
    };

    ProgressDisplay( std::ostream& ioError, Style inStyle ) : itsError( ioError ), itsStyle( inStyle ) {}

    // ---- For strategies

    /// Adds a bar, which is shown after `inDelayMS`. The bars of a thread are in the order in which they were
    /// added.
    Bar& AddBar( bool inIsOutermost, std::uint32_t inDelayMS, std::uint32_t inIndent, bool inShowsCount );
    void RemoveBar( Bar& inBar );

    /// False if nested work is shown in the outermost bar only.
    bool HasNestedBars() const;
    void SetTitle( Bar& ioBar, const std::string& inTitle );
    void SetMessage( Bar& ioBar, const std::string& inMessage );
    std::string GetMessage( const Bar& inBar ) const;
    void SetValue( Bar& ioBar, double inDone, double inTotal );
    void SetIndeterminate( Bar& ioBar );

    // ---- For the program

    /// Updates the terminal. Call it about twenty times a second.
    void Draw();

    /// Shows nothing from now on.
    void Silence();

    /// Writes a line to standard error.
    void WriteLine( const std::string& inLine );

    /// The control sequence that erases the bars.
    static const char* GetEraser() { return "\r\x1B[J"; }

private:
    std::ostream& itsError;
    mutable XMutex itsMutex; // guards the members below and the stream
    Style itsStyle;
    std::list<Bar> itsBars;
    std::string itsShown; // as written to the terminal
    int itsReportedTenths = 0;

    std::string Compose();
    void Erase();
    void ReportTenth( const Bar& inBar );
};
