#pragma once

#include "Core/Strings/XString.h"
#include "Pivot/Columns/XPivotColumnID.h"

/// The names of column IDs, for the whole process. Internal: XPivotColumn shows it to users, the descriptor
/// below it needs it too.
class XPivotColumnIDRegistry
{
public:
    XPivotColumnIDRegistry() = delete;

    /// An ID that is registered already is an internal error. Not while another thread uses any name.
    static void Register( XPivotColumnID inID, const XString& inName );
    /// The first call, which may come from several threads at once, registers the standard IDs.
    static void RegisterStandard();
    /// Throws 3209.
    static XString GetName( XPivotColumnID inID );
    /// Null for an ID that is not registered.
    static const XString* FindName( XPivotColumnID inID );
};
