#pragma once

#include "Ground/XTypes.h"

class XPivotOtherRowRefColumn;
class XPivotRowRefColumn;
class XPivotTable;

/// The references among the rows of a table, over a change of its rows. An object without a row is known, with its
/// number, as long as rows refer to it: for that the table keeps it, with one reference besides those that were added
/// from elsewhere. Internal.
///
/// While an object of this class lives, the table keeps its columns.
class XPivotTableReferences
{
public:
    explicit XPivotTableReferences( XPivotTable& ioTable );
    /// Unless it was settled, as after a failure: the objects kept are those from before.
    ~XPivotTableReferences();
    XPivotTableReferences( const XPivotTableReferences& ) = delete;
    XPivotTableReferences& operator=( const XPivotTableReferences& ) = delete;

    /// Before rows go: keeps all objects that rows refer to until the table is settled.
    void KeepAll();
    /// Called once, when the rows are changed: the table keeps those objects that have no row and that rows refer to.
    void Settle();
    /// The same when rows were appended from another table, from `inFirstRow` on, and none changed. The objects that
    /// they refer to there become known. Takes time for these rows alone.
    void SettleAppended( const XPivotTable& inAppended, std::uint32_t inFirstRow );

    /// Of a table that was read: one reference to each object without a row is the table's, where rows refer to it.
    static void TakeOver( XPivotTable& ioTable );

private:
    /// A row-reference column, the columns that refer to its objects, and the places of the objects that are kept for
    /// the time being.
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
