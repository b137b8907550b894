#pragma once

#include "Core/Strings/XString.h"
#include "Pivot/Columns/XPivotColumnID.h"

/// The process-wide names of column IDs. Internal: users access it through XPivotColumn; the descriptor,
/// which is below XPivotColumn, needs it too.
class XPivotColumnIDRegistry
{
public:
    XPivotColumnIDRegistry() = delete;

    /// Registering an ID twice is an internal error. Must not run while another thread uses any name.
    static void Register( XPivotColumnID inID, const XString& inName );
    /// Registers the standard IDs on the first call; safe to call on several threads at once.
    static void RegisterStandard();
    /// Throws 3209 for an ID that is not registered.
    static XString GetName( XPivotColumnID inID );
    /// Null for an ID that is not registered.
    static const XString* FindName( XPivotColumnID inID );
};
