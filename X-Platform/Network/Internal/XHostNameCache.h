#pragma once

#include "Core/Strings/XString.h"
#include "Threads/XMutex.h"

#include <deque>
#include <unordered_map>

/// A cache of the results of reverse look-ups, including empty names, so that each address is looked up once.
/// Holds `kMostEntries` entries and evicts the oldest.
/// Threads: any thread.
class KORVALE_API XHostNameCache
{
public:
    static constexpr USize kMostEntries = 500;

    XHostNameCache() = default;

    /// The cache of the process.
    static XHostNameCache& GetInstance();

    /// Returns whether the address is cached, and its name.
    bool Find( std::uint32_t inAddress, XString& outName ) const;

    void Insert( std::uint32_t inAddress, const XString& inName );

private:
    mutable XMutex itsMutex;
    std::unordered_map<std::uint32_t, XString> itsNames; // guarded by itsMutex
    std::deque<std::uint32_t> itsOrder;                  // of insertion; guarded by itsMutex
};
