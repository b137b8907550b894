#include "Pivot/Columns/XPivotNumberColumnT.h"

#include "Pivot/Columns/Internal/XPivotConversions.h"
#include "Pivot/Rows/Internal/XPivotRowFilter.h"
#include "Threads/XThread.h"

namespace
{
template<class T>
double ToNumber( T inValue )
{
    return static_cast<double>( inValue );
}
} // namespace

template<class T>
void XPivotNumberColumnT<T>::SetData( double inValue, std::int32_t inRow, bool inExists )
{
    this->SetValue( XToPivotNumber<T>( inValue, this->itsDefaultValue ), inRow, inExists );
}

template<class T>
void XPivotNumberColumnT<T>::SetData( const XString& inValue, std::int32_t inRow, bool inExists )
{
    SetData( XReadPivotNumber( inValue, inExists, this->itsDefaultValue ), inRow, inExists );
}

template<class T>
bool XPivotNumberColumnT<T>::IsNumeric() const
{
    return true;
}

template<class T>
double XPivotNumberColumnT<T>::GetDataFloat( std::uint32_t inRow ) const
{
    return this->GetValue( inRow );
}

template<class T>
XString XPivotNumberColumnT<T>::GetDataString( std::uint32_t inRow ) const
{
    return XFormatPivotNumber( GetDataFloat( inRow ) );
}

template<class T>
std::int32_t XPivotNumberColumnT<T>::FindDataFloat( double inValue ) const
{
    return this->FindNumber( inValue, ToNumber<T> );
}

template<class T>
XPivotColumn::XFloatBlock XPivotNumberColumnT<T>::GetFloatBlock(
    std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const
{
    if constexpr ( std::is_same_v<T, double> )
    {
        const std::uint32_t first = std::min( inFirstRow, this->GetColumnSize() );
        const std::uint32_t count = std::min( inMaxCount, this->GetColumnSize() - first );
        return { this->itsColumnData.data() + first, this->GetExistsVector().data() + first, count };
    }
    else
        return this->ConvertBlock( inFirstRow, inMaxCount, ioScratch, ToNumber<T> );
}

template<class T>
XVector<std::int32_t>
XPivotNumberColumnT<T>::Filter( XPivotFilterRelationship inRelationship, double inReference ) const
{
    if ( inRelationship == kFilterContains )
        return XPivotColumn::Filter( inRelationship, inReference );
    XThread::TestCancelCurrentThread();
    return XFilterPivotRows(
        this->GetExistsVector(), this->itsColumnData, inRelationship, XToPivotReference<T>( inReference ) );
}

template<class T>
XVector<std::int32_t>
XPivotNumberColumnT<T>::Filter( XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return Filter( inRelationship, inReference.GetSFloat64() );
}

template<class T>
bool XPivotNumberColumnT<T>::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return this->DoesPassCompare(
        GetDataFloat( inRow ), inRelationship, XToPivotReference<T>( inReference ) );
}

template<class T>
bool XPivotNumberColumnT<T>::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return DoesPass( inRow, inRelationship, inReference.GetSFloat64() );
}

template class XPivotNumberColumnT<double>;
template class XPivotNumberColumnT<std::int32_t>;
template class XPivotNumberColumnT<std::uint32_t>;
