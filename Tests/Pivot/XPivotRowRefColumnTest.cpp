#include "Pivot/ColumnTools.h"

namespace
{
std::unique_ptr<XPivotOtherRowRefColumn> MakeParents()
{
    auto parents = std::make_unique<XPivotOtherRowRefColumn>( kPivotParentID, "", "", "" );
    parents->SetRowRefColumnDescriptor( { kPivotID, "", "", "" } );
    return parents;
}

std::unique_ptr<XPivotRowRefColumn> MakeIDs( const std::vector<XUUID>& inRows )
{
    return MakeColumn<XPivotRowRefColumn>( { inRows.begin(), inRows.end() }, { kPivotID, "", "", "" } );
}
} // namespace

TEST( XPivotRowRefColumnTest, KeepsWhatIsReferredToFromElsewhere )
{
    const auto ids = MakeIDs( { kFirst, kSecond } );
    ids->AddRef( kFirst );
    ids->DeleteRefs( 0, 2 );
    EXPECT_EQ( ids->GetNumReferences(), 1u );
    EXPECT_EQ( ids->GetDataUserVisibleID( kFirst ), 1u );
    ids->DeleteRef( kFirst );
    EXPECT_EQ( ids->GetNumReferences(), 0u );
}

TEST( XPivotRowRefColumnTest, GivesNoNumberTwice )
{
    XPivotRowRefColumn column;
    column.AddRef( 0, kFirst, 2 );
    column.AddRef( kSecond );
    EXPECT_EQ( column.GetNextUserVisibleID(), 3u );
    for ( const std::uint32_t taken : { 1u, 2u } )
        EXPECT_ERROR( 1013, column.AddRef( 0, kThird, taken ) );
    column.AddRef( 0, kFirst, 2 );
    column.AddRef( 1, kThird, 5 );
    column.AddRef( 1, kThird, 4 );
    EXPECT_EQ( column.GetNextUserVisibleID(), 3u );
    const auto copy = Read<XPivotRowRefColumn>( Write( column ) );
    for ( XPivotRowRefColumn* ids : { &column, copy.get() } )
    {
        EXPECT_ERROR( 1013, ids->AddRef( 0, kThird, 1 ) );
        ids->AddRef( XUUID( "00000000-0000-0000-0000-000000000004" ) );
        EXPECT_EQ( ids->GetNextUserVisibleID(), 5u ) << "past 4";
    }
}

TEST( XPivotRowRefColumnTest, FindsRowsByTheirNumbersAfterEveryChange )
{
    const auto ids = MakeIDs( { kFirst, kSecond } );
    ids->AddRef( 0, kFirst, 4000000000 );
    ids->DeleteRef( kFirst );
    EXPECT_EQ( ids->FindDataFloat( 1.0 ), -1 ) << "no longer its number";
    const auto copy = Read<XPivotRowRefColumn>( Write( *ids ) );
    for ( XPivotRowRefColumn* column : { ids.get(), copy.get() } )
    {
        EXPECT_EQ( column->FindDataFloat( 4e9 ), 0 );
        for ( const double value : { 1.5, 2.5, -2.0, 4e9 + 0.5, 1e300, std::nan( "" ) } )
            EXPECT_EQ( column->FindDataFloat( value ), -1 ) << value;
        column->DeleteItem( 0 );
        EXPECT_EQ( column->FindDataFloat( 4e9 ), -1 );
        EXPECT_EQ( column->FindDataFloat( 2.0 ), 0 );
        column->AddRef( 1, kThird, 4000000000 );
        column->AppendData( kThird, true );
        EXPECT_EQ( column->FindDataFloat( 4e9 ), 1 ) << "free again";
        column->RenumberUserVisibleIDs();
        EXPECT_EQ( column->FindDataFloat( 4e9 ), -1 );
        EXPECT_EQ( column->FindDataFloat( 2.0 ), 1 );
    }
}

TEST( XPivotRowRefColumnTest, StopsAtTheLastNumber )
{
    XBytes bytes = Write( *MakeIDs( { kFirst } ) );
    std::fill( bytes.end() - 4, bytes.end(), std::uint8_t( 0xFF ) ); // the next number
    bytes[bytes.size() - 5 - 7] = 0xFE;                              // the number of the first
    const auto ids = Read<XPivotRowRefColumn>( bytes );
    EXPECT_ERROR( 1006, ids->SetData( kSecond, 0, true ) );
    EXPECT_ERROR( 1006, *ids += *ids );
    EXPECT_ERROR( 1006, ids->AddRef( kSecond ) );
    EXPECT_EQ( ids->GetColumnSize(), 1u );
    EXPECT_EQ( ids->GetNumReferences(), 1u );
    ids->RenumberUserVisibleIDs();
    ids->AppendData( kSecond, true );
    EXPECT_EQ( ids->GetUserVisibleIDVector(), ( XVector<std::uint32_t>{ 1, 2 } ) );
}

TEST( XPivotOtherRowRefColumnTest, FollowsItsTable )
{
    const auto getNumber = []( const XPivotTable& inTable )
    { return inTable.GetColumn( 0 ).GetDataFloat( 0 ); };
    XPivotTable table;
    auto& parents = table.AddColumn( MakeParents() );
    parents.AppendData( kSecond, true );
    EXPECT_EQ( getNumber( table ), 0.0 ) << "nothing to be bound to";
    table.AddColumn( MakeIDs( { kFirst } ) ).AddRef( kSecond );
    EXPECT_EQ( getNumber( table ), 2.0 );
    const XPivotTable copy( table );
    table.RemoveColumn( 1 );
    EXPECT_EQ( getNumber( table ), 0.0 );
    EXPECT_EQ( getNumber( copy ), 2.0 );

    XPivotTable other;
    other.AddColumn( MakeIDs( { kSecond } ) );
    const auto moved = table.RemoveColumn( 0 );
    EXPECT_EQ( moved->GetDataString( 0 ), "0" );
    other.InsertColumn( 0, std::unique_ptr<XPivotColumn>( moved->Clone() ) );
    EXPECT_EQ( getNumber( other ), 1.0 );
    XPivotTable last( std::move( other ) );
    EXPECT_EQ( getNumber( last ), 1.0 );
    EXPECT_EQ( last.FindRows( 0, kFilterEqual, XString( "1" ) ), ( XRows{ 0 } ) );
    auto& known = dynamic_cast<XPivotOtherRowRefColumn&>( last.GetColumn( 0 ) );
    known.SetData( kThird, 0, true );
    EXPECT_EQ( getNumber( last ), 0.0 ) << "unknown to the bound column";
    XRows rows;
    known.FindDataUUID( kThird, rows );
    EXPECT_EQ( rows, ( XRows{ 0 } ) );
}

TEST( XPivotOtherRowRefColumnTest, IsBoundToItsOwnTableWhateverIsAssigned )
{
    XPivotTable table;
    auto& ids = table.AddColumn( MakeIDs( { kFirst, kSecond } ) );
    auto missing = MakeParents();
    missing->ResizeRows( 2 );
    auto& parents = table.AddColumn( std::move( missing ) );
    {
        XPivotTable other;
        other.AddColumn( MakeIDs( { kThird, kFirst, kSecond } ) );
        auto others = MakeParents();
        others->AppendData( kThird, true );
        others->AppendData( kSecond, true );
        others->AppendData( kFirst, true );
        parents = other.AddColumn( std::move( others ) );
        parents.ResizeRows( 2 );
    }
    EXPECT_EQ( parents.GetRowRefColumn(), &ids );
    EXPECT_EQ( parents.GetUserVisibleIDVector(), ( XRows{ 0, 2 } ) );

    ids.SetChannelName( "C1" );
    EXPECT_EQ( parents.GetRowRefColumn(), nullptr );
    ids.SetChannelName( "" );
    EXPECT_EQ( parents.GetRowRefColumn(), &ids );
    auto& first =
        dynamic_cast<XPivotRowRefColumn&>( table.InsertColumn( 0, MakeIDs( { kSecond, kFirst } ) ) );
    EXPECT_EQ( parents.GetRowRefColumn(), &first );
    first = *MakeIDs( { kSecond, kThird } );
    first.SetUnits( "px" );
    EXPECT_EQ( parents.GetRowRefColumn(), &ids );
    first.CopySettings( ids );
    EXPECT_EQ( parents.GetUserVisibleIDVector(), ( XRows{ 2, 1 } ) );
}

namespace
{
const std::string kRowRefHead =
    "ad050000 ac050000 ac050000 66000000 02000000 4944 00000000 00000000 00000000 00000000 ";
const std::string kNil( 32, '0' );
const std::string kOne = std::string( 30, '0' ) + "01";
const std::string kTwo = std::string( 30, '0' ) + "02";
const std::string kRows =
    "03000000 010001 c6050000" + kNil + "01000000 00000000" + kOne + "01000000 02000000" + kTwo + "00000000";

std::uint32_t ErrorOfReferences( const std::string& inReferences )
{
    return ErrorOrZero( [&] { Read( FromHex( "c6050000" + kRowRefHead + kRows + inReferences ) ); } );
}
} // namespace

TEST( XPivotRowRefColumnStreamTest, LaysOutRowsRecordsAndTheNextNumber )
{
    auto ids = MakeIDs( { kFirst, kThird, kSecond } );
    ids->DeleteRef( 1 );
    ids->AddRef( kThird );
    std::string expected = kRowRefHead + kRows + "03000000" + kOne + "01000000 01000000 00000000" +
        std::string( 30, '0' ) + "03 01000000 04000000 ffffffff" + kTwo +
        "01000000 03000000 02000000 05000000";
    std::erase( expected, ' ' );
    XMemStream stream;
    ids->WriteStream2( stream );
    EXPECT_EQ( Hex( stream ), expected );
    EXPECT_EQ( Read<XPivotRowRefColumn>( Write( *ids ) )->GetReferences(), ids->GetReferences() );
    ExpectDamageIsSeen( Write( *ids ) );
}

TEST( XPivotRowRefColumnStreamTest, RefusesRecordsThatContradictTheRows )
{
    const std::string one = kOne + "01000000 01000000 00000000";
    const std::string two = kTwo + "01000000 02000000 02000000";
    const std::string three = std::string( 30, '0' ) + "03 01000000 03000000 ";
    EXPECT_EQ( ErrorOfReferences( "02000000" + one + two + "03000000" ), 0u );
    EXPECT_EQ( ErrorOfReferences( "02000000" + two + one + "ffffffff" ), 0u );
    const std::string refused[] = {
        "02000000" + one + two + "00000000",                                     // the next number
        "02000000" + one + two + "02000000",                                     // which is in use
        "02000000" + one + kTwo + "01000000 01000000 02000000 03000000",         // two of one number
        "01000000" + one + "03000000",                                           // a row without a record
        "03000000" + one + two + one + "03000000",                               // twice the same
        "02000000" + one + kTwo + "00000000 02000000 02000000 03000000",         // fewer references than rows
        "02000000" + one + kTwo + "01000000 00000000 02000000 03000000",         // without a number
        "02000000" + one + kTwo + "01000000 02000000 00000000 03000000",         // another's row
        "03000000" + one + two + three + "01000000 03000000",                    // a row without a value
        "03000000" + one + two + three + "03000000 03000000",                    // a row that does not exist
        "03000000" + one + two + kNil + "01000000 03000000 ffffffff 03000000" }; // of nothing
    for ( const std::string& references : refused )
        EXPECT_EQ( ErrorOfReferences( references ), 1005u ) << references;
    EXPECT_EQ( ErrorOfReferences( "ffffffff" + one ), 1260u );
}

TEST( XPivotRowRefColumnStreamTest, KeepsCountsAtTheTopOfTheirRange )
{
    const std::string references = "03000000" + kOne + "ffffffff 01000000 00000000" + kTwo +
        "01000000 02000000 02000000" + std::string( 30, '0' ) + "03 ffffffff 03000000 ffffffff 04000000";
    XPivotTable table;
    table.AddColumn( Read<XPivotRowRefColumn>( FromHex( "c6050000" + kRowRefHead + kRows + references ) ) );
    auto parents = MakeParents();
    parents->SetData( kThird, 2, true );
    table.AddColumn( std::move( parents ) );
    const auto read = Read<XPivotTable>( Write( table ) );
    for ( XPivotTable* kept : { &table, read.get() } )
    {
        kept->KeepRows( { 0, 2 } );
        EXPECT_EQ( kept->GetColumn( 1 ).GetDataFloat( 1 ), 3.0 );
        const auto records = dynamic_cast<XPivotRowRefColumn&>( kept->GetColumn( 0 ) ).GetReferences();
        EXPECT_EQ( records.front().count, 0xFFFFFFFFu );
        EXPECT_EQ( records.back().count, 0xFFFFFFFFu );
    }
}

TEST( XPivotOtherRowRefColumnStreamTest, KeepsTheDescriptorOfItsColumn )
{
    const auto parents = MakeParents();
    parents->AppendData( kFirst, true );
    XMemStream stream;
    parents->WriteStream2( stream );
    std::string end = "c7050000" + kNil + "01000000 00000000" + kOne +
        "00000000 ac050000 ac050000 66000000 " + "00000000 00000000 00000000";
    std::erase( end, ' ' );
    EXPECT_TRUE( Hex( stream ).ends_with( end ) ) << Hex( stream );
    const auto copy = Read<XPivotOtherRowRefColumn>( Write( *parents ) );
    EXPECT_EQ( copy->GetRowRefColumnDescriptor(), parents->GetRowRefColumnDescriptor() );
    const std::unique_ptr<XPivotColumn> empty( parents->CloneWithoutCopy() );
    EXPECT_EQ(
        dynamic_cast<XPivotOtherRowRefColumn&>( *empty ).GetRowRefColumnDescriptor(),
        parents->GetRowRefColumnDescriptor() );
    ExpectDamageIsSeen( Write( *parents ) );
}
