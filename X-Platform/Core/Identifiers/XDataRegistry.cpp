#include "Core/Identifiers/XDataRegistry.h"

#include "Ground/XFail.h"

XDataRegistry& XDataRegistry::GetProcessRegistry()
{
    static XDataRegistry sRegistry;
    return sRegistry;
}

void XDataRegistry::SetData( const XString& inKey, XRefPtr<XRefCountable> inData )
{
    XAssert( inData );
    // The parameter leaves with the former data, after the lock is gone.
    const std::lock_guard lock( itsMutex );
    std::swap( itsData[inKey], inData );
}

XRefPtr<XRefCountable> XDataRegistry::FindData( const XString& inKey ) const
{
    const std::lock_guard lock( itsMutex );
    const auto found = itsData.find( inKey );
    return found == itsData.end() ? nullptr : found->second;
}

bool XDataRegistry::Remove( const XString& inKey )
{
    XDataMap::node_type removed;
    const std::lock_guard lock( itsMutex );
    removed = itsData.extract( inKey );
    return !removed.empty();
}

void XDataRegistry::RemoveAll()
{
    XDataMap removed;
    const std::lock_guard lock( itsMutex );
    removed.swap( itsData );
}

XVector<XString> XDataRegistry::GetKeys() const
{
    const std::lock_guard lock( itsMutex );
    XVector<XString> keys;
    keys.reserve( itsData.size() );
    for ( const auto& [key, data] : itsData )
        keys.push_back( key );
    return keys;
}
