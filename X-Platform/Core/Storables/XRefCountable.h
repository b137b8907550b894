#pragma once

#include "Ground/XTypes.h"

#include <atomic>

/// Base of objects that several owners share. The creator holds the first reference, so a new object has a
/// count of 1; releasing the last reference deletes the object. XRefPtr does both automatically.
///
/// Ownership: an object that was not created with `new` must keep the creator's reference for as long as it
/// lives.
/// Threads: the count is atomic; whatever a thread did to the object before its release is visible to the
/// destructor.
/// Errors: 1027 for a release without a reference, and for adding a reference to an object that is being
/// deleted.
class KORVALE_API XRefCountable
{
public:
    void AddReference() const;

    /// May delete this object.
    void ReleaseReference() const;

    /// May be out of date on return unless the caller holds the only reference: use it for tests and logs
    /// only.
    std::uint32_t GetReferenceCount() const { return itsReferenceCount.load( std::memory_order_relaxed ); }

protected:
    XRefCountable() = default;

    /// References are not copied: a copy starts with a count of 1, and assignment does not change the count.
    XRefCountable( const XRefCountable& ) {}
    XRefCountable& operator=( const XRefCountable& ) { return *this; }
    virtual ~XRefCountable() = default;

private:
    mutable std::atomic<std::uint32_t> itsReferenceCount{ 1 };
};
