#pragma once

#include "Core/Storables/XRefPtr.h"
#include "Core/Strings/XString.h"

#include <map>
#include <mutex>
#include <optional>

/// Data kept under names, so that parts of a program that do not know one another can share it:
/// reference-counted objects, or values of any type that can be copied. An object may own a registry; the
/// process has one too.
///
///     XDataRegistry& registry = XDataRegistry::GetProcessRegistry();
///     registry.SetValue( "pixel size", 0.65 );
///     const std::optional<double> size = registry.FindValue<double>( "pixel size" );
///
/// Ownership: the registry holds a reference to each object, and copies of values.
/// Threads: all operations may be called from any thread. Data that is replaced or removed is let go of
/// outside the lock, so its destructor may use the registry.
/// Errors: an internal error ("inData") for a null pointer.
class KORVALE_API XDataRegistry
{
public:
    /// Lives until the process exits.
    static XDataRegistry& GetProcessRegistry();

    XDataRegistry() = default;
    XDataRegistry( const XDataRegistry& ) = delete;
    XDataRegistry& operator=( const XDataRegistry& ) = delete;

    /// Replaces what is kept under the key, whatever it is. Keys are told apart byte by byte.
    void SetData( const XString& inKey, XRefPtr<XRefCountable> inData );

    /// Null when there is nothing under the key.
    XRefPtr<XRefCountable> FindData( const XString& inKey ) const;

    /// Null also when what is there is not a `T`.
    template<class T>
    XRefPtr<T> FindDataOf( const XString& inKey ) const
    {
        return XDynamicRefCast<T>( FindData( inKey ) );
    }

    template<class T>
    void SetValue( const XString& inKey, T inValue )
    {
        SetData( inKey, XMakeRef<XValue<T>>( std::move( inValue ) ) );
    }

    /// Empty when there is nothing under the key, or something other than a `T`.
    template<class T>
    std::optional<T> FindValue( const XString& inKey ) const
    {
        const XRefPtr<XValue<T>> value = FindDataOf<XValue<T>>( inKey );
        return value ? std::optional<T>( value->itsValue ) : std::nullopt;
    }

    /// True when there was something.
    bool Remove( const XString& inKey );
    void RemoveAll();

    /// In bytewise order.
    XVector<XString> GetKeys() const;

private:
    template<class T>
    struct XValue final : XRefCountable
    {
        explicit XValue( T&& inValue ) : itsValue( std::move( inValue ) ) {}

        const T itsValue;
    };

    using XDataMap = std::map<XString, XRefPtr<XRefCountable>>;

    mutable std::mutex itsMutex;
    XDataMap itsData; // guarded by itsMutex
};
