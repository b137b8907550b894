#include "Network/Internal/XHostNameCache.h"

#include "Threads/XThreadLock.h"

/// Never destroyed: threads may still describe addresses while the process's statics are.
XHostNameCache& XHostNameCache::GetInstance()
{
    static auto* const sInstance = new XHostNameCache;
    return *sInstance;
}

bool XHostNameCache::Find( std::uint32_t inAddress, XString& outName ) const
{
    const XThreadLock lock( itsMutex );
    const auto found = itsNames.find( inAddress );
    if ( found == itsNames.end() )
        return false;
    outName = found->second;
    return true;
}

void XHostNameCache::Insert( std::uint32_t inAddress, const XString& inName )
{
    const XThreadLock lock( itsMutex );
    if ( const auto found = itsNames.find( inAddress ); found != itsNames.end() )
    {
        found->second = inName;
        return;
    }
    while ( itsOrder.size() >= kMostEntries )
    {
        itsNames.erase( itsOrder.front() );
        itsOrder.pop_front();
    }
    itsOrder.push_back( inAddress );
    itsNames.emplace( inAddress, inName );
}
