#pragma once

#include "Core/Storables/XVersion.h"

/// Base of everything that carries a class version and can be asked what it is.
class KORVALE_API XVersioned
{
public:
    virtual ~XVersioned() = default;

    /// The class number and current revision of the most derived class.
    virtual XVersion GetVersion() const = 0;

    /// True when this object's class is, stands for, or descends from the other's; revisions are not compared.
    /// Asks XClassRegistry.
    bool IsA( const XVersioned& inOther ) const;
    bool IsA( const XVersion& inVersion ) const;

protected:
    XVersioned() = default;
    XVersioned( const XVersioned& ) = default;
    XVersioned& operator=( const XVersioned& ) = default;
};
