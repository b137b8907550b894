#include "Terminal/AlignedText.h"

#include "Core/Strings/XUTF8Text.h"
#include "Jobs/XChunks.h"
#include "Pivot/XPivotText.h"

#include <algorithm>

// Two passes over all cells: one for the width of each column, one that prints. The text of a cell is made in
// both, so the memory does not grow with the table.

namespace
{
constexpr const char* kGap = "  ";

std::size_t GetWidth( const AlignedColumn& inColumn, std::uint32_t inRowCount )
{
    std::size_t width = 0;
    const auto visit = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto row = inFirst; row < inEnd; ++row )
            width =
                std::max( width, XCountCharacters( inColumn.getCell( static_cast<std::uint32_t>( row ) ) ) );
    };
    XForEachChunk( inRowCount, kTableRowsAtOnce, visit );
    return width;
}
} // namespace

AlignedText::AlignedText( std::vector<AlignedColumn> inColumns, std::uint32_t inRowCount )
    : itsColumns( std::move( inColumns ) ), itsRowCount( inRowCount )
{
    XProgress progress( itsColumns.size() );
    for ( const auto& column : itsColumns )
    {
        itsWidths.push_back( GetWidth( column, itsRowCount ) );
        progress.Increment();
    }
}

void AlignedText::Print( std::ostream& ioOut ) const
{
    const auto print = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto row = inFirst; row < inEnd && ioOut; ++row )
            ioOut << MakeLine( static_cast<std::uint32_t>( row ) ) << '\n';
    };
    XForEachChunk( itsRowCount, kTableRowsAtOnce, print );
}

std::string AlignedText::MakeLine( std::uint32_t inRow ) const
{
    std::string line;
    for ( std::size_t i = 0; i < itsColumns.size(); ++i )
    {
        const auto cell = itsColumns[i].getCell( inRow );
        const std::string padding( itsWidths[i] - XCountCharacters( cell ), ' ' );
        line += i > 0 ? kGap : "";
        line += itsColumns[i].isRightAligned ? padding + cell : cell + padding;
    }
    line.erase( line.find_last_not_of( ' ' ) + 1 );
    return line;
}
