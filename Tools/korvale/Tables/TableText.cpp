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

/// Formats the heading and the rows of a table as lines of CSV.
class CSVLines
{
public:
    explicit CSVLines( const XPivotTable& inTable )
    {
        for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
            itsColumns.push_back( { inTable.GetColumn( i ), HoldsNumbers( inTable.GetColumn( i ) ) } );
    }

    std::string MakeHeader() const
    {
        std::string text;
        AppendLine(
            text,
            []( const Column& inColumn, std::string& ioText )
            { AppendField( ioText, XPivotText::ToUTF8( inColumn.column.GetDisplayName() ) ); } );
        return text;
    }

    void AppendRow( std::uint32_t inRow, std::string& ioText ) const
    {
        AppendLine(
            ioText,
            [inRow]( const Column& inColumn, std::string& ioLine )
            {
                if ( !inColumn.column.DoesDataExist( inRow ) )
                    return;
                if ( inColumn.holdsNumbers )
                    XAppendNumber( ioLine, inColumn.column.GetDataFloat( inRow ) );
                else
                    AppendField( ioLine, XPivotText::ToUTF8( inColumn.column.GetDataString( inRow ) ) );
            } );
    }

private:
    struct Column
    {
        const XPivotColumn& column;
        bool holdsNumbers;
    };
    std::vector<Column> itsColumns;

    template<class TAppend>
    void AppendLine( std::string& ioText, TAppend inAppend ) const
    {
        const auto start = ioText.size();
        for ( const auto& column : itsColumns )
        {
            ioText += &column == itsColumns.data() ? "" : ",";
            inAppend( column, ioText );
        }
        // Readers skip lines without anything on them.
        if ( itsColumns.size() == 1 && ioText.size() == start )
            ioText += "\"\"";
        ioText += '\n';
    }
};
} // namespace

void WriteCSV(
    const XPivotTable& inTable, WorkerLimit inLimit, const std::function<void( std::string_view )>& inWrite )
{
    const CSVLines lines( inTable );
    inWrite( lines.MakeHeader() );
    const auto makeRows = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        std::string rows;
        for ( auto row = inFirst; row < inEnd; ++row )
            lines.AppendRow( static_cast<std::uint32_t>( row ), rows );
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
