#include "Tables/TableText.h"

#include "Core/Strings/XNumberText.h"
#include "Pivot/XPivotText.h"
#include "Tables/ColumnKind.h"
#include "Tables/ColumnNames.h"
#include "Tables/OrderedRowWriter.h"

#include <vector>

namespace
{
void AppendField( std::string& ioLine, std::string_view inText )
{
    if ( inText.find_first_of( ",\"\r\n" ) == std::string_view::npos )
    {
        ioLine += inText;
        return;
    }
    ioLine += '"';
    for ( const auto character : inText )
        ioLine.append( character == '"' ? 2 : 1, character );
    ioLine += '"';
}
} // namespace

void WriteCSV(
    const XPivotTable& inTable, WorkerLimit inLimit, const std::function<void( std::string_view )>& inWrite )
{
    struct Column
    {
        const XPivotColumn& column;
        bool holdsNumbers;
    };
    std::vector<Column> columns;
    std::string text;
    // Readers skip lines without anything on them.
    const auto fillLine =
        [isOnlyColumn = inTable.GetNumColumns() == 1]( std::size_t inStart, std::string& ioText )
    {
        if ( isOnlyColumn && ioText.size() == inStart )
            ioText += "\"\"";
    };
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
    {
        const auto& column = inTable.GetColumn( i );
        columns.push_back( { column, HoldsNumbers( column ) } );
        text += i > 0 ? "," : "";
        AppendField( text, XPivotText::ToUTF8( column.GetDisplayName() ) );
    }
    fillLine( 0, text );
    text += '\n';
    inWrite( text );

    const auto appendRow = [&]( std::uint32_t inRow, std::string& ioText )
    {
        const auto start = ioText.size();
        for ( const auto& [column, holdsNumbers] : columns )
        {
            if ( column.DoesDataExist( inRow ) && holdsNumbers )
                XAppendNumber( ioText, column.GetDataFloat( inRow ) );
            else if ( column.DoesDataExist( inRow ) )
                AppendField( ioText, XPivotText::ToUTF8( column.GetDataString( inRow ) ) );
            fillLine( start, ioText );
            ioText += ',';
        }
        if ( columns.empty() )
            ioText += ',';
        ioText.back() = '\n';
    };
    const auto makeRows = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        std::string rows;
        for ( auto row = inFirst; row < inEnd; ++row )
            appendRow( static_cast<std::uint32_t>( row ), rows );
        return rows;
    };
    WriteRowsInOrder( inTable.GetNumRows(), inLimit, makeRows, inWrite );
}

AlignedText AlignTable( const XPivotTable& inTable )
{
    return AlignRows( inTable, 0, inTable.GetNumRows(), 0 );
}

AlignedText AlignRows(
    const XPivotTable& inTable, std::uint32_t inFirstRow, std::uint32_t inEndRow,
    std::uint32_t inFirstColumn )
{
    std::vector<AlignedColumn> columns;
    for ( auto i = inFirstColumn; i < inTable.GetNumColumns(); ++i )
    {
        const auto& column = inTable.GetColumn( i );
        const auto getCell = [&column, inFirstRow]( std::uint32_t inLine )
        {
            if ( inLine == 0 )
                return GetColumnName( column );
            const auto row = inFirstRow + inLine - 1;
            return column.DoesDataExist( row ) ? XPivotText::ToUTF8Line( column.GetDataString( row ) )
                                               : std::string();
        };
        columns.push_back( { HoldsNumbers( column ), getCell } );
    }
    return AlignedText( std::move( columns ), inEndRow - inFirstRow + 1 );
}
