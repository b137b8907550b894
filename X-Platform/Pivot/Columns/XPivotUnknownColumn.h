#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"

/// A column that has rows but no values: every row reads as "N/A" and 0, none is present, and none passes a
/// filter. Setting values and sorting do nothing.
class KORVALE_API XPivotUnknownColumn
    : public XPivotColumnClassT<XPivotUnknownColumn, XPivotColumn, kClassPivotUnknownColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;

    void InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount ) override;
    void ResizeRows( std::uint32_t inRowCount ) override;
    using XPivotColumn::DeleteItems;
    void DeleteItems( std::uint32_t inFirst, std::uint32_t inCount ) override;

    bool IsNumeric() const override { return false; }
    bool HasStringRepresentation() const override { return false; }
    bool IsFilterable() const override { return false; }
    double GetDataFloat( std::uint32_t inRow ) const override;
    XString GetDataString( std::uint32_t inRow ) const override;
    std::int32_t FindDataFloat( double inValue ) const override;

    void Sort( XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder ) override;
    void RemoveDuplicates( XVector<std::uint32_t>& outRows ) override;
    bool RemoveNaNs( XVector<std::uint32_t>& outRows ) override;
    void DuplicateAllValues( std::uint32_t inCount, bool inInterleaved ) override;
    void Reorder( const XVector<std::uint32_t>& inOrder ) override;

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

protected:
    bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference )
        const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference )
        const override;
    void ReadSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength ) override;
    void WriteSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength ) const override;
    std::uint32_t GetColumnSizeSelf() const override { return itsRowCount; }

private:
    std::uint32_t itsRowCount = 0;
};
