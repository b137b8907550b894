#include "ProgressCounter.h"

using namespace std::chrono_literals;

ProgressCounter::ProgressCounter( Terminal& ioTerminal, std::string inVerb, bool inIsQuiet )
    : itsOut( ioTerminal.error ), itsVerb( std::move( inVerb ) ),
      itsIsActive( ioTerminal.showsProgress && !inIsQuiet ),
      itsNext( std::chrono::steady_clock::now() + 500ms )
{
}

ProgressCounter::~ProgressCounter()
{
    Clear();
}

void ProgressCounter::Show( std::uint64_t inDone, std::uint64_t inTotal, const std::string& inSubject )
{
    if ( !itsIsActive || std::chrono::steady_clock::now() < itsNext )
        return;
    itsNext = std::chrono::steady_clock::now() + 200ms;
    Clear();
    itsOut << itsVerb << ' ' << inDone << " of " << inTotal << ' ' << inSubject << std::flush;
    itsIsShown = true;
}

void ProgressCounter::Clear()
{
    constexpr const char* kEraseLine = "\r\x1B[K";
    if ( itsIsShown )
        itsOut << kEraseLine << std::flush;
    itsIsShown = false;
}
