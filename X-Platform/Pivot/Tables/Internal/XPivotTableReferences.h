#pragma once

#include "Ground/XTypes.h"

class XPivotOtherRowRefColumn;
class XPivotRowRefColumn;
class XPivotTable;

/// Maintains the references among the rows of a table while its rows change. An object without a row stays
/// known, with its number, as long as rows refer to it: the table holds a reference to it, in addition to
/// references from elsewhere. Internal.
///
/// The table must keep its columns during the life of this object.
class XPivotTableReferences
{
public:
    explicit XPivotTableReferences( XPivotTable& ioTable );
    /// If Settle was not called, as after an error, restores the previously kept objects.
    ~XPivotTableReferences();
    XPivotTableReferences( const XPivotTableReferences& ) = delete;
    XPivotTableReferences& operator=( const XPivotTableReferences& ) = delete;

    /// Call before rows are removed: keeps all objects that rows refer to until Settle.
    void KeepAll();
    /// Call once after the rows were changed: the table then keeps the objects that have no row but are
    /// referred to by rows.
    void Settle();
    /// Call instead of Settle when rows were only appended from another table, from `inFirstRow` on. The
    /// objects that they refer to become known here. Takes time proportional to the appended rows.
    void SettleAppended( const XPivotTable& inAppended, std::uint32_t inFirstRow );

    /// Call after reading a table: for each object without a row that rows refer to, one reference becomes
    /// the table's.
    static void TakeOver( XPivotTable& ioTable );

private:
    /// A row-reference column, the columns that refer to its objects, and the places of the temporarily kept
    /// objects.
    struct XTarget
    {
        XPivotRowRefColumn* column;
        XVector<const XPivotOtherRowRefColumn*> references;
        XVector<std::uint32_t> keptPlaces;
    };

    static XVector<XTarget> ListTargets( XPivotTable& ioTable );
    static XVector<std::uint8_t> FindReferredTo( const XTarget& inTarget );
    static void Keep( XTarget& ioTarget, std::uint32_t inPlace );
    static void KeepAppended(
        XTarget& ioTarget, const XPivotOtherRowRefColumn& inReferences,
        const XPivotRowRefColumn* inAppendedObjects, std::uint32_t inFirstRow );
    static void ReleaseAppended( XPivotRowRefColumn& ioColumn, std::uint32_t inFirstRow );

    XPivotTable& itsTable;
    XVector<XTarget> itsTargets;
};
