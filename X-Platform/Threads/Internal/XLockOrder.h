#pragma once

class XMutex;

/// The lock orders declared by `XMutex::DontLockBefore`. Internal to the library; used in debug builds only.
class XLockOrder
{
public:
    /// Declares that a thread that holds `inMutex` must not lock `inOther`.
    static void Declare( const XMutex& inMutex, const XMutex& inOther );

    /// Called before the calling thread locks `inMutex` for the first time: an internal error if it holds a
    /// mutex that must not be locked before this one.
    static void Check( const XMutex& inMutex );

    /// Removes the declarations of a mutex that is about to be destroyed.
    static void Forget( const XMutex& inMutex ) noexcept;
};
