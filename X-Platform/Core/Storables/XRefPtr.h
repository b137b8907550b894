#pragma once

#include "Core/Storables/XRefPtrBase.h"
#include "WNoSystemMacros.h"

#include <concepts>

/// A smart pointer that holds one reference to an object of a class derived from XRefCountable, or is null.
///
///     auto thing = XMakeRef<XThing>( arguments );   // or XRefPtr<XThing>( new XThing( arguments ) )
///     XRefPtr<XThing> second = thing;               // two owners
///     auto third = XRefPtr<XThing>::Share( this );  // a further owner of an object that has one
///
/// Threads: as a plain pointer.
/// Errors: copying throws 1027 when the object is already being deleted.
template<class T>
class XRefPtr : public XRefPtrBase
{
public:
    XRefPtr() = default;
    XRefPtr( std::nullptr_t ) {}

    /// Takes over the reference that the creator of `inObject` holds.
    explicit XRefPtr( T* inObject ) : XRefPtrBase( inObject ) {}

    /// Adds a reference to an object that already has owners; null for null.
    static XRefPtr Share( T* inObject )
    {
        if ( inObject )
            inObject->AddReference();
        return XRefPtr( inObject );
    }

    template<std::derived_from<T> U>
    XRefPtr( const XRefPtr<U>& inOther ) : XRefPtrBase( inOther )
    {
    }
    template<std::derived_from<T> U>
    XRefPtr( XRefPtr<U>&& inOther ) noexcept : XRefPtrBase( std::move( inOther ) )
    {
    }

    T* Get() const { return Cast( GetObject() ); }
    T* operator->() const { return Get(); }
    T& operator*() const { return *Get(); }

    /// Releases the reference and becomes null.
    void Reset() { *this = nullptr; }

    /// Transfers the reference to the caller and becomes null.
    [[nodiscard]] T* Detach() { return Cast( TakeObject() ); }

private:
    // The pointer was stored from a `T*`, so the object is const only if `T` is.
    static T* Cast( const XRefCountable* inObject )
    {
        return const_cast<T*>( static_cast<const T*>( inObject ) );
    }
};

/// Makes an object and the pointer that owns it.
template<class T, class... TArguments>
XRefPtr<T> XMakeRef( TArguments&&... inArguments )
{
    return XRefPtr<T>( new T( std::forward<TArguments>( inArguments )... ) );
}

/// The same object as a pointer to `U`, a class derived from `T`; null if it is not of that class.
template<class U, class T>
XRefPtr<U> XDynamicRefCast( const XRefPtr<T>& inPointer )
{
    return XRefPtr<U>::Share( dynamic_cast<U*>( inPointer.Get() ) );
}
