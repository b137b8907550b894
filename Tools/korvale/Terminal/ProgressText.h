#pragma once

#include <cstdint>
#include <string>

/// The displayed state of one piece of work.
struct ProgressBar
{
    std::string title; ///< UTF-8, like the message
    std::string message;
    double done = 0;
    double total = 1;
    double seconds = 0;           ///< since its start
    bool isIndeterminate = false; ///< the progress is not known
    bool showsCount = true;       ///< whether the numbers themselves are of interest, not only their ratio
    std::uint32_t indent = 0;
};

/// One line of at most `inColumns` columns: title and message, the count, a bar, percentage, rate and time
/// left; narrow lines omit some of these. Control characters are shown as question marks.
std::string DrawProgressBar( const ProgressBar& inBar, std::uint32_t inColumns );

/// Describes the progress without a bar, in any length, for a log.
std::string DescribeProgress( const ProgressBar& inBar );
