#pragma once

#include "Jobs/XProgressStrategy.h"
#include "Terminal/ProgressDisplay.h"

/// Shows the progress of its thread on the program's display, and converts an interrupt to an abort of all
/// its progress. The outermost progress and those that request it get bars; any other one moves the bar of
/// the enclosing one.
class TerminalProgressStrategy : public XProgressStrategy
{
public:
    /// With `inIsOutermost` the thread's outermost progress is that of the whole command; otherwise it is
    /// shown below that.
    TerminalProgressStrategy( ProgressDisplay& ioDisplay, bool inIsOutermost )
        : itsDisplay( ioDisplay ), itsIsOutermost( inIsOutermost )
    {
    }

    TerminalProgressStrategy* Clone() const override;
    void ProgressCreated( XProgress& inProgress, bool inForceBar, std::uint32_t inDelayMS ) override;
    void ProgressDestroyed( XProgress& inProgress ) override;
    void SetTitle( const XString& inTitle ) override;
    XString GetMessage( const XProgress& inProgress ) const override;
    void SetMessage( XProgress& inProgress, const XString& inMessage ) override;
    void SetProgress( XProgress& inProgress, std::uint32_t inPerMille ) override;
    void SetProgressIndeterminate( XProgress& inProgress ) override;
    bool HasProgressBar( const XProgress& inProgress ) const override;
    void Yield() override;

private:
    using Bar = ProgressDisplay::Bar;

    ProgressDisplay& itsDisplay;
    const bool itsIsOutermost;
    std::uint32_t itsBarCount = 0;
    Bar* itsFirstBar = nullptr; // shows the title
    std::string itsTitle;

    static Bar* GetBar( const XProgress& inProgress );
    static Bar* FindBar( const XProgress& inProgress );
};
