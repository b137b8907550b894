// Random sequences of every row operation on a table with references, each held after every step against a
// plain model: a vector of rows and a map. A sequence is known by its seed, which the failure shows.

#include "Pivot/ColumnTools.h"

namespace
{
XUUID MakeUUID( unsigned inNumber )
{
    std::uint8_t bytes[16] = {};
    bytes[3] = static_cast<std::uint8_t>( inNumber >> 8 );
    bytes[15] = static_cast<std::uint8_t>( inNumber );
    return XUUID( bytes );
}

struct XModelRow
{
    std::optional<XUUID> id;
    std::optional<XUUID> parent;
    double value = kNaN; // NaN: missing
};

struct XModelRef
{
    std::uint32_t others = 0;
    bool isKept = false; // by the table, for rows that refer to it
    std::uint32_t number = 0;
};

/// What the references of a table should be. Rows are changed at will, and then settled.
struct XModel
{
    std::vector<XModelRow> rows;
    std::map<XUUID, XModelRef> refs;
    std::uint32_t nextNumber = 1;

    std::uint32_t CountRows( const XUUID& inUUID ) const
    {
        const auto holds = [&]( const XModelRow& inRow ) { return inRow.id == inUUID; };
        return static_cast<std::uint32_t>( std::count_if( rows.begin(), rows.end(), holds ) );
    }
    std::uint32_t GetNumber( const std::optional<XUUID>& inUUID ) const
    {
        const auto found = inUUID ? refs.find( *inUUID ) : refs.end();
        return found == refs.end() ? 0 : found->second.number;
    }
    void AddNumber( const XUUID& inUUID )
    {
        if ( !inUUID.IsNil() && refs[inUUID].number == 0 )
            refs[inUUID].number = nextNumber++;
    }
    void AddNumbers( std::size_t inFirst, std::size_t inEnd )
    {
        for ( std::size_t row = inFirst; row < inEnd; ++row )
        {
            if ( rows[row].id )
                AddNumber( *rows[row].id );
        }
    }
    void Forget()
    {
        const auto isUnused = [&]( const auto& inRef )
        { return inRef.second.others == 0 && !inRef.second.isKept && CountRows( inRef.first ) == 0; };
        std::erase_if( refs, isUnused );
    }
    void Keep( const XRows& inOrder )
    {
        std::vector<XModelRow> kept;
        for ( const std::uint32_t row : inOrder )
            kept.push_back( rows[row] );
        rows.swap( kept );
    }
    bool LacksOnlyRow( const XUUID& inUUID ) const
    {
        const auto isParent = [&]( const XModelRow& inRow ) { return inRow.parent == inUUID; };
        return CountRows( inUUID ) == 0 && std::ranges::any_of( rows, isParent );
    }
    /// The table keeps the objects that rows refer to and that have no row.
    void Settle()
    {
        for ( auto& [uuid, ref] : refs )
            ref.isKept = LacksOnlyRow( uuid );
        Forget();
    }
    /// The same for rows that were appended, with the objects that they refer to.
    void SettleAppended( std::size_t inFirst )
    {
        for ( std::size_t row = inFirst; row < rows.size(); ++row )
        {
            const auto parent = rows[row].parent ? refs.find( *rows[row].parent ) : refs.end();
            if ( parent != refs.end() )
                parent->second.isKept |= CountRows( parent->first ) == 0;
            const auto id = rows[row].id ? refs.find( *rows[row].id ) : refs.end();
            if ( id != refs.end() )
                id->second.isKept = false;
        }
    }
    /// What is stored does not tell whose a reference is.
    void TakeOver()
    {
        for ( auto& [uuid, ref] : refs )
        {
            ref.others += ref.isKept && CountRows( uuid ) == 0;
            ref.isKept = LacksOnlyRow( uuid );
            ref.others -= ref.isKept;
        }
    }
};

std::unique_ptr<XPivotTable> MakeReferringTable()
{
    auto table = std::make_unique<XPivotTable>();
    table->AddColumn( std::make_unique<XPivotOtherRowRefColumn>( kPivotParentID, "", "", "" ) )
        .SetRowRefColumnDescriptor( { kPivotID, "", "", "" } );
    table->AddColumn( std::make_unique<XPivotRowRefColumn>( kPivotID, "", "", "" ) );
    table->AddColumn( std::make_unique<XPivotFloatColumn>( kPivotArea, "", "", "" ) );
    return table;
}

struct XRowRefSequence
{
    explicit XRowRefSequence( unsigned inSeed ) : itsRandom( inSeed ) {}

    void Run()
    {
        for ( int step = 0; step < 40 && !testing::Test::HasFailure(); ++step )
        {
            Step();
            Check();
            if ( step % 4 == 0 )
                StoreAndRead();
        }
    }

private:
    XPivotOtherRowRefColumn& GetParents()
    {
        return dynamic_cast<XPivotOtherRowRefColumn&>( itsTable->GetColumn( 0 ) );
    }
    XPivotRowRefColumn& GetIDs() { return dynamic_cast<XPivotRowRefColumn&>( itsTable->GetColumn( 1 ) ); }
    XPivotFloatColumn& GetValues() { return dynamic_cast<XPivotFloatColumn&>( itsTable->GetColumn( 2 ) ); }

    std::uint32_t Random( std::size_t inLimit )
    {
        return static_cast<std::uint32_t>( itsRandom() % std::max<std::size_t>( inLimit, 1 ) );
    }
    std::uint32_t GetSize() const { return static_cast<std::uint32_t>( itsModel.rows.size() ); }
    XUUID RandomUUID() { return MakeUUID( Random( 3 ) ? Random( 12 ) : 100 + Random( 300 ) ); }

    template<class TUse>
    void ForEachColumn( TUse inUse )
    {
        for ( std::uint32_t i = 0; i < itsTable->GetNumColumns(); ++i )
            inUse( itsTable->GetColumn( i ) );
    }

    void Step()
    {
        using XOperation = void ( XRowRefSequence::* )();
        using S = XRowRefSequence;
        constexpr XOperation kOperations[] = {
            &S::SetRow,  &S::SetRow,   &S::SetRow,   &S::SetPresence, &S::ChangeOtherReferences,
            &S::Insert,  &S::Resize,   &S::Delete,   &S::DeleteList,  &S::Reorder,
            &S::Sort,    &S::CopyInto, &S::CopyOver, &S::Append,      &S::Duplicate,
            &S::Renumber };
        ( this->*kOperations[Random( std::size( kOperations ) )] )();
    }

    void SetRow() { SetRow( Random( GetSize() + 3 ) ); }
    void SetRow( std::uint32_t inRow )
    {
        const XUUID id = RandomUUID();
        const XUUID parent = RandomUUID();
        const bool exists = Random( 8 ) != 0;
        const double value = Random( 10 );
        const auto row = static_cast<std::int32_t>( inRow );
        if ( Random( 2 ) )
            GetIDs().SetData( id, row, exists );
        else
            GetIDs().SetData( id.UUIDToString(), row, exists );
        GetParents().SetData( parent, row, exists );
        GetValues().SetData( value, row, exists );

        itsModel.rows.resize( std::max<std::size_t>( inRow + 1, GetSize() ) );
        itsModel.rows[inRow] = {};
        itsModel.Forget();
        if ( exists )
            itsModel.rows[inRow] = { id, parent, value };
        itsModel.AddNumbers( inRow, inRow + 1 );
    }

    void SetPresence()
    {
        if ( GetSize() == 0 )
            return;
        const std::uint32_t row = Random( GetSize() );
        const bool exists = Random( 2 );
        const XUUID stored = GetIDs().GetDataVector()[row];
        if ( exists )
            GetIDs().SetDataExists( static_cast<std::int32_t>( row ), true );
        else
            GetIDs().DeleteRef( row );
        itsModel.rows[row].id.reset();
        itsModel.Forget();
        if ( exists )
            itsModel.rows[row].id = stored;
        itsModel.AddNumbers( row, row + 1 );
    }

    void ChangeOtherReferences()
    {
        const XUUID uuid = RandomUUID();
        if ( Random( 2 ) )
        {
            GetIDs().AddRef( uuid );
            itsModel.AddNumber( uuid );
            if ( !uuid.IsNil() )
                ++itsModel.refs[uuid].others;
            return;
        }
        GetIDs().DeleteRef( uuid );
        const auto ref = itsModel.refs.find( uuid );
        if ( ref != itsModel.refs.end() && ref->second.others > 0 )
            --ref->second.others;
        itsModel.Forget();
    }

    void Insert()
    {
        const std::uint32_t row = Random( GetSize() + 1 );
        const std::uint32_t count = Random( 4 );
        itsTable->InsertEmptyRows( row, count );
        itsModel.rows.insert( itsModel.rows.begin() + row, count, {} );
    }

    void Resize()
    {
        const std::uint32_t size = GetSize() + Random( 4 ) - std::min( GetSize(), Random( 6 ) );
        ForEachColumn( [&]( XPivotColumn& ioColumn ) { ioColumn.ResizeRows( size ); } );
        itsModel.rows.resize( size );
        itsModel.Forget();
    }

    void Delete()
    {
        const std::uint32_t first = Random( GetSize() + 1 );
        const std::uint32_t count = Random( std::min( GetSize() - first, 5u ) + 1 );
        itsTable->DeleteRows( first, count );
        itsModel.rows.erase( itsModel.rows.begin() + first, itsModel.rows.begin() + first + count );
        itsModel.Settle();
    }

    void DeleteList()
    {
        XRows deleted, kept;
        for ( std::uint32_t row = 0; row < GetSize(); ++row )
            ( Random( 4 ) ? kept : deleted ).push_back( row );
        std::shuffle( deleted.begin(), deleted.end(), itsRandom );
        itsTable->DeleteRows( deleted );
        itsModel.Keep( kept );
        itsModel.Settle();
    }

    void Reorder()
    {
        XRows order( Random( GetSize() + 1 ) );
        for ( std::uint32_t& row : order )
            row = Random( GetSize() );
        itsTable->KeepRows( order );
        itsModel.Keep( order );
        itsModel.Settle();
    }

    void Sort()
    {
        const auto direction = Random( 2 ) ? kSortAscending : kSortDescending;
        XRows expected( GetSize() ), order;
        std::iota( expected.begin(), expected.end(), 0u );
        std::stable_sort(
            expected.begin(), expected.end(),
            [&]( std::uint32_t inLeft, std::uint32_t inRight )
            {
                const std::uint32_t left = itsModel.GetNumber( itsModel.rows[inLeft].id );
                const std::uint32_t right = itsModel.GetNumber( itsModel.rows[inRight].id );
                return direction == kSortAscending ? left < right : right < left;
            } );
        itsTable->Sort( 1, direction, &order );
        EXPECT_EQ( order, expected );
        itsModel.Keep( order );
    }

    void CopyInto()
    {
        const std::uint32_t source = Random( GetSize() + 1 );
        const std::uint32_t count = Random( std::min( GetSize() - source, 4u ) + 1 );
        const std::uint32_t place = Random( GetSize() + 1 );
        ForEachColumn( [&]( XPivotColumn& ioColumn )
                       { ioColumn.CopyRowsInto( source, ioColumn, place, count ); } );
        const auto first = itsModel.rows.begin() + source;
        const std::vector<XModelRow> part( first, first + count );
        itsModel.rows.insert( itsModel.rows.begin() + place, part.begin(), part.end() );
        itsModel.AddNumbers( place, place + count );
    }

    void CopyOver()
    {
        const auto other = MakeOther();
        const std::uint32_t count = other->GetNumRows();
        const std::uint32_t place = Random( GetSize() + 1 );
        for ( std::uint32_t i = 0; i < itsTable->GetNumColumns(); ++i )
            other->GetColumn( i ).CopyRowsOver( 0, itsTable->GetColumn( i ), place, count );
        itsModel.rows.resize( std::max( GetSize(), place + count ) );
        std::copy( itsOtherRows.begin(), itsOtherRows.end(), itsModel.rows.begin() + place );
        itsModel.AddNumbers( place, place + count );
        itsModel.Forget();
    }

    void Append()
    {
        const auto other = MakeOther();
        const std::uint32_t size = GetSize();
        itsTable->Append( *other );
        itsModel.rows.insert( itsModel.rows.end(), itsOtherRows.begin(), itsOtherRows.end() );
        itsModel.AddNumbers( size, GetSize() );
        itsModel.SettleAppended( size );
    }

    /// A table of up to four rows, and the same in the model's form.
    std::unique_ptr<XPivotTable> MakeOther()
    {
        auto other = MakeReferringTable();
        itsOtherRows.clear();
        for ( std::uint32_t row = Random( 5 ); row > 0; --row )
        {
            const XModelRow added = { RandomUUID(), RandomUUID(), static_cast<double>( Random( 10 ) ) };
            itsOtherRows.push_back( added );
            dynamic_cast<XPivotOtherRowRefColumn&>( other->GetColumn( 0 ) ).AppendData( *added.parent, true );
            dynamic_cast<XPivotRowRefColumn&>( other->GetColumn( 1 ) ).AppendData( *added.id, true );
            other->GetColumn( 2 ).AppendData( added.value, true );
        }
        return other;
    }

    void Duplicate()
    {
        const std::uint32_t times = GetSize() > 20 ? Random( 2 ) : Random( 3 );
        const bool interleaved = Random( 2 );
        ForEachColumn( [&]( XPivotColumn& ioColumn ) { ioColumn.DuplicateAllValues( times, interleaved ); } );
        XRows order;
        for ( std::uint32_t row = 0; row < GetSize() * times; ++row )
            order.push_back( interleaved ? row / times : row % GetSize() );
        itsModel.Keep( order );
        itsModel.Forget();
    }

    void Renumber()
    {
        // Records without rows follow in the order of the records, which is the column's own affair.
        const auto before = GetIDs().GetReferences();
        GetIDs().RenumberUserVisibleIDs();
        for ( auto& [uuid, ref] : itsModel.refs )
            ref.number = 0;
        itsModel.nextNumber = 1;
        itsModel.AddNumbers( 0, GetSize() );
        for ( const auto& reference : before )
            itsModel.AddNumber( reference.uuid );
    }

    void Check()
    {
        ASSERT_EQ( itsTable->GetNumRows(), GetSize() );
        ASSERT_EQ( GetIDs().GetColumnSize(), GetSize() );
        for ( std::uint32_t row = 0; row < GetSize(); ++row )
        {
            const XModelRow& expected = itsModel.rows[row];
            ASSERT_EQ( GetIDs().DoesDataExist( row ), expected.id.has_value() ) << row;
            ASSERT_EQ( GetIDs().GetDataUUID( row ), expected.id.value_or( XUUID() ) ) << row;
            ASSERT_EQ( GetIDs().GetDataUserVisibleID( row ), itsModel.GetNumber( expected.id ) ) << row;
            ASSERT_EQ( GetParents().GetDataFloat( row ), itsModel.GetNumber( expected.parent ) ) << row;
            ASSERT_EQ( GetValues().DoesDataExist( row ), !std::isnan( expected.value ) ) << row;
        }
        CheckReferences();
    }

    void CheckReferences()
    {
        const auto references = GetIDs().GetReferences();
        ASSERT_EQ( references.size(), itsModel.refs.size() );
        ASSERT_EQ( GetIDs().GetNextUserVisibleID(), itsModel.nextNumber );
        for ( const auto& reference : references )
        {
            const auto expected = itsModel.refs.find( reference.uuid );
            ASSERT_NE( expected, itsModel.refs.end() );
            const std::uint32_t rows = itsModel.CountRows( reference.uuid );
            ASSERT_EQ(
                reference.count, rows + expected->second.others + ( expected->second.isKept && rows == 0 ) );
            ASSERT_EQ( reference.userVisibleID, expected->second.number );
            if ( rows == 0 )
                ASSERT_EQ( reference.row, XPivotRowRefColumn::kNoRow );
            else
                ASSERT_TRUE( reference.row < GetSize() && itsModel.rows[reference.row].id == reference.uuid );
            ASSERT_EQ( GetIDs().FindDataUUID( reference.uuid ), static_cast<std::int32_t>( reference.row ) );
        }
    }

    /// Goes on with the table that was read.
    void StoreAndRead()
    {
        const XBytes bytes = Write( *itsTable );
        const auto before = GetIDs().GetReferences();
        itsTable = Read<XPivotTable>( bytes );
        ASSERT_TRUE( GetIDs().GetReferences() == before );
        ASSERT_EQ( Write( *itsTable ), bytes );
        itsModel.TakeOver();
        Check();
    }

    std::mt19937 itsRandom;
    std::unique_ptr<XPivotTable> itsTable = MakeReferringTable();
    XModel itsModel;
    std::vector<XModelRow> itsOtherRows;
};
} // namespace

TEST( XPivotRowRefColumnModelTest, KeepsReferencesInStepThroughEveryRowOperation )
{
    for ( int seed = 0; seed < Rounds( 4000 ) && !HasFailure(); ++seed )
    {
        SCOPED_TRACE( seed );
        XRowRefSequence( static_cast<unsigned>( seed ) ).Run();
    }
}
