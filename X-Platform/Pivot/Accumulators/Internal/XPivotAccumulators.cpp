#include "Pivot/Accumulators/Internal/XPivotAccumulators.h"

#include "Pivot/Columns/XPivotColumn.h"

#include <algorithm>
#include <cmath>

// One class for each reduction, without state: the numbers come from XPivotColumnSummary, which computes sums
// once for all reductions of a column. NaN is handled by each reduction: sum, mean and product of values with
// a NaN are missing, minimum, maximum and deviations leave NaN out, the count counts it. The variance is that
// of the population (divided by n), and the standard error is the standard deviation divided by the square
// root of n.

namespace
{
using XResultValue = XPivotTableAccumulator::XResultValue;
using XAccumulationResult = XPivotTableAccumulator::XAccumulationResult;

XResultValue MakeNumber( double inValue, bool inIsValid )
{
    XResultValue result;
    result.value = inValue;
    result.isValid = inIsValid;
    return result;
}

XResultValue MakeNumber( double inValue )
{
    return MakeNumber( inValue, !std::isnan( inValue ) );
}

/// Visits the present rows one by one; texts that are not numbers are NaN. Ends when `inUse` returns false.
template<class TUse>
void ForEachNumber( const XPivotColumn& inColumn, std::uint32_t inRowsPerBlock, TUse inUse )
{
    XVector<double> scratch;
    for ( std::uint32_t row = 0;; )
    {
        const auto block = inColumn.GetFloatBlock( row, inRowsPerBlock, scratch );
        if ( block.count == 0 )
            return;
        for ( std::uint32_t i = 0; i < block.count; ++i, ++row )
        {
            if ( block.exists[i] && !inUse( row, block.values[i] ) )
                return;
        }
    }
}
} // namespace

XPivotTableAccumulator::XAccumulatorImplementation::~XAccumulatorImplementation() = default;

XAccumulationResult
XPivotTableAccumulator::XImplementationNone::Accumulate( const XPivotColumnSummary& inColumn ) const
{
    const XPivotColumn& column = inColumn.GetColumn();
    XResultValue result;
    bool hasRow = false;
    const auto use = [&]( std::uint32_t inRow, double inValue )
    {
        if ( hasRow )
        {
            result.isText = result.isValid = false; // several rows have no single value
            return false;
        }
        hasRow = true;
        result = MakeNumber( inValue );
        result.text = column.GetDataString( inRow );
        result.isText = true;
        return true;
    };
    // Two rows settle it, so blocks are short.
    ForEachNumber( column, 64, use );
    return { result };
}

XAccumulationResult
XPivotTableAccumulator::XImplementationMean::Accumulate( const XPivotColumnSummary& inColumn ) const
{
    const auto& moments = inColumn.GetMoments();
    const bool hasNaN = moments.numbers != moments.count;
    const double sum = hasNaN ? std::nan( "" ) : moments.sum;
    return { MakeNumber( moments.count == 0 ? std::nan( "" ) : sum / static_cast<double>( moments.count ) ) };
}

XAccumulationResult
XPivotTableAccumulator::XImplementationSum::Accumulate( const XPivotColumnSummary& inColumn ) const
{
    const auto& moments = inColumn.GetMoments();
    const bool hasNaN = moments.numbers != moments.count;
    return { MakeNumber( hasNaN ? std::nan( "" ) : moments.sum, !hasNaN ) };
}

XAccumulationResult XPivotTableAccumulator::XImplementationSum::GetDefaultResult() const
{
    return { MakeNumber( 0.0 ) };
}

XAccumulationResult
XPivotTableAccumulator::XImplementationProduct::Accumulate( const XPivotColumnSummary& inColumn ) const
{
    XResultValue result = MakeNumber( 1.0 );
    const auto use = [&]( std::uint32_t, double inValue )
    {
        result.value *= inValue;
        result.isValid = !std::isnan( inValue );
        return result.isValid;
    };
    ForEachNumber( inColumn.GetColumn(), 4096, use );
    return { result };
}

XAccumulationResult
XPivotTableAccumulator::XImplementationCount::Accumulate( const XPivotColumnSummary& inColumn ) const
{
    const auto& exists = inColumn.GetColumn().GetExistsVector();
    const auto count = std::count( exists.begin(), exists.end(), 1 );
    XResultValue result = MakeNumber( static_cast<double>( count ) );
    result.text = XString( count );
    result.isText = true;
    return { result };
}

XAccumulationResult XPivotTableAccumulator::XImplementationCount::GetDefaultResult() const
{
    return { MakeNumber( 0.0 ) };
}

XAccumulationResult
XPivotTableAccumulator::XImplementationMinMax::Accumulate( const XPivotColumnSummary& inColumn ) const
{
    const auto& moments = inColumn.GetMoments();
    const bool isValid = moments.numbers > 0;
    return { MakeNumber( moments.minimum, isValid ), MakeNumber( moments.maximum, isValid ) };
}

XAccumulationResult
XPivotTableAccumulator::XImplementationVarSD::Accumulate( const XPivotColumnSummary& inColumn ) const
{
    const std::uint64_t numbers = inColumn.GetMoments().numbers;
    if ( numbers == 0 )
        return GetDefaultResult();
    const double variance = inColumn.GetSquaredDeviations() / static_cast<double>( numbers );
    return { MakeNumber( variance, true ), MakeNumber( std::sqrt( variance ), true ) };
}

XAccumulationResult
XPivotTableAccumulator::XImplementationStandardError::Accumulate( const XPivotColumnSummary& inColumn ) const
{
    if ( inColumn.GetMoments().numbers == 0 )
        return GetDefaultResult();
    const double numbers = static_cast<double>( inColumn.GetMoments().numbers );
    const double deviation = std::sqrt( inColumn.GetSquaredDeviations() / numbers );
    return { MakeNumber( deviation / std::sqrt( numbers ), true ) };
}

XPivotTableAccumulator::XAccumulatorManager::XAccumulatorManager()
    : itsImplementations{
          std::make_unique<XImplementationNone>(),  std::make_unique<XImplementationMean>(),
          std::make_unique<XImplementationSum>(),   std::make_unique<XImplementationProduct>(),
          std::make_unique<XImplementationCount>(), std::make_unique<XImplementationMinMax>(),
          std::make_unique<XImplementationVarSD>(), std::make_unique<XImplementationStandardError>() }
{
}

const XPivotTableAccumulator::XAccumulatorImplementation&
XPivotTableAccumulator::XAccumulatorManager::Get( XPivotTableAccumulatorType inType ) const
{
    XAssert( inType < itsImplementations.size() );
    return *itsImplementations[inType];
}
