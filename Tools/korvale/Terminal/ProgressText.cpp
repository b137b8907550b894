#include "Terminal/ProgressText.h"

#include "Core/Strings/XUTF8Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

// A line is label, count, bar, percentage, rate and remaining time, separated by two blanks. If it is too
// wide, parts are omitted in the order rate, count, bar, time; the percentage stays longest. The label is cut
// before the bar shrinks below its minimum, and gets all columns that the other parts leave; the bar takes
// what the label does not need, up to its maximum.
//
// The remaining time extrapolates the elapsed time linearly. Widths are counted in code points, not in
// columns: wide and combining characters are displayed wider or narrower than assumed.

namespace
{
constexpr std::size_t kLeastBar = 7; // with its brackets
constexpr std::size_t kMostBar = 32;
constexpr std::size_t kLeastLabel = 8; // what is left of a longer one before other things have to go
constexpr const char* kBarGap = "  ";

double GetShare( const ProgressBar& inBar )
{
    return inBar.total > 0 ? std::clamp( inBar.done / inBar.total, 0.0, 1.0 ) : 0;
}

/// The first columns of a text, with dots where some are missing.
std::string Cut( const std::string& inText, std::size_t inWidth )
{
    if ( XCountCharacters( inText ) <= inWidth )
        return inText;
    const auto dots = std::min<std::size_t>( inWidth, 2 );
    std::size_t end = 0;
    for ( auto left = inWidth - dots + 1; end < inText.size(); ++end )
        if ( ( inText[end] & 0xC0 ) != 0x80 && --left == 0 )
            break;
    return inText.substr( 0, end ) + std::string( dots, '.' );
}

std::string GetLabel( const ProgressBar& inBar )
{
    const auto isBoth = !inBar.title.empty() && !inBar.message.empty();
    auto label = inBar.title + ( isBoth ? ": " : "" ) + inBar.message;
    const auto isControl = []( char inByte )
    { return static_cast<unsigned char>( inByte ) < ' ' || inByte == '\x7F'; };
    std::ranges::replace_if( label, isControl, '?' );
    return label;
}

std::string GetPerCent( const ProgressBar& inBar )
{
    if ( inBar.isIndeterminate )
        return "";
    const auto number = std::to_string( static_cast<int>( GetShare( inBar ) * 100 ) );
    return std::string( 3 - number.size(), ' ' ) + number + " %";
}

std::string GetCount( const ProgressBar& inBar )
{
    if ( inBar.isIndeterminate || !inBar.showsCount )
        return "";
    const auto done = std::to_string( static_cast<std::uint64_t>( inBar.done ) );
    const auto total = std::to_string( static_cast<std::uint64_t>( inBar.total ) );
    return std::string( total.size() - std::min( done.size(), total.size() ), ' ' ) + done + "/" + total;
}

std::string GetRate( const ProgressBar& inBar )
{
    if ( inBar.isIndeterminate || !inBar.showsCount || inBar.done <= 0 || inBar.seconds <= 0 )
        return "";
    const auto rate = inBar.done / inBar.seconds;
    char text[32];
    std::snprintf( text, sizeof( text ), "%.*f/s", rate < 10 ? 2 : rate < 100 ? 1 : 0, rate );
    return text;
}

std::string GetTime( double inSeconds )
{
    constexpr double kMostHours = 999;
    const auto seconds = static_cast<int>( std::min( std::ceil( inSeconds ), kMostHours * 3600 ) );
    char text[32];
    if ( seconds < 3600 )
        std::snprintf( text, sizeof( text ), "%d:%02d", seconds / 60, seconds % 60 );
    else
        std::snprintf(
            text, sizeof( text ), "%d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60 );
    return text;
}

std::string GetTimeLeft( const ProgressBar& inBar )
{
    const auto share = GetShare( inBar );
    if ( inBar.isIndeterminate )
        return GetTime( std::floor( inBar.seconds ) );
    return share > 0 ? GetTime( inBar.seconds * ( 1 - share ) / share ) + " left" : "";
}

std::string DrawBar( const ProgressBar& inBar, std::size_t inWidth )
{
    const auto room = inWidth - 2;
    std::string bar( room, '-' );
    if ( inBar.isIndeterminate )
    {
        // A block that wanders, two steps a second.
        const auto block = std::max<std::size_t>( room / 4, 1 );
        const auto start = static_cast<std::size_t>( inBar.seconds * 2 ) % ( room - block + 1 );
        std::fill_n( bar.begin() + static_cast<std::ptrdiff_t>( start ), block, '#' );
    }
    else
        std::fill_n(
            bar.begin(), static_cast<std::size_t>( GetShare( inBar ) * static_cast<double>( room ) ), '#' );
    return "[" + bar + "]";
}

/// The parts beside the label, and their width including the gaps before them.
struct Parts
{
    std::string count, perCent, rate, timeLeft;
    bool hasBar = true;

    std::size_t GetWidth() const
    {
        std::size_t width = hasBar ? kLeastBar + 2 : 0;
        for ( const auto* part : { &count, &perCent, &rate, &timeLeft } )
            width += part->empty() ? 0 : part->size() + 2;
        return width;
    }
};

std::string Trim( std::string inText )
{
    return inText.erase( 0, inText.find_first_not_of( ' ' ) );
}

std::string Join( const std::vector<std::string>& inParts )
{
    std::string line;
    for ( const auto& part : inParts )
        if ( !part.empty() )
            line += ( line.empty() ? "" : kBarGap ) + part;
    return line;
}
} // namespace

std::string DrawProgressBar( const ProgressBar& inBar, std::uint32_t inColumns )
{
    const auto indent = std::min( inBar.indent, inColumns / 4 );
    const std::size_t columns = inColumns - indent;
    const auto label = GetLabel( inBar );
    const auto leastLabel = std::min( XCountCharacters( label ), kLeastLabel );
    Parts parts{ GetCount( inBar ), GetPerCent( inBar ), GetRate( inBar ), GetTimeLeft( inBar ) };

    // The least important parts are omitted first.
    const auto isTooWide = [&] { return leastLabel + parts.GetWidth() > columns; };
    for ( auto* part : { &parts.rate, &parts.count } )
        if ( isTooWide() )
            part->clear();
    if ( isTooWide() )
        parts.hasBar = false;
    if ( isTooWide() )
        parts.timeLeft.clear();

    const auto room = columns - std::min( columns, parts.GetWidth() );
    const auto shownLabel = Cut( label, room );
    const auto barWidth = std::min( kLeastBar + room - XCountCharacters( shownLabel ), kMostBar );
    const auto bar = parts.hasBar ? DrawBar( inBar, barWidth ) : std::string();
    const auto line = Join( { shownLabel, parts.count, bar, parts.perCent, parts.rate, parts.timeLeft } );
    return std::string( indent, ' ' ) + Cut( line, columns );
}

std::string DescribeProgress( const ProgressBar& inBar )
{
    return Join(
        { GetLabel( inBar ), Trim( GetPerCent( inBar ) ), Trim( GetCount( inBar ) ), GetRate( inBar ),
          GetTimeLeft( inBar ) } );
}
