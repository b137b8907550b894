#pragma once

#include "Core/Strings/XString.h"
#include "Threads/XMutex.h"

#include <deque>
#include <unordered_map>

/// The names that hosts have told for their addresses, empty ones included, so that each is asked for once. Holds
/// `kMostEntries` and drops the oldest for a new one.
/// Threads: any thread.
class KORVALE_API XHostNameCache
{
public:
    static constexpr USize kMostEntries = 500;

    XHostNameCache() = default;

    /// That of the process.
    static XHostNameCache& GetInstance();

    /// Whether the address is there; then its name.
    bool Find( std::uint32_t inAddress, XString& outName ) const;

    void Insert( std::uint32_t inAddress, const XString& inName );

private:
    mutable XMutex itsMutex;
    std::unordered_map<std::uint32_t, XString> itsNames; // guarded by itsMutex
    std::deque<std::uint32_t> itsOrder;                  // of insertion; guarded by itsMutex
};
