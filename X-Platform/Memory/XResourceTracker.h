#pragma once

#include "Ground/XTypes.h"

#include <map>
#include <string>

/// Counts allocations of each kind of resource, by the name of the kind.
/// Threads: any.
class KORVALE_API XResourceTracker
{
public:
    struct XCount
    {
        std::uint64_t number = 0;
        std::uint64_t bytes = 0;
    };

    XResourceTracker() = delete;

    static void RsrcAllocated( const char* inKind, USize64 inBytes );
    static void RsrcDeallocated( const char* inKind, USize64 inBytes );
    static void RsrcSizeChanged( const char* inKind, USize64 inOldBytes, USize64 inNewBytes );

    /// The current count of one kind, and of all kinds ever counted.
    static XCount GetCount( const std::string& inKind );
    static std::map<std::string, XCount> GetAll();
};
