#pragma once

#include "Core/Storables/XVersion.h"

/// Base of all classes that have a class version.
class KORVALE_API XVersioned
{
public:
    virtual ~XVersioned() = default;

    /// The class number and current revision of this object's dynamic class.
    virtual XVersion GetVersion() const = 0;

    /// True if this object's class is the other's, an alias for it, or derived from it; revisions are not
    /// compared. Uses XClassRegistry.
    bool IsA( const XVersioned& inOther ) const;
    bool IsA( const XVersion& inVersion ) const;

protected:
    XVersioned() = default;
    XVersioned( const XVersioned& ) = default;
    XVersioned& operator=( const XVersioned& ) = default;
};
