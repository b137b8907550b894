#include "Pivot/Columns/XPivotColumnT.h"

#include "Core/Streams/XStreamFields.h"
#include "Core/Strings/XNumberText.h"
#include "Pivot/Columns/Internal/XPivotValueStream.h"
#include "Pivot/Rows/Internal/XPivotRowOrder.h"
#include "Pivot/Rows/Internal/XPivotRunBlocks.h"

#include <cmath>
#include <concepts>
#include <functional>
#include <memory>
#include <numeric>
#include <typeinfo>
#include <unordered_set>

// The columns whose values lie in one vector, itsColumnData, beside the flags in XPivotColumn; both always
// have one element for each row, and missing rows hold the default value or whatever was set. Operations on
// rows work on both vectors in the same way, as moves of elements.
//
// Values of 4, 8 and 16 bytes whose stored form equals their form in memory are read and written in blocks
// (XPivotRunBlocks), unless the stream has the other byte order or an observer, to which each
// field is reported. Both ways give and accept the same bytes.

namespace
{
template<class TVector>
auto At( TVector& inVector, USize inIndex )
{
    return inVector.begin() + static_cast<std::ptrdiff_t>( inIndex );
}

/// Puts a part of one vector into another, which may be the same one.
template<class T>
void InsertPart(
    const XVector<T>& inSource, USize inFirst, USize inCount, XVector<T>& ioDestination, USize inPlace )
{
    if ( &inSource != &ioDestination )
    {
        ioDestination.insert(
            At( ioDestination, inPlace ), At( inSource, inFirst ), At( inSource, inFirst + inCount ) );
        return;
    }
    // Inserting may reallocate or move the source.
    const XVector<T> part( At( inSource, inFirst ), At( inSource, inFirst + inCount ) );
    ioDestination.insert( At( ioDestination, inPlace ), part.begin(), part.end() );
}

/// Copies a part of a vector over a part of another, which may be the same one: the parts may overlap.
template<class T>
void CopyPart(
    const XVector<T>& inSource, USize inFirst, USize inCount, XVector<T>& ioDestination, USize inPlace )
{
    const auto first = At( inSource, inFirst );
    const auto end = At( inSource, inFirst + inCount );
    if ( &inSource == &ioDestination && inPlace > inFirst )
        // From the end: the destination overlaps the end of the source.
        std::copy_backward( first, end, At( ioDestination, inPlace + inCount ) );
    else
        std::copy( first, end, At( ioDestination, inPlace ) );
}

/// Rows in ascending order are moved down where they lie: nothing is written over that is still to be picked.
template<class T>
void PickRows( XVector<T>& ioValues, const XVector<std::uint32_t>& inOrder, bool inIsAscending )
{
    if ( !inIsAscending )
    {
        XVector<T> picked( inOrder.size() );
        for ( std::size_t i = 0; i < picked.size(); ++i )
            picked[i] = ioValues[inOrder[i]];
        return ioValues.swap( picked );
    }
    for ( std::size_t i = 0; i < inOrder.size(); ++i )
        ioValues[i] = ioValues[inOrder[i]];
    ioValues.erase( At( ioValues, inOrder.size() ), ioValues.end() );
}

struct XValueHash
{
    std::size_t operator()( double inValue ) const { return std::hash<double>()( inValue ); }
    std::size_t operator()( const XString& inValue ) const { return std::hash<XString>()( inValue ); }
    std::size_t operator()( const XTime& inValue ) const
    {
        return std::hash<std::int64_t>()( inValue.GetMicroSeconds() );
    }
    std::size_t operator()( const XUUID& inValue ) const
    {
        const char* bytes = reinterpret_cast<const char*>( inValue.GetBytes() );
        return std::hash<std::string_view>()( { bytes, XUUID::kByteCount } );
    }
    std::size_t operator()( std::uint32_t inValue ) const { return inValue; }
    std::size_t operator()( std::int32_t inValue ) const { return static_cast<std::uint32_t>( inValue ); }
};

std::string DescribeValue( const XString& inValue )
{
    return XQuoteStoredText( inValue );
}
std::string DescribeValue( double inValue )
{
    std::string text;
    XAppendNumber( text, inValue );
    return text;
}
std::string DescribeValue( const XTime& inValue )
{
    return std::to_string( inValue.GetMicroSeconds() ) + " microseconds";
}
std::string DescribeValue( const XUUID& inValue )
{
    return std::string( inValue.UUIDToString().GetStringView() );
}
std::string DescribeValue( const XVersion& inValue )
{
    return XDescribeVersion( inValue );
}
std::string DescribeValue( std::integral auto inValue )
{
    return std::to_string( inValue );
}

template<class T>
bool IsNaN( const T& inValue )
{
    if constexpr ( std::is_floating_point_v<T> )
        return std::isnan( inValue );
    else
        return false;
}
} // namespace

template<class T>
void XPivotColumnT<T>::SetValue( const T& inValue, std::int32_t inRow, bool inExists )
{
    XAssert( inRow >= 0 );
    const std::uint32_t row = static_cast<std::uint32_t>( inRow );
    // Setting a value behind the end adds the rows in between, as missing ones.
    if ( row >= GetColumnSize() )
    {
        const T value = inValue; // growing may move what it refers to
        ResizeRows( row + 1 );
        itsColumnData[row] = value;
    }
    else
        itsColumnData[row] = inValue;
    GetExists()[row] = inExists ? 1 : 0;
}

template<class T>
void XPivotColumnT<T>::AppendValue( const T& inValue, bool inExists )
{
    XAssert( GetColumnSize() < kMaxRows );
    itsColumnData.push_back( inValue );
    GetExists().push_back( inExists ? 1 : 0 );
}

template<class T>
void XPivotColumnT<T>::SetData( const XVector<XString>& inValues )
{
    // Converted separately, so that the column is unchanged if a text is rejected.
    const auto count = static_cast<std::uint32_t>( inValues.size() );
    const std::unique_ptr<XPivotColumn> read( CloneWithoutCopy() );
    if ( auto* column = dynamic_cast<XPivotColumnT*>( read.get() ) )
        column->SetDefaultValue( itsDefaultValue );
    for ( std::size_t row = 0; row < inValues.size(); ++row )
        read->SetData( inValues[row], static_cast<std::int32_t>( row ), true );
    read->CopyRowsOver( 0, *this, 0, read->GetColumnSize() ); // none in a column that ignores texts
    ResizeRows( count );
}

template<class T>
void XPivotColumnT<T>::SetData( const XVector<double>& inValues )
{
    ResizeRows( static_cast<std::uint32_t>( inValues.size() ) );
    for ( std::size_t row = 0; row < inValues.size(); ++row )
        SetData( inValues[row], static_cast<std::int32_t>( row ), true );
}

// ---- Rows

template<class T>
void XPivotColumnT<T>::CopyRowsInto(
    std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
    std::uint32_t inCount ) const
{
    if ( inCount == 0 )
        return;
    XAssert( USize( inSourceRow ) + inCount <= GetColumnSize() );
    if ( typeid( inDestination ) != typeid( *this ) )
        return XPivotColumn::CopyRowsInto( inSourceRow, inDestination, inDestinationRow, inCount );
    auto& destination = static_cast<XPivotColumnT&>( inDestination );
    XAssert( inDestinationRow <= destination.GetColumnSize() );
    XAssert( USize( destination.GetColumnSize() ) + inCount <= kMaxRows );
    // Inserted as a whole: rows that are inserted empty and then set would be moved and written twice.
    InsertPart( itsColumnData, inSourceRow, inCount, destination.itsColumnData, inDestinationRow );
    InsertPart( GetExistsVector(), inSourceRow, inCount, destination.GetExists(), inDestinationRow );
}

template<class T>
void XPivotColumnT<T>::CopyRowsOver(
    std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
    std::uint32_t inCount ) const
{
    if ( inCount == 0 )
        return;
    XAssert( USize( inSourceRow ) + inCount <= GetColumnSize() );
    if ( typeid( inDestination ) != typeid( *this ) )
        return XPivotColumn::CopyRowsOver( inSourceRow, inDestination, inDestinationRow, inCount );
    auto& destination = static_cast<XPivotColumnT&>( inDestination );
    const USize endRow = USize( inDestinationRow ) + inCount;
    XAssert( endRow <= kMaxRows );
    if ( endRow > destination.GetColumnSize() )
        destination.ResizeRows( static_cast<std::uint32_t>( endRow ) );
    CopyPart( itsColumnData, inSourceRow, inCount, destination.itsColumnData, inDestinationRow );
    CopyPart( GetExistsVector(), inSourceRow, inCount, destination.GetExists(), inDestinationRow );
}

template<class T>
void XPivotColumnT<T>::InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount )
{
    XAssert( inRowIndex <= GetColumnSize() );
    XAssert( USize( GetColumnSize() ) + inCount <= kMaxRows );
    itsColumnData.insert( At( itsColumnData, inRowIndex ), inCount, itsDefaultValue );
    GetExists().insert( At( GetExists(), inRowIndex ), inCount, 0 );
}

template<class T>
void XPivotColumnT<T>::ResizeRows( std::uint32_t inRowCount )
{
    XAssert( inRowCount <= kMaxRows );
    itsColumnData.resize( inRowCount, itsDefaultValue );
    GetExists().resize( inRowCount, 0 );
}

template<class T>
void XPivotColumnT<T>::ReserveRows( std::uint32_t inRowCount )
{
    XPivotColumn::ReserveRows( inRowCount );
    itsColumnData.reserve( inRowCount );
}

template<class T>
void XPivotColumnT<T>::DeleteItems( std::uint32_t inFirst, std::uint32_t inCount )
{
    const USize endRow = USize( inFirst ) + inCount;
    XAssert( endRow <= GetColumnSize() );
    itsColumnData.erase( At( itsColumnData, inFirst ), At( itsColumnData, endRow ) );
    GetExists().erase( At( GetExists(), inFirst ), At( GetExists(), endRow ) );
}

// ---- Order

template<class T>
void XPivotColumnT<T>::Sort( XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder )
{
    XSortPivotRows( itsColumnData, inDirection, outOrder );
    Reorder( outOrder );
}

template<class T>
void XPivotColumnT<T>::RemoveDuplicates( XVector<std::uint32_t>& outRows )
{
    outRows.clear();
    // The first of equal values stays, so the rows that are left keep their order.
    std::unordered_set<T, XValueHash> seen;
    for ( std::uint32_t row = 0; row < GetColumnSize(); ++row )
    {
        if ( !DoesDataExist( row ) )
            continue;
        const T& value = itsColumnData[row];
        // Zero and minus zero are one value: they are equal, and std::hash is the same for both.
        if ( IsNaN( value ) || seen.insert( value ).second ) // NaN equals nothing seen
            outRows.push_back( row );
    }
    Reorder( outRows );
}

template<class T>
bool XPivotColumnT<T>::RemoveNaNs( XVector<std::uint32_t>& outRows )
{
    const std::uint32_t count = GetColumnSize();
    outRows.clear();
    for ( std::uint32_t row = 0; row < count; ++row )
    {
        if ( !IsNaN( GetValue( row ) ) )
            outRows.push_back( row );
    }
    Reorder( outRows );
    return outRows.size() < count;
}

template<class T>
void XPivotColumnT<T>::DuplicateAllValues( std::uint32_t inCount, bool inInterleaved )
{
    const USize count = GetColumnSize();
    XAssert( count * inCount <= kMaxRows );
    XVector<std::uint32_t> order( count * inCount );
    for ( USize row = 0; row < order.size(); ++row )
        order[row] = static_cast<std::uint32_t>( inInterleaved ? row / inCount : row % count );
    Reorder( order );
}

template<class T>
void XPivotColumnT<T>::Reorder( const XVector<std::uint32_t>& inOrder )
{
    for ( const std::uint32_t row : inOrder )
        XAssert( row < GetExistsVector().size() );
    // Strictly ascending rows, as after a filter: then PickRows needs no second vector.
    const bool isAscending =
        std::adjacent_find( inOrder.begin(), inOrder.end(), std::greater_equal<>() ) == inOrder.end();
    PickRows( itsColumnData, inOrder, isAscending );
    PickRows( GetExists(), inOrder, isAscending );
}

template<class T>
bool XPivotColumnT<T>::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference ) const
{
    return DoesPass( inRow, inRelationship, static_cast<double>( inReference ) );
}

// ---- Storage

template<class T>
USize64 XPivotColumnT<T>::GetStreamUsage() const
{
    return itsColumnData.size() * sizeof( T ) + 4;
}

template<class T>
void XPivotColumnT<T>::ReadStream2( XStream& inStream, XOptions inOptions )
{
    try
    {
        XPivotColumn::ReadStream2( inStream, inOptions );
        ReadCheckedVersion( inStream, GetVersion() );
        ReadValues( inStream, inOptions );
    }
    catch ( ... )
    {
        XPivotColumnT::ResizeRows( 0 ); // Flags may have been read whose values were not.
        throw;
    }
}

template<class T>
void XPivotColumnT<T>::ReadValues( XStream& inStream, XOptions inOptions )
{
    XBeginField( inStream, "the default value" );
    XReadPivotValues( inStream, &itsDefaultValue, 1 );
    XEndField( inStream, [&] { return "Default value: " + DescribeValue( itsDefaultValue ); } );
    if constexpr ( kIsPivotBlockValue<T> )
    {
        if ( inStream.GetByteOrder() == kPlatformByteOrder && !inStream.GetObserver() )
        {
            itsColumnData.resize( GetExistsVector().size(), itsDefaultValue );
            const auto refused = XGetPivotRunBlockLoops<sizeof( T )>().read(
                inStream, GetExistsVector(), &itsDefaultValue, itsColumnData.data() );
            // The block reader stops at the first run that is not the expected one; the general code reports
            // it.
            if ( refused )
                RefuseRun( inStream, *refused, inOptions );
            return;
        }
    }
    itsColumnData.assign( GetExistsVector().size(), itsDefaultValue );
    ReadRuns( inStream, inOptions );
}

template<class T>
void XPivotColumnT<T>::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XPivotColumn::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetVersion() );
    XWritePivotValues( inStream, &itsDefaultValue, 1 );
    if constexpr ( kIsPivotBlockValue<T> )
    {
        if ( inStream.GetByteOrder() == kPlatformByteOrder )
            return XGetPivotRunBlockLoops<sizeof( T )>().write(
                inStream, GetExistsVector(), itsColumnData.data() );
    }
    WriteRuns( inStream );
}

template<class T>
void XPivotColumnT<T>::ReadSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength )
{
    XAssert( inStartRow < itsColumnData.size() );
    XAssert( inStartRow + inRunLength <= itsColumnData.size() );
    XReadPivotValues( inStream, itsColumnData.data() + inStartRow, inRunLength );
}

template<class T>
void XPivotColumnT<T>::WriteSparseColumnDataSelf(
    XStream& inStream, USize inStartRow, USize inRunLength ) const
{
    XWritePivotValues( inStream, itsColumnData.data() + inStartRow, inRunLength );
}

template class XPivotColumnT<double>;
template class XPivotColumnT<std::int32_t>;
template class XPivotColumnT<std::uint32_t>;
template class XPivotColumnT<XString>;
template class XPivotColumnT<XTime>;
template class XPivotColumnT<XUUID>;
template class XPivotColumnT<XVersion>;
