#pragma once

#include "Core/Storables/XRefPtr.h"
#include "Core/Strings/XString.h"

#include <map>
#include <mutex>
#include <optional>

/// Data stored by name, so that independent parts of a program can share it: reference-counted objects, or
/// values of any copyable type. An object may own a registry; the process has one too.
///
///     XDataRegistry& registry = XDataRegistry::GetProcessRegistry();
///     registry.SetValue( "pixel size", 0.65 );
///     const std::optional<double> size = registry.FindValue<double>( "pixel size" );
///
/// Ownership: the registry holds a reference to each object, and copies of values.
/// Threads: all operations may be called from any thread. Data that is replaced or removed is released
/// outside the lock, so its destructor may use the registry.
/// Errors: a null pointer is an internal error ("inData").
class KORVALE_API XDataRegistry
{
public:
    /// Lives until the process exits.
    static XDataRegistry& GetProcessRegistry();

    XDataRegistry() = default;
    XDataRegistry( const XDataRegistry& ) = delete;
    XDataRegistry& operator=( const XDataRegistry& ) = delete;

    /// Replaces the data stored under the key, whatever its type. Keys are compared byte by byte.
    void SetData( const XString& inKey, XRefPtr<XRefCountable> inData );

    /// Null if nothing is stored under the key.
    XRefPtr<XRefCountable> FindData( const XString& inKey ) const;

    /// Null also if the stored object is not a `T`.
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

    /// Empty if nothing, or a value of another type, is stored under the key.
    template<class T>
    std::optional<T> FindValue( const XString& inKey ) const
    {
        const XRefPtr<XValue<T>> value = FindDataOf<XValue<T>>( inKey );
        return value ? std::optional<T>( value->itsValue ) : std::nullopt;
    }

    /// Returns true if the key was present.
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
