#pragma once

#include "Core/Times/XTimer.h"
#include "Terminal/ProgressText.h"
#include "Threads/XMutex.h"

#include <cstdint>
#include <list>
#include <ostream>
#include <string>

/// How long work goes on before its progress is shown, so that short work shows none.
constexpr std::uint32_t kProgressDelayMs = 500;

/// The progress of all threads on standard error: bars at the place where the next output goes, which disappear before
/// anything else is written there, or one line for each tenth of the outermost work.
///
/// While bars are shown, the cursor stays at the beginning of the first one. So however a terminal breaks its
/// lines again when its size changes, what is below the cursor is what has to be erased.
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

    /// What a bar is drawn from; belongs to the display.
    struct Bar
    {
        ProgressBar content;
        bool isOutermost = false;
        std::uint32_t delayMs = 0;
        XTimer age;
    };

    ProgressDisplay( std::ostream& ioError, Style inStyle ) : itsError( ioError ), itsStyle( inStyle ) {}

    // ---- For strategies

    /// Shown when it is that old. The bars of a thread go in the order in which they were added.
    Bar& AddBar( bool inIsOutermost, std::uint32_t inDelayMs, std::uint32_t inIndent, bool inShowsCount );
    void RemoveBar( Bar& inBar );

    /// False where nested work is to be seen in the outermost bar only.
    bool HasNestedBars() const;
    void SetTitle( Bar& ioBar, const std::string& inTitle );
    void SetMessage( Bar& ioBar, const std::string& inMessage );
    std::string GetMessage( const Bar& inBar ) const;
    void SetValue( Bar& ioBar, double inDone, double inTotal );
    void SetIndeterminate( Bar& ioBar );

    // ---- For the program

    /// Brings the terminal up to date. To be called about twenty times a second.
    void Draw();

    /// Shows nothing from now on.
    void Silence();

    /// Writes a line to standard error.
    void WriteLine( const std::string& inLine );

    /// What erases the bars, whoever writes it.
    static const char* GetEraser() { return "\r\x1B[J"; }

private:
    std::ostream& itsError;
    mutable XMutex itsMutex; // guards what follows, and the stream
    Style itsStyle;
    std::list<Bar> itsBars;
    std::string itsShown; // as it was written to the terminal
    int itsToldTenths = 0;

    std::string Compose();
    void Erase();
    void TellTenth( const Bar& inBar );
};
