#pragma once

#include "Pivot/Accumulators/XPivotTableAccumulator.h"

#include <array>
#include <memory>

/// The implementations of all accumulator types, and the table of one object of each. Internal.

class XPivotTableAccumulator::XImplementationNone : public XAccumulatorImplementation
{
public:
    XString GetDescription() const override { return "Value"; }
    XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const override;
};

class XPivotTableAccumulator::XImplementationMean : public XAccumulatorImplementation
{
public:
    XString GetDescription() const override { return "Mean"; }
    XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const override;
};

class XPivotTableAccumulator::XImplementationSum : public XAccumulatorImplementation
{
public:
    XString GetDescription() const override { return "Sum"; }
    XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const override;
    XAccumulationResult GetDefaultResult() const override;
};

class XPivotTableAccumulator::XImplementationProduct : public XAccumulatorImplementation
{
public:
    XString GetDescription() const override { return "Product"; }
    XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const override;
};

class XPivotTableAccumulator::XImplementationCount : public XAccumulatorImplementation
{
public:
    XString GetDescription() const override { return "Count"; }
    XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const override;
    XAccumulationResult GetDefaultResult() const override;
};

class XPivotTableAccumulator::XImplementationMinMax : public XAccumulatorImplementation
{
public:
    XString GetDescription() const override { return "Min / Max"; }
    XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const override;
    std::uint32_t GetNumValues() const override { return 2; }
    XVector<XString> GetColumnStrings() const override { return { "Min", "Max" }; }
};

class XPivotTableAccumulator::XImplementationVarSD : public XAccumulatorImplementation
{
public:
    XString GetDescription() const override { return "Variance / SD"; }
    XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const override;
    std::uint32_t GetNumValues() const override { return 2; }
    XVector<XString> GetColumnStrings() const override { return { "Variance", "S.D." }; }
};

class XPivotTableAccumulator::XImplementationStandardError : public XAccumulatorImplementation
{
public:
    XString GetDescription() const override { return "Standard Error"; }
    XAccumulationResult Accumulate( const XPivotColumnSummary& inColumn ) const override;
};

class XPivotTableAccumulator::XAccumulatorManager
{
public:
    static constexpr std::size_t kTypes = 8;

    XAccumulatorManager();

    /// A type above 7 is an internal error.
    const XAccumulatorImplementation& Get( XPivotTableAccumulatorType inType ) const;

private:
    std::array<std::unique_ptr<const XAccumulatorImplementation>, kTypes> itsImplementations; // by type
};
