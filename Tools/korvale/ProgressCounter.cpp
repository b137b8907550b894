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
    const auto line =
        itsVerb + ' ' + std::to_string( inDone ) + " of " + std::to_string( inTotal ) + ' ' + inSubject;
    itsOut << line << std::flush;
    itsShownBytes = line.size();
}

void ProgressCounter::Clear()
{
    if ( itsShownBytes > 0 )
        itsOut << '\r' << std::string( itsShownBytes, ' ' ) << '\r' << std::flush;
    itsShownBytes = 0;
}
