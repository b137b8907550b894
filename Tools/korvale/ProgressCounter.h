#pragma once

#include "Command.h"

#include <chrono>
#include <string>

/// Shows on a terminal's standard error how far long work has come, a few times a second; elsewhere nothing.
class ProgressCounter
{
public:
    /// `inVerb` as in "Measuring 12 of 64".
    ProgressCounter( Terminal& ioTerminal, std::string inVerb, bool inIsQuiet );

    /// Takes the line away.
    ~ProgressCounter();
    ProgressCounter( const ProgressCounter& ) = delete;
    ProgressCounter& operator=( const ProgressCounter& ) = delete;

    void Show( std::uint64_t inDone, std::uint64_t inTotal, const std::string& inSubject );

    /// Takes the line away, so that something else may be written; the next Show brings it back.
    void Clear();

private:
    std::ostream& itsOut;
    std::string itsVerb;
    bool itsIsActive;
    std::size_t itsShownBytes = 0;
    std::chrono::steady_clock::time_point itsNext;
};
