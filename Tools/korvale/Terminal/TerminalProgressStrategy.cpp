#include "Terminal/TerminalProgressStrategy.h"

#include "Jobs/XProgress.h"
#include "Process/WInterrupt.h"

// A strategy belongs to one thread. It creates a bar for the outermost progress of the thread, unless that is
// of the type kProgressWait, and for nested ones that ask for one (`inForceBar`); other nested progresses
// change the bar of the nearest progress around them (FindBar). Workers' strategies are not outermost, so
// their bars are indented below the bar of the command.

namespace
{
constexpr std::uint32_t kIndent = 2;
} // namespace

TerminalProgressStrategy* TerminalProgressStrategy::Clone() const
{
    return new TerminalProgressStrategy( itsDisplay, itsIsOutermost );
}

void TerminalProgressStrategy::ProgressCreated(
    XProgress& inProgress, bool inForceBar, std::uint32_t inDelayMS )
{
    const auto type = inProgress.GetProgressType();
    const auto isForced = inForceBar && itsDisplay.HasNestedBars();
    if ( type == XProgress::kProgressWait || ( itsBarCount > 0 && !isForced ) )
        return;
    const auto depth = itsBarCount + ( itsIsOutermost ? 0 : 1 );
    auto& bar =
        itsDisplay.AddBar( depth == 0, inDelayMS, depth * kIndent, type != XProgress::kProgressSteps );
    itsDisplay.SetValue( bar, 0, static_cast<double>( inProgress.GetMaxProgress() ) );
    if ( itsBarCount++ == 0 )
    {
        itsFirstBar = &bar;
        itsDisplay.SetTitle( bar, itsTitle );
    }
    SetProgressPtr( inProgress, &bar );
}

/// The final update of a progress may have been dropped by rate limiting; work that was too short to report
/// stays silent.
void TerminalProgressStrategy::ProgressDestroyed( XProgress& inProgress )
{
    auto* const bar = GetBar( inProgress );
    if ( !bar )
        return;
    const auto isShort = bar->age.GetElapsedMS() < XProgress::kUpdateYokePeriodMS;
    if ( !isShort && inProgress.GetProgress() == inProgress.GetMaxProgress() )
        SetProgress( inProgress, 1000 );
    SetProgressPtr( inProgress, nullptr );
    if ( --itsBarCount == 0 )
        itsFirstBar = nullptr;
    itsDisplay.RemoveBar( *bar );
}

void TerminalProgressStrategy::SetTitle( const XString& inTitle )
{
    itsTitle = inTitle.ToUTF8();
    if ( itsFirstBar )
        itsDisplay.SetTitle( *itsFirstBar, itsTitle );
}

XString TerminalProgressStrategy::GetMessage( const XProgress& inProgress ) const
{
    const auto* const bar = FindBar( inProgress );
    return bar ? XString::FromUTF8( itsDisplay.GetMessage( *bar ) ) : XString();
}

void TerminalProgressStrategy::SetMessage( XProgress& inProgress, const XString& inMessage )
{
    if ( auto* const bar = FindBar( inProgress ) )
        itsDisplay.SetMessage( *bar, inMessage.ToUTF8() );
}

void TerminalProgressStrategy::SetProgress( XProgress& inProgress, std::uint32_t )
{
    if ( auto* const bar = FindBar( inProgress ) )
        itsDisplay.SetValue(
            *bar, inProgress.GetExactProgress(), static_cast<double>( inProgress.GetMaxProgress() ) );
}

void TerminalProgressStrategy::SetProgressIndeterminate( XProgress& inProgress )
{
    if ( auto* const bar = FindBar( inProgress ) )
        itsDisplay.SetIndeterminate( *bar );
}

bool TerminalProgressStrategy::HasProgressBar( const XProgress& inProgress ) const
{
    return GetBar( inProgress ) != nullptr;
}

void TerminalProgressStrategy::Yield()
{
    if ( WInterrupt::IsRequested() )
        XProgress::Abort();
}

TerminalProgressStrategy::Bar* TerminalProgressStrategy::GetBar( const XProgress& inProgress )
{
    return static_cast<Bar*>( GetProgressPtr( inProgress ) );
}

/// The bar that shows a progress: its own, or that of the nearest enclosing progress with a bar.
TerminalProgressStrategy::Bar* TerminalProgressStrategy::FindBar( const XProgress& inProgress )
{
    for ( const auto* progress = &inProgress; progress; progress = progress->GetSuperProgress() )
        if ( auto* const bar = GetBar( *progress ) )
            return bar;
    return nullptr;
}
