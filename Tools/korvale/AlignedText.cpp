#include "AlignedText.h"

#include <algorithm>

namespace
{
constexpr const char* kGap = "  ";

/// Characters, not bytes.
std::size_t GetWidth( const std::string& inText )
{
    const auto isStart = []( char inByte ) { return ( inByte & 0xC0 ) != 0x80; };
    return static_cast<std::size_t>( std::ranges::count_if( inText, isStart ) );
}

std::size_t GetWidth( const AlignedColumn& inColumn, std::uint32_t inRowCount )
{
    std::size_t width = 0;
    for ( std::uint32_t row = 0; row < inRowCount; ++row )
        width = std::max( width, GetWidth( inColumn.getCell( row ) ) );
    return width;
}
} // namespace

void PrintAligned(
    const std::vector<AlignedColumn>& inColumns, std::uint32_t inRowCount, std::ostream& ioOut )
{
    std::vector<std::size_t> widths;
    for ( const auto& column : inColumns )
        widths.push_back( GetWidth( column, inRowCount ) );

    for ( std::uint32_t row = 0; row < inRowCount && ioOut; ++row )
    {
        std::string line;
        for ( std::size_t i = 0; i < inColumns.size(); ++i )
        {
            const auto cell = inColumns[i].getCell( row );
            const std::string padding( widths[i] - GetWidth( cell ), ' ' );
            line += i > 0 ? kGap : "";
            line += inColumns[i].isRightAligned ? padding + cell : cell + padding;
        }
        line.erase( line.find_last_not_of( ' ' ) + 1 );
        ioOut << line << '\n';
    }
}
