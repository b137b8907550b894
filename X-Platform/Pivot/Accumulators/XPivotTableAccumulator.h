#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Storables/XStorable.h"
#include "Core/Strings/XString.h"
#include "Pivot/Accumulators/XPivotColumnSummary.h"

#include <set>
#include <utility>

/// The aggregates to compute for the rows of one cell: mean, sum, extremes and so on.
///
/// Threads: several threads may compute at once; do not change an accumulator while another thread uses it.
/// Errors: a type above 7 is an internal error, or 1005 if read from a stream. Reading throws 1005, 1015,
/// 1260.
class KORVALE_API XPivotTableAccumulator : public XStorable
{
public:
    enum XPivotTableAccumulatorType : std::uint8_t
    {
        kAccumulateNone = 0, ///< the value of a cell with a single row
        kAccumulateMean = 1,
        kAccumulateSum = 2,
        kAccumulateProduct = 3,
        kAccumulateCount = 4,
        kAccumulateMinMax = 5,
        kAccumulateVarSD = 6, ///< population variance and its square root
        kAccumulateStandardError = 7
    };

    /// One value of a result: a number or a text.
    struct XResultValue
    {
        XString text;
        bool isText = false; ///< show the text instead of the number
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

    /// Adds a type to the selection; does nothing if it is already selected.
    void AddType( XPivotTableAccumulatorType inType );
    const std::set<XPivotTableAccumulatorType>& GetTypes() const { return itsTypes; }

    /// The number of values of all selected types, in ascending order of type.
    std::uint32_t GetNumValues() const { return itsNumValues; }
    /// The headings of the result columns, one for each value.
    const XVector<XString>& GetColumnStrings() const { return itsColumnStrings; }
    /// The values shown for a cell without rows, as pairs of validity and value.
    XVector<std::pair<bool, double>> GetDefaultFloats() const;

    /// The description of the selected type; "Multiple values" if several are selected.
    XString GetStringDescription() const;
    /// The descriptions of all eight types, in order of type.
    static void GetAllAccumulatorDescriptions( XVector<XString>& outDescriptions );

    /// Computes the values of each selected type, in ascending order of type, over all present rows of the
    /// column.
    XAccumulationResult AccumulateColumn( const XPivotColumn& inColumn ) const;

    bool operator==( const XPivotTableAccumulator& inOther ) const { return itsTypes == inOther.itsTypes; }

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

private:
    static const XAccumulatorManager& GetAccumulatorManager();

    std::set<XPivotTableAccumulatorType> itsTypes;
    std::uint32_t itsNumValues = 0;    // derived from the types
    XVector<XString> itsColumnStrings; // derived from the types
};

/// The implementation of one aggregate. Stateless: one object of each serves the whole process, on any
/// thread.
class KORVALE_API XPivotTableAccumulator::XAccumulatorImplementation
{
public:
    virtual ~XAccumulatorImplementation();

    virtual XString GetDescription() const = 0;
    /// Also accepts a column, which is converted to a summary.
    virtual XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const = 0;
    virtual std::uint32_t GetNumValues() const { return 1; }
    virtual XVector<XString> GetColumnStrings() const { return { GetDescription() }; }
    /// One invalid entry per value.
    virtual XAccumulationResult GetDefaultResult() const { return XAccumulationResult( GetNumValues() ); }
};
