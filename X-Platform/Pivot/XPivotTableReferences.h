#pragma once

#include "Core/XTypes.h"

class XPivotOtherRowRefColumn;
class XPivotRowRefColumn;
class XPivotTable;

/// The references among the rows of a table, over a change of its rows. An object without a row is known, with its
/// number, as long as rows refer to it: for that the table holds one reference, added when the object's row goes and
/// given back when the row returns or the last row that refers to it goes. Internal.
///
/// While an object of this class lives, the table keeps its columns and all objects that its rows referred to.
class XPivotTableReferences
{
public:
    explicit XPivotTableReferences( XPivotTable& ioTable );
    /// Without Settle, as after a failure: the references are those from before.
    ~XPivotTableReferences();
    XPivotTableReferences( const XPivotTableReferences& ) = delete;
    XPivotTableReferences& operator=( const XPivotTableReferences& ) = delete;

    /// Called once, when the rows are changed.
    void Settle();

private:
    struct XObject
    {
        std::uint32_t place;
        bool hadRow;
    };
    /// A row-reference column, the columns that refer to its objects, and the objects referred to.
    struct XTarget
    {
        XPivotRowRefColumn* column;
        XVector<const XPivotOtherRowRefColumn*> references;
        XVector<XObject> objects;
    };

    static XVector<std::uint8_t> FindReferredTo( const XTarget& inTarget );
    XTarget& GetTarget( XPivotTable& ioTable, const XPivotRowRefColumn& inColumn );
    void HoldObjects( XTarget& ioTarget );

    XVector<XTarget> itsTargets;
};

/// Makes a table know the objects without rows that rows appended from another one refer to there. They begin at
/// `inFirstRow`.
void XKnowAppendedObjects( XPivotTable& ioTable, const XPivotTable& inAppended, std::uint32_t inFirstRow );
