#pragma once

#include <cstdint>
#include <string>

/// What is shown of one piece of work.
struct ProgressBar
{
    std::string title; ///< UTF-8, as the message.
    std::string message;
    double done = 0;
    double total = 1;
    double seconds = 0;           ///< Since it began.
    bool isIndeterminate = false; ///< Nobody knows how far it has come.
    bool showsCount = true;       ///< Whether the numbers mean something to the reader beyond their ratio.
    std::uint32_t indent = 0;
};

/// One line of at most so many columns: title and message, the count, a bar, per cent, rate and time left. The narrower,
/// the less of that; control characters are shown as question marks.
std::string DrawProgressBar( const ProgressBar& inBar, std::uint32_t inColumns );

/// The same without a bar and of any length, for a log.
std::string DescribeProgress( const ProgressBar& inBar );
