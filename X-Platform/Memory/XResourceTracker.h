#pragma once

#include "Ground/XTypes.h"

#include <map>
#include <string>

/// Counts what is allocated of each kind of resource, by the kind's name.
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

    /// What there is now of a kind, and of all kinds that there ever was something of.
    static XCount GetCount( const std::string& inKind );
    static std::map<std::string, XCount> GetAll();
};
