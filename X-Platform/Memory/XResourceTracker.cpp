#include "Memory/XResourceTracker.h"

#include "Threads/XThreadLock.h"

#include <functional>

namespace
{

using XCounts = std::map<std::string, XResourceTracker::XCount, std::less<>>;

XMutex sCountsMutex; // guards the counts

/// Never destroyed: statics may own resources.
XCounts& GetCounts()
{
    static XCounts* const sCounts = new XCounts;
    return *sCounts;
}

/// A kind that is there already is found without a copy of its name.
XResourceTracker::XCount& Find( const char* inKind )
{
    XCounts& counts = GetCounts();
    const auto found = counts.find( inKind );
    return found != counts.end() ? found->second : counts[inKind];
}

} // namespace

void XResourceTracker::RsrcAllocated( const char* inKind, USize64 inBytes )
{
    const XThreadLock lock( sCountsMutex );
    XCount& count = Find( inKind );
    ++count.number;
    count.bytes += inBytes;
}

void XResourceTracker::RsrcDeallocated( const char* inKind, USize64 inBytes )
{
    const XThreadLock lock( sCountsMutex );
    XCount& count = Find( inKind );
    --count.number;
    count.bytes -= inBytes;
}

void XResourceTracker::RsrcSizeChanged( const char* inKind, USize64 inOldBytes, USize64 inNewBytes )
{
    const XThreadLock lock( sCountsMutex );
    Find( inKind ).bytes += inNewBytes - inOldBytes;
}

XResourceTracker::XCount XResourceTracker::GetCount( const std::string& inKind )
{
    const XThreadLock lock( sCountsMutex );
    const auto found = GetCounts().find( inKind );
    return found == GetCounts().end() ? XCount() : found->second;
}

std::map<std::string, XResourceTracker::XCount> XResourceTracker::GetAll()
{
    const XThreadLock lock( sCountsMutex );
    return { GetCounts().begin(), GetCounts().end() };
}
