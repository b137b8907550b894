#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotColumnT.h"

#include <memory>

class XPivotTextPool;

/// A column of texts; missing rows are empty. Numbers are stored as text. `GetDataFloat` returns the number
/// at the start of the text and throws 1000 if there is none.
///
/// Equal texts share storage if many are equal, also when they are added or read one by one.
class KORVALE_API XPivotStringColumn
    : public XPivotColumnClassT<XPivotStringColumn, XPivotColumnT<XString>, kClassPivotStringColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;

    void SetValue( const XString& inValue, std::int32_t inRow, bool inExists ) override;
    void AppendValue( const XString& inValue, bool inExists ) override;

    using XPivotColumnT::SetData;
    void SetData( double inValue, std::int32_t inRow, bool inExists ) override;
    void SetData( const XString& inValue, std::int32_t inRow, bool inExists ) override;

    bool IsNumeric() const override { return false; }
    double GetDataFloat( std::uint32_t inRow ) const override;
    XString GetDataString( std::uint32_t inRow ) const override;
    std::int32_t FindDataFloat( double inValue ) const override;
    XFloatBlock GetFloatBlock(
        std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const override;

protected:
    double GetNumberToCompare( std::uint32_t inRow ) const override;
    using XPivotColumnT::DoesPass;
    bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference )
        const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference )
        const override;

    void ReadSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength ) override;

private:
    /// A text pool created when first needed. It is not copied: each column has its own.
    class KORVALE_API XOwnPool
    {
    public:
        XOwnPool() noexcept;
        XOwnPool( const XOwnPool& ) noexcept;
        XOwnPool& operator=( const XOwnPool& ) noexcept { return *this; }
        ~XOwnPool();

        XPivotTextPool& Get();

    private:
        std::unique_ptr<XPivotTextPool> itsPool;
    };

    XOwnPool itsTextPool;
};
