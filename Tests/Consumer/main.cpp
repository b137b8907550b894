#include <Korvale.h>

#include <iostream>

int main()
{
    WInitCore core;

    auto table = std::make_unique<XPivotTable>();
    const XString unit = WCodePage::UTF8ToWindows1252( "µm²" );
    auto& areas = table->AddColumn( std::make_unique<XPivotFloatColumn>( kPivotArea, "", "", unit ) );
    for ( const double area : { 12.5, 3.25, 8.0 } )
        areas.AppendData( area, true );
    table->Sort( 0, XPivotTable::kSortDescending );

    XMemStream stream;
    stream.WriteStreamInfo();
    stream.WriteObject( *table );
    stream.SeekTo( 0 );
    stream.ReadStreamInfo();
    const std::unique_ptr<XStorable> copy( stream.ReadObject() );

    const auto& column = dynamic_cast<const XPivotTable&>( *copy ).GetColumn( 0 );
    std::cout << WCodePage::Windows1252ToUTF8( column.GetDisplayName().GetStringView() ) << " of "
              << column.GetColumnSize() << " objects, the largest " << column.GetDataString( 0 ) << '\n';
    return column.GetDataFloat( 0 ) == 12.5 ? 0 : 1;
}
