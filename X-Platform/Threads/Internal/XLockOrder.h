#pragma once

class XMutex;

/// The lock orders that `XMutex::DontLockBefore` has declared. Internal to the library; filled in debug builds only.
class XLockOrder
{
public:
    /// From now on `inOther` must not be locked by a thread that holds `inMutex`.
    static void Declare( const XMutex& inMutex, const XMutex& inOther );

    /// Called before the calling thread locks `inMutex` for the first time: an internal error when it holds a mutex
    /// that must not be locked before this one.
    static void Check( const XMutex& inMutex );

    /// Forgets a mutex that is about to be destroyed.
    static void Forget( const XMutex& inMutex ) noexcept;
};
