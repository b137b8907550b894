#pragma once

#include "Core/Storables/XRefCountable.h"
#include "WNoSystemMacros.h"

#include <utility>

/// Base of every XRefPtr: one counted reference, or none. It does not depend on the class of the object, so a
/// class can hold an XRefPtr to an incomplete class, and pointers to different classes can be compared.
/// Threads: as a plain pointer; the object's count may be changed from any thread.
class XRefPtrBase
{
public:
    explicit operator bool() const { return itsObject != nullptr; }

    friend bool operator==( const XRefPtrBase& inLeft, const XRefPtrBase& inRight )
    {
        return inLeft.itsObject == inRight.itsObject;
    }
    friend bool operator==( const XRefPtrBase& inPointer, std::nullptr_t ) { return !inPointer; }

protected:
    XRefPtrBase() = default;

    /// Takes over a reference.
    explicit XRefPtrBase( const XRefCountable* inObject ) : itsObject( inObject ) {}

    XRefPtrBase( const XRefPtrBase& inOther ) : itsObject( inOther.itsObject )
    {
        if ( itsObject )
            itsObject->AddReference();
    }
    XRefPtrBase( XRefPtrBase&& inOther ) noexcept : itsObject( std::exchange( inOther.itsObject, nullptr ) )
    {
    }

    XRefPtrBase& operator=( const XRefPtrBase& inOther ) { return *this = XRefPtrBase( inOther ); }
    XRefPtrBase& operator=( XRefPtrBase&& inOther ) noexcept
    {
        XRefPtrBase taken( std::move( inOther ) );
        std::swap( itsObject, taken.itsObject );
        return *this;
    }

    ~XRefPtrBase()
    {
        if ( itsObject )
            itsObject->ReleaseReference();
    }

    const XRefCountable* GetObject() const { return itsObject; }
    const XRefCountable* TakeObject() { return std::exchange( itsObject, nullptr ); }

private:
    const XRefCountable* itsObject = nullptr;
};
