#include "Pivot/ColumnTools.h"

namespace
{
const XPivotColumnDescriptor kArea( kPivotArea, "", "", "px" );

/// Areas and names that belong together, and an unknown column.
XPivotTable MakeTable( const std::vector<std::optional<double>>& inAreas )
{
    XPivotTable table;
    auto& areas = table.AddColumn( MakeColumn<XPivotFloatColumn>( inAreas, kArea ) );
    auto names = std::make_unique<XPivotStringColumn>( kPivotName, "", "", "" );
    for ( std::uint32_t row = 0; row < areas.GetColumnSize(); ++row )
        names->AppendData( "area " + areas.GetDataString( row ), true );
    table.AddColumn( std::move( names ) );
    auto unknown = std::make_unique<XPivotUnknownColumn>( kPivotUserDefined, "?", "", "" );
    unknown->ResizeRows( areas.GetColumnSize() );
    table.AddColumn( std::move( unknown ) );
    return table;
}

void ExpectInStep( const XPivotTable& inTable, const XVector<XString>& inAreas )
{
    EXPECT_EQ( inTable.GetColumn( 0 ).GetStringVector(), inAreas );
    ASSERT_EQ( inTable.GetColumn( 1 ).GetColumnSize(), inAreas.size() );
    ASSERT_EQ( inTable.GetColumn( 2 ).GetColumnSize(), inAreas.size() );
    for ( std::uint32_t row = 0; row < inAreas.size(); ++row )
        EXPECT_EQ( inTable.GetColumn( 1 ).GetDataString( row ), "area " + inAreas[row] );
}
} // namespace

TEST( XPivotTableTest, FindsStandardColumnsWithoutTheirName )
{
    XPivotTable table = MakeTable( { 1.0 } );
    EXPECT_EQ( table.FindColumn( kArea ), &table.GetColumn( 0 ) );
    EXPECT_EQ( table.FindColumn( table.GetColumn( 1 ).GetDescriptor() ), &table.GetColumn( 1 ) );
    EXPECT_EQ( table.FindColumnIndex( XPivotColumnDescriptor( kPivotUserDefined, "?", "", "" ) ), 2 );
    EXPECT_EQ( table.FindColumn( XPivotColumnDescriptor( kPivotUserDefined, "", "", "" ) ), nullptr );
    EXPECT_EQ( table.FindColumn( XPivotColumnDescriptor( kPivotArea, "", "C1", "px" ) ), nullptr );
}

TEST( XPivotTableTest, TakesColumnsOfItsLengthOnly )
{
    XPivotTable table = MakeTable( { 1.0, 2.0 } );
    EXPECT_ERROR( 1006, table.AddColumn( std::make_unique<XPivotFloatColumn>() ) );
    EXPECT_ERROR( 1006, table.AddColumn( std::unique_ptr<XPivotFloatColumn>() ) );
    const std::unique_ptr<XPivotColumn> removed = table.RemoveColumn( 0 );
    EXPECT_EQ( removed->GetTable(), nullptr );
    EXPECT_EQ( table.GetNumColumns(), 2u );
    EXPECT_ERROR( 1006, table.GetColumn( 2 ) );
}

TEST( XPivotTableTest, OwnsDeepCopies )
{
    XPivotTable table = MakeTable( { 1.0, 2.0 } );
    XPivotTable copy = table;
    table.Clear();
    ExpectInStep( copy, { "1", "2" } );
    EXPECT_EQ( copy.GetColumn( 0 ).GetTable(), &copy );
    const XPivotTable moved = std::move( copy );
    EXPECT_EQ( moved.GetColumn( 2 ).GetTable(), &moved );
    table = moved;
    ExpectInStep( table, { "1", "2" } );
    EXPECT_EQ( table.GetColumn( 0 ).GetTable(), &table );
}

TEST( XPivotTableTest, KeepsColumnsInStep )
{
    XPivotTable table = MakeTable( { 3.0, std::nullopt, 1.0, 3.0, 2.0 } );
    XRows order;
    table.Sort( 0, XPivotTable::kSortDescending, &order );
    EXPECT_EQ( order, ( XRows{ 0, 3, 4, 2, 1 } ) );
    ExpectInStep( table, { "3", "3", "2", "1", "NaN" } );
    table.Sort( 1, XPivotTable::kSortAscending );
    ExpectInStep( table, { "1", "2", "3", "3", "NaN" } );
    table.Sort( 2, XPivotTable::kSortDescending );
    ExpectInStep( table, { "1", "2", "3", "3", "NaN" } );
    table.DeleteRows( 0, 1 );
    table.DeleteRows( XRows{ 3, 1 } );
    ExpectInStep( table, { "2", "3" } );
    table.KeepRows( { 1, 0 } );
    ExpectInStep( table, { "3", "2" } );
    EXPECT_ERROR( 1006, table.KeepRows( { 2 } ) );
    EXPECT_ERROR( 1006, table.DeleteRows( 1, 2 ) );
    EXPECT_ERROR( 1006, table.InsertEmptyRows( 3, 1 ) );
    ExpectInStep( table, { "3", "2" } );
    table.FilterRows( 0, XPivotTable::kFilterGreater, 2.5 );
    ExpectInStep( table, { "3" } );
    table.FilterRows( 1, XPivotTable::kFilterContains, XString( "2" ) );
    EXPECT_EQ( table.GetNumRows(), 0u );
}

TEST( XPivotTableTest, AppendsByDescriptor )
{
    XPivotTable table = MakeTable( { 1.0 } );
    XPivotTable other;
    other.AddColumn( MakeColumn<XPivotSInt32Column>( { 8, 9 } ) );
    other.AddColumn( MakeColumn<XPivotSInt32Column>( { 5, 6 }, kArea ) );
    table.Append( other );
    ASSERT_EQ( table.GetNumColumns(), 4u );
    EXPECT_EQ( table.GetColumn( 0 ).GetFloatVector(), ( XVector<double>{ 1.0, 5.0, 6.0 } ) );
    EXPECT_EQ( table.GetColumn( 1 ).GetExistsVector(), ( XVector<std::uint8_t>{ 1, 0, 0 } ) );
    EXPECT_EQ( table.GetColumn( 2 ).GetColumnSize(), 3u );
    EXPECT_EQ( table.GetColumn( 3 ).GetExistsVector(), ( XVector<std::uint8_t>{ 0, 1, 1 } ) );
    table.Append( table );
    EXPECT_EQ( table.GetNumRows(), 6u );
}

TEST( XPivotTableTest, IsAsItWasWhenAppendingFails )
{
    XPivotTable table = MakeTable( { 1.0 } );
    XPivotTable other;
    other.AddColumn( MakeColumn<XPivotStringColumn>( { "5", "large" }, kArea ) );
    EXPECT_ERROR( 1000, table.Append( other ) );
    ExpectInStep( table, { "1" } );

    XPivotTable objects;
    auto& ids = objects.AddColumn( MakeColumn<XPivotRowRefColumn>( { kFirst } ) );
    objects.AddColumn( MakeColumn<XPivotFloatColumn>( { 1.0 } ) ).SetColumnName( "size" );
    XPivotTable wrong;
    wrong.AddColumn( MakeColumn<XPivotRowRefColumn>( { kSecond } ) );
    wrong.AddColumn( MakeColumn<XPivotStringColumn>( { "large" } ) ).SetColumnName( "size" );
    const XBytes before = Write( objects );
    EXPECT_ERROR( 1000, objects.Append( wrong ) );
    EXPECT_EQ( Write( objects ), before );
    EXPECT_EQ( ids.GetNextUserVisibleID(), 2u );
    EXPECT_ERROR( 1026, ids.SetData( XVector<XString>{ kThird.UUIDToString(), "?" } ) );
    EXPECT_ERROR( 1000, objects.GetColumn( 1 ).SetData( XVector<XString>{ "2", "large" } ) );
    EXPECT_EQ( Write( objects ), before );
}

TEST( XPivotTableTest, StreamsACountAndColumnsWithTheirLengths )
{
    XPivotTable table;
    table.AddColumn( MakeColumn<XPivotSInt32Column>( { 5 } ) );
    XMemStream stream;
    table.WriteStream2( stream );
    const std::string column =
        "b1050000 ad050000 ac050000 ac050000 01000000 04000000 6e616d65 00000000 00000000 00000000 "
        "00000000 01000000 01 b1050000 00000000 01000000 00000000 05000000 00000000";
    XBytes expected = FromHex( "d1070000 01000000 4900000000000000" + column );
    EXPECT_EQ( BytesOf( stream ), expected );
}

TEST( XPivotTableTest, ReadsBackAndSeesDamage )
{
    const XPivotTable table = MakeTable( { 3.0, std::nullopt } );
    const XBytes bytes = Write( table );
    ExpectInStep( *Read<XPivotTable>( bytes ), { "3", "NaN" } );
    EXPECT_EQ( Write( *Read<XPivotTable>( bytes ) ), bytes );
    EXPECT_EQ( Read<XPivotTable>( Write( XPivotTable() ) )->GetNumColumns(), 0u );
    ExpectDamageIsSeen( bytes );
}

TEST( XPivotTableTest, RefusesWhatIsInconsistent )
{
    const std::string head = "d1070000 d1070000 ";
    const std::string descriptor =
        "ad050000 ac050000 ac050000 01000000 00000000 00000000 00000000 00000000 00000000 00000000 ";
    const std::string twoRows = "3400000000000000 c8050000 " + descriptor + "c8050000 02000000 "; // 52 bytes
    const std::string oneRow = "3400000000000000 c8050000 " + descriptor + "c8050000 01000000 ";
    const auto error = []( const std::string& inHex )
    { return ErrorOrZero( [&] { Read( FromHex( inHex ) ); } ); };
    EXPECT_EQ( error( head + "02000000" + twoRows + twoRows ), 0u );
    EXPECT_EQ( error( head + "02000000" + twoRows + oneRow ), 1005u );
    EXPECT_EQ( error( head + "ffffffff" + twoRows + twoRows ), 1260u );
    EXPECT_EQ( error( head + "01000000 3500000000000000" + twoRows.substr( 17 ) + "00" ), 1005u );
    EXPECT_EQ( error( head + "01000000 3300000000000000" + twoRows.substr( 17 ) ), 1005u );
    EXPECT_EQ( error( head + "01000000 ffffffffffffffff" + twoRows.substr( 17 ) ), 1260u );
    EXPECT_EQ( error( head + "01000000 0400000000000000 00000000" ), 1005u ); // a null object
    EXPECT_EQ(
        error( head + "01000000 0400000000000000 34120000" ), 1005u ); // of an unknown class, no column
    EXPECT_EQ( error( head + "01000000 0c00000000000000 d1070000 d1070000 00000000" ), 1005u ); // a table
}

namespace
{
/// A table of a column of an unknown class, with flags as given, beside two unknown columns of two rows.
std::string MakeOpaqueTable( const std::string& inFlags )
{
    const std::string base =
        "ad050000 ac050000 ac050000 01000000 01000000 61 00000000 00000000 00000000 00000000 ";
    const std::string rest = "3412ff00 0123456789";
    const std::string plain = "3500000000000000 c8050000 " + base + "00000000 c8050000 02000000 ";
    std::string opaque = "3412ff00 " + base + inFlags + rest;
    const auto length = FromHex( opaque ).size();
    char text[17];
    std::snprintf( text, sizeof text, "%02x00000000000000", static_cast<unsigned>( length ) );
    return "d1070000 d1070000 03000000" + plain + text + opaque + plain;
}

void ExpectSameAfterFailingAppend( XPivotTable inTable )
{
    inTable.AddColumn( MakeColumn<XPivotFloatColumn>( { 1.0, 2.0 } ) ).SetColumnName( "size" );
    XPivotTable other;
    other.AddColumn( MakeColumn<XPivotStringColumn>( { "large" } ) ).SetColumnName( "size" );
    const XBytes before = Write( inTable );
    EXPECT_ERROR( 1000, inTable.Append( other ) );
    EXPECT_EQ( Write( inTable ), before );
}
} // namespace

TEST( XPivotTableTest, KeepsColumnsOfUnknownClasses )
{
    for ( const char* const flags : { "02000000 01 00", "00000000" } )
    {
        const XBytes bytes = FromHex( MakeOpaqueTable( flags ) );
        const auto table = Read<XPivotTable>( bytes );
        ASSERT_EQ( table->GetNumRows(), 2u );
        EXPECT_EQ( Write( *table ), bytes );
        EXPECT_EQ( Write( XPivotTable( *table ) ), bytes );
        XPivotColumn& column = table->GetColumn( 1 );
        EXPECT_EQ( column.GetColumnSize(), 2u );
        EXPECT_EQ( column.GetDisplayName(), XString( "a" ) );
        EXPECT_EQ( column.GetDataString( 0 ), XString( "N/A" ) );
        table->KeepRows( { 0, 1 } );
        table->InsertEmptyRows( 2, 0 );
        table->DeleteRows( 1, 0 );
        table->DuplicateAllRows( 1, true );
        EXPECT_EQ( Write( *table ), bytes );
        ExpectSameAfterFailingAppend( *table );
        table->KeepRows( { 1, 0 } ); // whose the bytes are is not known any more
        EXPECT_EQ( Write( column ), Write( table->GetColumn( 0 ) ) );
        EXPECT_LT( Write( *table ).size(), bytes.size() );
        EXPECT_EQ( Read<XPivotTable>( Write( *table ) )->GetNumRows(), 2u );
    }
    ExpectDamageIsSeen( FromHex( MakeOpaqueTable( "02000000 01 00" ) ) );
    EXPECT_ERROR( 1005, Read( FromHex( MakeOpaqueTable( "03000000 01 00 00" ) ) ) );
    EXPECT_ERROR( 1005, Read( FromHex( MakeOpaqueTable( "02000000 01 02" ) ) ) );
}

TEST( XPivotTableTest, WritesNoForeignByteOrder )
{
    const auto table = Read<XPivotTable>( FromHex( MakeOpaqueTable( "00000000" ) ) );
    XMemStream stream;
    stream.SetByteOrder( kMotorolaOrder );
    stream.WriteObject( *table );
    stream.SeekTo( 0 );
    const std::unique_ptr<XStorable> read( stream.ReadObject() );
    EXPECT_EQ( dynamic_cast<XPivotTable&>( *read ).GetNumRows(), 2u );
    EXPECT_EQ(
        Write( *read ),
        Write(
            [&]
            {
                table->KeepRows( { 1, 0 } );
                return *table;
            }() ) );
}

TEST( XPivotTableTest, IsAsItWasWhenReadingFails )
{
    XPivotTable table = MakeTable( { 1.0 } );
    XBytes bytes = Write( MakeTable( { 2.0, 3.0 } ) );
    XMemStream stream( bytes.data() + 4, bytes.size() - 5 );
    EXPECT_ERROR( 1260, table.ReadStream2( stream ) );
    ExpectInStep( table, { "1" } );
}
