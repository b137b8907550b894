#include "Core/Storables/XVersioned.h"

#include "Core/Streams/XClassRegistry.h"

bool XVersioned::IsA( const XVersioned& inOther ) const
{
    return IsA( inOther.GetVersion() );
}

bool XVersioned::IsA( const XVersion& inVersion ) const
{
    return XClassRegistry::IsA( GetVersion(), inVersion );
}
