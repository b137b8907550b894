#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Core/Times/XTime.h"
#include "Pivot/Columns/XPivotColumn.h"
#include "WExternTemplate.h"

#include <algorithm>
#include <concepts>
#include <limits>

/// A column with values of one type, one per row beside its presence flag, so that whole columns are copied,
/// sorted and streamed as blocks. Rows added by growth, insertion or resizing hold the default value.
///
/// The library instantiates it for the types of its columns: double, 32-bit integers, XString, XTime, XUUID,
/// XVersion.
template<class T>
class KORVALE_API XPivotColumnT : public XPivotColumn
{
public:
    using XValue = T;

    /// The value of missing rows: NaN, 0 or empty unless another one is set.
    const T& GetDefaultValue() const { return itsDefaultValue; }
    void SetDefaultValue( const T& inValue ) { itsDefaultValue = inValue; }

    /// The stored values of all rows, present or not.
    const XVector<T>& GetDataVector() const { return itsColumnData; }
    /// The row's value, or the default value if it is missing or outside the column.
    const T& GetValue( std::uint32_t inRow ) const
    {
        return DoesDataExist( inRow ) ? itsColumnData[inRow] : itsDefaultValue;
    }
    /// Stores value and presence. A row beyond the end extends the column with missing rows. A negative row
    /// is an internal error.
    virtual void SetValue( const T& inValue, std::int32_t inRow, bool inExists );
    virtual void AppendValue( const T& inValue, bool inExists );

    using XPivotColumn::SetData;
    void SetData( const XVector<XString>& inValues ) override;
    void SetData( const XVector<double>& inValues ) override;
    /// Forward to `SetValue` and `AppendValue`, as overloads beside the forms for numbers and texts.
    template<std::same_as<T> TValue>
    void SetData( const TValue& inValue, std::int32_t inRow, bool inExists )
    {
        SetValue( inValue, inRow, inExists );
    }
    using XPivotColumn::AppendData;
    template<std::same_as<T> TValue>
    void AppendData( const TValue& inValue, bool inExists )
    {
        AppendValue( inValue, inExists );
    }

    void CopyRowsInto(
        std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
        std::uint32_t inCount ) const override;
    void CopyRowsOver(
        std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
        std::uint32_t inCount ) const override;
    void InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount ) override;
    void ResizeRows( std::uint32_t inRowCount ) override;
    void ReserveRows( std::uint32_t inRowCount ) override;
    using XPivotColumn::DeleteItems;
    void DeleteItems( std::uint32_t inFirst, std::uint32_t inCount ) override;

    void Sort( XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder ) override;
    void RemoveDuplicates( XVector<std::uint32_t>& outRows ) override;
    bool RemoveNaNs( XVector<std::uint32_t>& outRows ) override;
    void DuplicateAllValues( std::uint32_t inCount, bool inInterleaved ) override;
    void Reorder( const XVector<std::uint32_t>& inOrder ) override;

    /// The size of the values in memory plus 4 bytes, not the number of bytes written.
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

protected:
    XPivotColumnT() = default;
    XPivotColumnT(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits, std::uint32_t inRevision )
        : XPivotColumn( inID, inColumnName, inChannelName, inUnits, inRevision )
    {
    }

    using XPivotColumn::DoesPass;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference )
        const override;

    /// `FindDataFloat` for a class that converts its values to numbers with `inToNumber`.
    template<class TToNumber>
    std::int32_t FindNumber( double inNumber, TToNumber inToNumber ) const
    {
        const auto found = std::find_if(
            itsColumnData.begin(), itsColumnData.end(),
            [&]( const T& inValue ) { return inToNumber( inValue ) == inNumber; } );
        return found == itsColumnData.end() ? -1 : static_cast<std::int32_t>( found - itsColumnData.begin() );
    }

    /// `GetFloatBlock` for a class that converts its values to numbers with `inToNumber`.
    template<class TToNumber>
    XFloatBlock ConvertBlock(
        std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch,
        TToNumber inToNumber ) const
    {
        const std::uint32_t first = ( std::min )( inFirstRow, GetColumnSize() );
        const std::uint32_t count = ( std::min )( inMaxCount, GetColumnSize() - first );
        ioScratch.resize( count );
        const T* values = itsColumnData.data() + first;
        std::transform( values, values + count, ioScratch.begin(), inToNumber );
        return { ioScratch.data(), GetExistsVector().data() + first, count };
    }

    void ReadSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength ) override;
    void WriteSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength ) const override;

    XVector<T> itsColumnData; // as long as the presence flags after every public operation
    T itsDefaultValue = MakeDefaultValue();

private:
    void ReadValues( XStream& inStream, XOptions inOptions );

    static T MakeDefaultValue()
    {
        if constexpr ( std::is_floating_point_v<T> )
            return std::numeric_limits<T>::quiet_NaN();
        else if constexpr ( std::is_same_v<T, XTime> )
            return XTime( 0 );
        else
            return T();
    }
};

KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotColumnT<double> );
KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotColumnT<std::int32_t> );
KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotColumnT<std::uint32_t> );
KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotColumnT<XString> );
KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotColumnT<XTime> );
KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotColumnT<XUUID> );
KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotColumnT<XVersion> );
