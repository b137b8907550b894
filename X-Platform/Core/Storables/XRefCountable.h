#pragma once

#include "Ground/XTypes.h"

#include <atomic>

/// Base of objects that several owners share. The creator holds the first reference, so a new object has a
/// count of 1; the release of the last one deletes it. XRefPtr does both by itself.
///
/// Ownership: an object that was not made with `new` must keep the creator's reference for as long as it
/// lives.
/// Threads: the count is atomic; what one thread did to the object before its release is visible to the
/// destructor.
/// Errors: 1027 for a release without a reference, and for a new reference to an object that is being
/// deleted.
class KORVALE_API XRefCountable
{
public:
    void AddReference() const;

    /// May delete this object.
    void ReleaseReference() const;

    /// Out of date as soon as it is returned, unless the caller holds the only reference: for tests and logs.
    std::uint32_t GetReferenceCount() const { return itsReferenceCount.load( std::memory_order_relaxed ); }

protected:
    XRefCountable() = default;

    /// References belong to one object: a copy begins with its creator's own, and assignment changes none.
    XRefCountable( const XRefCountable& ) {}
    XRefCountable& operator=( const XRefCountable& ) { return *this; }
    virtual ~XRefCountable() = default;

private:
    mutable std::atomic<std::uint32_t> itsReferenceCount{ 1 };
};
