#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Storables/XStorable.h"
#include "Core/Strings/XString.h"
#include "Pivot/Accumulators/XPivotColumnSummary.h"

#include <set>
#include <utility>

/// Which reductions to apply to the rows that fall into one cell: mean, sum, extremes and so on.
///
/// Threads: reducing is safe on several threads at once; one accumulator is not changed and used at the same
/// time.
/// Errors: a type above 7 is an internal error, 1005 when it comes out of a stream. Reading throws 1005,
/// 1015, 1260.
class KORVALE_API XPivotTableAccumulator : public XStorable
{
public:
    enum XPivotTableAccumulatorType : std::uint8_t
    {
        kAccumulateNone = 0, ///< the value of a cell of one row
        kAccumulateMean = 1,
        kAccumulateSum = 2,
        kAccumulateProduct = 3,
        kAccumulateCount = 4,
        kAccumulateMinMax = 5,
        kAccumulateVarSD = 6, ///< population variance and its square root
        kAccumulateStandardError = 7
    };

    /// One number of a result, or a text in its place.
    struct XResultValue
    {
        XString text;
        bool isText = false; ///< the text is what to show
        double value = 0.0;
        bool isValid = false;
    };
    using XAccumulationResult = XVector<XResultValue>;

    class XAccumulatorImplementation;
    class XImplementationNone;
    class XImplementationMean;
    class XImplementationSum;
    class XImplementationProduct;
    class XImplementationCount;
    class XImplementationMinMax;
    class XImplementationVarSD;
    class XImplementationStandardError;
    class XAccumulatorManager;

    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotTableAccumulator ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion(); }

    /// Selects the mean.
    XPivotTableAccumulator() : XPivotTableAccumulator( kAccumulateMean ) {}
    explicit XPivotTableAccumulator( XPivotTableAccumulatorType inType );

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotTableAccumulator* Clone() const override { return new XPivotTableAccumulator( *this ); }

    /// Selects one more; a type already selected changes nothing.
    void AddType( XPivotTableAccumulatorType inType );
    const std::set<XPivotTableAccumulatorType>& GetTypes() const { return itsTypes; }

    /// Of all selected types together, in ascending type order.
    std::uint32_t GetNumValues() const { return itsNumValues; }
    /// The heads of the result columns, one per value.
    const XVector<XString>& GetColumnStrings() const { return itsColumnStrings; }
    /// What a cell without rows shows: pairs of validity and value.
    XVector<std::pair<bool, double>> GetDefaultFloats() const;

    /// The description of the only type selected, else "Multiple values".
    XString GetStringDescription() const;
    /// Of all eight, in type order.
    static void GetAllAccumulatorDescriptions( XVector<XString>& outDescriptions );

    /// Reduces all present rows of the column: for each selected type, in ascending order, its values.
    XAccumulationResult AccumulateColumn( const XPivotColumn& inColumn ) const;

    bool operator==( const XPivotTableAccumulator& inOther ) const { return itsTypes == inOther.itsTypes; }

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

private:
    static const XAccumulatorManager& GetAccumulatorManager();

    std::set<XPivotTableAccumulatorType> itsTypes;
    std::uint32_t itsNumValues = 0;    // from the types
    XVector<XString> itsColumnStrings; // from the types
};

/// One reduction. Stateless: one object of each serves the whole process, on any thread.
class KORVALE_API XPivotTableAccumulator::XAccumulatorImplementation
{
public:
    virtual ~XAccumulatorImplementation();

    virtual XString GetDescription() const = 0;
    /// Takes a column as it is: the summary is made on the way.
    virtual XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const = 0;
    virtual std::uint32_t GetNumValues() const { return 1; }
    virtual XVector<XString> GetColumnStrings() const { return { GetDescription() }; }
    /// One invalid entry per value.
    virtual XAccumulationResult GetDefaultResult() const { return XAccumulationResult( GetNumValues() ); }
};
