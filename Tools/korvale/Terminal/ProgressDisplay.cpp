#include "Terminal/ProgressDisplay.h"

#include "Process/WConsole.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

// The display is redrawn as a whole if its text has changed: erase everything below the cursor, write the
// lines, move the cursor back to the first one. The cursor therefore rests at the beginning of the first bar,
// and any other output needs only GetEraser before it. Strategies on any thread only change the data of bars;
// the main thread draws them.
//
// Bars appear after their delay, so short work never flickers. At most eight lines are shown, and one less
// than the terminal has: a scrolling terminal would move the first line away from the cursor.

ProgressDisplay::Bar& ProgressDisplay::AddBar(
    bool inIsOutermost, std::uint32_t inDelayMS, std::uint32_t inIndent, bool inShowsCount )
{
    const XThreadLock lock( itsMutex );
    auto& bar = itsBars.emplace_back();
    bar.isOutermost = inIsOutermost;
    bar.delayMS = inDelayMS;
    bar.content.indent = inIndent;
    bar.content.showsCount = inShowsCount;
    itsReportedTenths = inIsOutermost ? 0 : itsReportedTenths;
    return bar;
}

void ProgressDisplay::RemoveBar( Bar& inBar )
{
    const XThreadLock lock( itsMutex );
    const auto isBar = [&]( const Bar& inEach ) { return &inEach == &inBar; };
    itsBars.erase( std::ranges::find_if( itsBars, isBar ) );
    if ( itsBars.empty() )
        Erase();
}

bool ProgressDisplay::HasNestedBars() const
{
    const XThreadLock lock( itsMutex );
    return itsStyle != kLines;
}

void ProgressDisplay::SetTitle( Bar& ioBar, const std::string& inTitle )
{
    const XThreadLock lock( itsMutex );
    ioBar.content.title = inTitle;
}

void ProgressDisplay::SetMessage( Bar& ioBar, const std::string& inMessage )
{
    const XThreadLock lock( itsMutex );
    ioBar.content.message = inMessage;
}

std::string ProgressDisplay::GetMessage( const Bar& inBar ) const
{
    const XThreadLock lock( itsMutex );
    return inBar.content.message;
}

void ProgressDisplay::SetValue( Bar& ioBar, double inDone, double inTotal )
{
    const XThreadLock lock( itsMutex );
    ioBar.content.done = inDone;
    ioBar.content.total = inTotal;
    ioBar.content.isIndeterminate = false;
    if ( ioBar.isOutermost && itsStyle == kLines )
        ReportTenth( ioBar );
}

void ProgressDisplay::SetIndeterminate( Bar& ioBar )
{
    const XThreadLock lock( itsMutex );
    ioBar.content.isIndeterminate = true;
}

void ProgressDisplay::ReportTenth( const Bar& inBar )
{
    const auto tenths = static_cast<int>( inBar.content.done / std::max( inBar.content.total, 1.0 ) * 10 );
    if ( tenths <= itsReportedTenths )
        return;
    itsReportedTenths = tenths;
    auto content = inBar.content;
    content.seconds = inBar.age.GetElapsedSeconds();
    itsError << DescribeProgress( content ) << '\n' << std::flush;
}

void ProgressDisplay::Draw()
{
    const XThreadLock lock( itsMutex );
    if ( itsStyle != kBars )
        return;
    auto text = Compose();
    if ( text == itsShown )
        return;
    itsError << GetEraser() << text << std::flush;
    itsShown = std::move( text );
}

std::string ProgressDisplay::Compose()
{
    constexpr std::uint32_t kMostLines = 8;
    const auto size = WConsole::GetErrorSize();
    const auto mostLines = std::clamp( size.rows, 2u, kMostLines + 1 ) - 1;
    std::uint32_t lines = 0;
    std::string text;
    for ( const auto& bar : itsBars )
    {
        if ( bar.age.GetElapsedMS() < bar.delayMS || lines == mostLines )
            continue;
        auto content = bar.content;
        content.seconds = bar.age.GetElapsedSeconds();
        // A full line would make some terminals go to the next one.
        text += ( lines++ > 0 ? "\n" : "" ) + DrawProgressBar( content, std::max( size.columns, 2u ) - 1 );
    }
    if ( lines > 1 )
        text += "\x1B[" + std::to_string( lines - 1 ) + "A";
    return text.empty() ? text : text + "\r";
}

void ProgressDisplay::Erase()
{
    if ( !itsShown.empty() )
        itsError << GetEraser() << std::flush;
    itsShown.clear();
}

void ProgressDisplay::Silence()
{
    const XThreadLock lock( itsMutex );
    Erase();
    itsStyle = kNone;
}

void ProgressDisplay::WriteLine( const std::string& inLine )
{
    const XThreadLock lock( itsMutex );
    Erase();
    itsError << inLine << '\n' << std::flush;
}
